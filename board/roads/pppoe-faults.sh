title "PPPoE faults: a silent server, one that refuses, one that drops the session, a killed pppd"
link=PPP.Interface.1
address=IP.Interface.1.IPv4Address.1
refused() { grep "authentication failed" /var/log/tarn/ppp-wan.txt || { tail -n 3 /var/log/tarn/ppp-wan.txt; pppd_runs; false; }; }
kill_client() { kill "-$1" "$(head -n 1 /var/run/ppp-wan.pid)"; }

vcfgctl set $link.IPv6CPEnable=false
end_server pppoe-server
asks 1003 1
await "the server is silent: pppd tries" pppd_runs
check "the daemon serves meanwhile" settle
check "the requester waits" still_asks
await "pppd gives up by itself" not pppd_runs
check "the link is not connected" not is $link.ConnectionStatus Connected
vcfgctl set $link.ConnectionStatus=Disconnected

serve_ppp
vcfgctl set --no-apply $link.Password=wrong
asks 1003 1
await "the server refuses the password: pppd ends" refused
await "it and ppp0 are gone" link_is_gone
check "the link is not connected" not is $link.ConnectionStatus Connected
vcfgctl set $link.ConnectionStatus=Disconnected
vcfgctl set --no-apply $link.Password=secret
check "with the right one somebody connects" asked 1003 1

end_server pppoe-server
await "the server drops the session: pppd and ppp0 are gone" link_is_gone
await "the address is disabled" is $address.Status Disabled
serve_ppp
check "the server is back, and somebody connects" asked 1003 1
check "the address is enabled" is $address.Status Enabled

kill_client TERM
await "pppd is ended: its scripts still tell, the address is disabled" is $address.Status Disabled
await "it and ppp0 are gone" link_is_gone
check "somebody connects again" asked 1003 1
kill_client KILL
await "pppd is killed, and tells nobody: it and ppp0 are gone" link_is_gone
check "somebody connects again all the same" asked 1003 1
check "the address is enabled" is $address.Status Enabled
check "somebody disconnects" asked 1002 1
