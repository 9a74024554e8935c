/* Message types. The full 32-bit value is the key: bit 31 (no answer expected) is part of it. Of a payload that is a
   JSON object the keys are named with their types; all are optional unless the message says nothing without them.
   docs/messages.md is made from what is said here and from the daemon's table of handlers. */
#ifndef VCFG_MSG_TYPES_H
#define VCFG_MSG_TYPES_H

enum vcfg_msg_type {
    /* A command of the operator shell.
       from: any daemon
       payload: text: the command number, and its words
       effects: names the number in the log; this platform has no such commands
       reply: none */
    VCFG_MSG_VOSH_COMMAND = 0x00000083,

    /* Asks for the checksum of the stored configuration.
       from: a command line without rights
       payload: text, only logged
       effects: reads the configuration file
       reply: VCFG_MSG_WAN_REPLY with the checksum as eight hexadecimal digits, zeros for no file */
    VCFG_MSG_FAKEROOT_SYS_COMMAND = 0x000000D0,

    /* A shell command that the sender lacks the rights for.
       from: a command line without rights
       payload: text: the command, at most 256 bytes
       effects: runs it
       reply: VCFG_MSG_WAN_REPLY with the text 1, when the command has ended; none when it is too long */
    VCFG_MSG_FAKEROOT_SHELL_COMMAND = 0x0000011E,

    /* Disconnect the PPP connection that objIid names (PPP.Interface.{i}).
       from: vhttpd, tr069, vcmd
       payload: none
       effects: ends the PPP session
       reply: VCFG_MSG_WAN_REPLY, at once or when the session has ended */
    VCFG_MSG_WAN_PPP_DISCONNECT = 0x000003EA,

    /* Connect the PPP connection that objIid names (PPP.Interface.{i}).
       from: vhttpd, tr069, vcmd
       payload: none
       effects: starts the PPP session
       reply: VCFG_MSG_WAN_REPLY, at once or when the session is up */
    VCFG_MSG_WAN_PPP_CONNECT = 0x000003EB,

    /* Release the lease that objIid names (DHCPv4.Client.{i}).
       from: vhttpd, tr069, vcmd
       payload: none
       effects: tells the DHCP client to release
       reply: VCFG_MSG_WAN_REPLY, when the release is reported */
    VCFG_MSG_WAN_IP_RELEASE = 0x000003EC,

    /* Renew the lease that objIid names (DHCPv4.Client.{i}).
       from: vhttpd, tr069, vcmd
       payload: none
       effects: tells the DHCP client to renew
       reply: VCFG_MSG_WAN_REPLY, when the lease is reported */
    VCFG_MSG_WAN_IP_RENEW = 0x000003ED,

    /* Start the protected setup by push button on both bands.
       from: tarn
       payload: object
         SSIDRef: number, the access point, 1 to 8
       effects: to the wireless daemon
       reply: its answer says whether it has started */
    VCFG_MSG_WLAN_WPS_PUSH_BUTTON_BOTH_BANDS = 4005,

    /* The same on one access point.
       from: tarn
       payload: object, as VCFG_MSG_WLAN_WPS_PUSH_BUTTON_BOTH_BANDS
       effects: to the wireless daemon
       reply: as there */
    VCFG_MSG_WLAN_WPS_PUSH_BUTTON = 4006,

    /* Start the protected setup by PIN.
       from: tarn
       payload: object
         SSIDRef: number, the access point
         StationPin: text, the PIN
       effects: to the wireless daemon
       reply: as there */
    VCFG_MSG_WLAN_WPS_PIN = 4007,

    /* Ask how the protected setup is going.
       from: tarn
       payload: object, as VCFG_MSG_WLAN_WPS_PUSH_BUTTON_BOTH_BANDS
       effects: to the wireless daemon
       reply: object with WPSStatus */
    VCFG_MSG_WLAN_WPS_STATUS = 4012,

    /* Stop the protected setup.
       from: tarn
       payload: object, as VCFG_MSG_WLAN_WPS_PUSH_BUTTON_BOTH_BANDS
       effects: to the wireless daemon
       reply: its answer */
    VCFG_MSG_WLAN_WPS_STOP = 4015
};

/* Types with bit 31 set do not fit an int, which C enumerations are. */

/* Answer to the four commands of WAN connections.
   from: tarn
   payload: none
   effects: to the requester, with its requestId
   reply: none; statCode: 0 done, else why not */
#define VCFG_MSG_WAN_REPLY 0x80000067u

/* A DHCPv4 client got or lost a lease.
   from: DHCPv4 client script
   payload: object; of each requested option its Alias too, with the value as hexadecimal text
     addressAssigned: boolean, true: a lease is held; false or absent: it was released
     pidfile: text, the client's pid file, which names DHCPv4.Client.{i}
     ip: text, leased address
     subnet: text, its mask
     router: text, default routers
     dns: text, one or two name servers, a blank between
     lease: number, 6rd lease time
     v6rdAssigned: boolean, the lease has 6rd parameters
     v4MaskLen: number, 6rd IPv4 mask length
     v6PrefixLen: number, 6rd prefix length
     v6Prefix: text, 6rd prefix
     brAddr: text, 6rd border relays
   effects: DHCPv4.Client, its ReqOption, IP.Interface.{i}.IPv4Address, routes of option 121, 6rd; a waiting
       command is answered
   reply: none */
#define VCFG_MSG_DHCPC_OPTION 0x800000D8u

/* The same.
   from: DHCPv4 client script
   payload: as VCFG_MSG_DHCPC_OPTION
   effects: as there
   reply: none */
#define VCFG_MSG_DHCPC_BOUND 0x800000DAu

/* A DHCPv6 client was bound, renewed or gave up.
   from: DHCPv6 client script
   payload: object
     pidfile: text, the client's pid file, which names DHCPv6.Client.{i}
     addrAssigned: boolean, an address was assigned
     addr: text, it, without a length
     prefixAssigned: boolean, a prefix was delegated
     prefix: text, it, address/length
     nameserver: text, one name server
     timeout: boolean, the client gave up
   effects: IP.Interface.{i}.IPv6Address and .IPv6Prefix, name servers; a waiting command is answered
   reply: none */
#define VCFG_MSG_DHCP6C 0x800000DBu

/* A router advertisement arrived on a WAN interface.
   from: router advertisement listener
   payload: object
     ifName: text, device that it arrived on
     router_lifetime: number, seconds; 0: ignored
     m_flag: number, raw bit: 128 when set
     o_flag: number, raw bit: 64 when set
     pref: number, raw bits: 0 medium, 8 high, 24 low
     router: text, the router's link-local address
     prefix: text, advertised prefix, without its length
     prefix_len: number, its length; 0: there is none
   effects: Routing.RouteInformation.InterfaceSetting, DHCPv6.Client, the kernel's default route
   reply: none */
#define VCFG_MSG_RA_INFO 0x800000DDu

/* The management connection runs behind a NAT.
   from: tr069
   payload: text: host and port at which connection requests reach the gateway
   effects: ManagementServer.NATDetected and .UDPConnectionRequestAddress
   reply: none */
#define VCFG_MSG_MGMT_NAT_DETECT 0x800000DEu

/* It no longer does.
   from: tr069
   payload: none
   effects: takes both back
   reply: none */
#define VCFG_MSG_MGMT_NAT_CLEAR 0x800000DFu

/* Result of the name lookup.
   from: name-lookup tool
   payload: object, with an object for each answer under the keys 0, 1, 2 and so on
     DiagnosticsState: text
     SuccessCount: number
     Status: text, of an answer
     HostNameRtned: text, of an answer
     IPAddresses: text, of an answer
     DNSServerIP: text, of an answer
     ResponseTime: number, of an answer, milliseconds
   effects: DNS.Diagnostics.NSLookupDiagnostics and its Result
   reply: none */
#define VCFG_MSG_NSLOOKUP_MSG 0x800000E2u

/* Result of the ATM loopback of a virtual channel.
   from: ATM loopback tool
   payload: object
     DiagnosticsState: text
     SuccessCount: number
     FailureCount: number
     AverageResponseTime: number, milliseconds
     MinimumResponseTime: number
     MaximumResponseTime: number
   effects: ATM.Diagnostics.F5Loopback
   reply: none */
#define VCFG_MSG_ATM_OAM_F5_COMPLETE 0x800000E3u

/* The same of a virtual path.
   from: ATM loopback tool
   payload: object, as VCFG_MSG_ATM_OAM_F5_COMPLETE
   effects: ATM.Diagnostics.X_VORAN_F4Loopback
   reply: none */
#define VCFG_MSG_ATM_OAM_F4_COMPLETE 0x800000E4u

/* Hunt for the virtual channel.
   from: tarn
   payload: none
   effects: to the auto-hunt daemon
   reply: none */
#define VCFG_MSG_VC_HUNT_START 0x800000E5u

/* Stop it.
   from: tarn
   payload: none
   effects: to the auto-hunt daemon
   reply: none */
#define VCFG_MSG_VC_HUNT_STOP 0x800000E6u

/* The clock was set.
   from: NTP client
   payload: text: the time as a date-time, may be empty
   effects: DeviceInfo.FirstUseDate; a notice to tr069; the first time, the time configuration is applied again
   reply: none */
#define VCFG_MSG_NTP_SYNC_SUCCESS 0x800000E8u

/* The data model is there: start-up completes.
   from: vcmd
   payload: none
   effects: links, timers and services start
   reply: none */
#define VCFG_MSG_INIT_DATAMODEL_FIN 0x800000EBu

/* Hunt for the VLAN.
   from: tarn
   payload: none
   effects: to the auto-hunt daemon
   reply: none */
#define VCFG_MSG_VLAN_HUNT_START 0x800000ECu

/* Stop it.
   from: tarn
   payload: none
   effects: to the auto-hunt daemon
   reply: none */
#define VCFG_MSG_VLAN_HUNT_STOP 0x800000EDu

/* Result of the download test.
   from: download tool
   payload: object
     DiagnosticsState: text
     ROMTime: text, request sent
     BOMTime: text, first byte
     EOMTime: text, last byte
     TCPOpenRequestTime: text
     TCPOpenResponseTime: text
     TestBytesReceived: number
     TotalBytesReceived: number
     TotalBytesSent: number
     PerConnectionResult: array of objects, what was measured of each connection
     IncrementalResult: array of objects, and in each interval
   effects: IP.Diagnostics.DownloadDiagnostics and its result tables
   reply: none */
#define VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT 0x800000F2u

/* A LAN device has changed.
   from: LAN daemons
   payload: none
   effects: restarts the TR-064 daemon when it is enabled
   reply: none */
#define VCFG_MSG_TR64_LAN_DEVICE_UPDATE 0x800000F3u

/* The client renewed its lease.
   from: DHCPv4 client script
   payload: as VCFG_MSG_DHCPC_OPTION
   effects: as there
   reply: none */
#define VCFG_MSG_DHCPC_RENEWED 0x800000F5u

/* The hunt has ended.
   from: vcautohunt, vlanautohunt
   payload: none
   effects: the links are looked at again
   reply: none */
#define VCFG_MSG_AUTO_HUNT_FINISHED 0x800000F6u

/* Result of the upload test.
   from: upload tool
   payload: object
     DiagnosticsState: text
     ROMTime: text, request sent
     BOMTime: text, first byte
     EOMTime: text, last byte
     TCPOpenRequestTime: text
     TCPOpenResponseTime: text
     TestBytesSent: number
     TotalBytesReceived: number
     TotalBytesSent: number
     PerConnectionResult: array of objects, what was measured of each connection
     IncrementalResult: array of objects, and in each interval
   effects: IP.Diagnostics.UploadDiagnostics and its result tables
   reply: none */
#define VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT 0x800000FAu

/* A client of the LAN's DHCP server.
   from: DHCP server script
   payload: object of texts
     ac: text, crit, add, del or up
     ifname: text, bridge that the client is on
     phyif: text, port that it is attached to
     tag: text, group; the bridge is behind the first _
     mac: text
     ip: text, leased address
     moui: text, manufacturer's OUI
     serial: text
     pclass: text, product class
     vendor: text, vendor class
   effects: manageable devices, static leases, bridge filters of client groups
   reply: none */
#define VCFG_MSG_DHCPD_OPTION 0x800000FBu

/* Progress of the server selection.
   from: server-selection tool
   payload: object, of a start, of host after host, of an end
     PingsDiagnosticsState: text, pings_start, pings_host or pings_complete
     DiagnosticsState: text, of the whole
     FastestHost: text
     MinimumResponseTime: number, milliseconds
     AverageResponseTime: number
     MaximumResponseTime: number
   effects: IP.Diagnostics.ServerSelectionDiagnostics
   reply: none */
#define VCFG_MSG_PINGSVRS_RST 0x8000010Au

/* Something happened that the user may want a mail about.
   from: any daemon
   payload: object; other keys go to the mail sender as they are
     Event: text, name of the event
   effects: sends the mail of X_VORAN_MailEvent through its account
   reply: none */
#define VCFG_MSG_MAIL_SEND_EVENT 0x8000010Bu

/* A PPP daemon reports a session or a layer.
   from: PPP scripts
   payload: object
     linkname: text, the link, which names PPP.Interface.{i}
     sessionID: text, a session; no state is read then
     state: text, up, else down
     type: text, ipv6, else IPv4
     ip: text, local address
     remote: text, remote address or interface identifier
     dns: text, name servers
     local: text, local interface identifier
   effects: PPP.Interface with IPCP, IPV6CP and PPPoE, the IP interface above; a waiting command is answered
   reply: none */
#define VCFG_MSG_PPPD 0x80000110u

/* A LAN client met access control.
   from: LAN daemons
   payload: any
   effects: a log line, nothing else
   reply: none */
#define VCFG_MSG_LAN_MAC_CONTROL_EVENT 0x80000112u

/* Look at the WAN links anew.
   from: link daemons
   payload: none
   effects: fills the WAN link table and acts on it
   reply: none */
#define VCFG_MSG_INIT_WAN_LINK_INFO 0x80000113u

/* Result of the ping.
   from: ping tool
   payload: object, as VCFG_MSG_ATM_OAM_F5_COMPLETE
   effects: IP.Diagnostics.IPPing
   reply: none */
#define VCFG_MSG_PING_MSG 0x80000115u

/* Result of the traceroute.
   from: traceroute tool
   payload: object
     DiagnosticsState: text
     ResponseTime: number, milliseconds
     RouteHops: array of objects, Host, HostAddr, RTTimes (texts), ErrorCode (number)
   effects: IP.Diagnostics.TraceRoute and its RouteHops
   reply: none */
#define VCFG_MSG_TRACERT_MSG 0x80000116u

/* A command for the platform's helper.
   from: a command line without rights
   payload: text: the command
   effects: runs it
   reply: none */
#define VCFG_MSG_FAKEROOT_VOCLI_COMMAND 0x8000011Fu

/* Service of the optical side.
   from: optical daemon
   payload: object
     serviceStatus: boolean, there is service
   effects: Optical.Interface and the WAN links
   reply: none */
#define VCFG_MSG_OPTICAL_LINK_STATUS 0x80000122u

/* Restart the DHCP clients.
   from: any daemon
   payload: any
   effects: nothing: the platform does so itself
   reply: none */
#define VCFG_MSG_DHCPC_RESTART 0x8000012Eu

/* A WAN connection came up.
   from: connection scripts
   payload: text: path of the IP interface
   effects: a mail, if it is the cellular backup
   reply: none */
#define VCFG_MSG_WAN_CONNECTION_READY 0x800003E8u

/* A WAN connection was lost.
   from: connection scripts
   payload: text: path of the IP interface
   effects: a mail, if it is the cellular backup
   reply: none */
#define VCFG_MSG_WAN_CONNECTION_LOST 0x800003E9u

/* Some WAN link may have changed.
   from: link daemons
   payload: none
   effects: the WAN link table is compared with the model, and fails over
   reply: none */
#define VCFG_MSG_WAN_LINK 0x800003EFu

/* Somebody else has disconnected the PPP connection that objIid names.
   from: PPP scripts
   payload: text, only logged
   effects: PPP.Interface.{i}.ConnectionStatus
   reply: VCFG_MSG_WAN_REPLY only when the instance cannot be read */
#define VCFG_MSG_WAN_PPP_DISCONNECTED 0x800003F4u

/* Somebody else connects the PPP connection that objIid names.
   from: PPP scripts
   payload: text, only logged
   effects: PPP.Interface.{i}.ConnectionStatus
   reply: VCFG_MSG_WAN_REPLY only when the instance cannot be read */
#define VCFG_MSG_WAN_PPP_CONNECTING 0x800003F5u

/* Look at the Internet LED.
   from: any daemon
   payload: none
   effects: computes its state and drives it when that changed
   reply: none */
#define VCFG_MSG_WAN_INTERNET_LED_UPDATE 0x800003F6u

/* Enable the Wi-Fi LED.
   from: wireless
   payload: none
   effects: nothing on this platform
   reply: none */
#define VCFG_MSG_WIFI_LED_ENABLE 0x80000FAEu

/* Next poll of the protected setup.
   from: tarn, its timer
   payload: as VCFG_MSG_WPS_START
   effects: asks the wireless daemon and writes the running status
   reply: none; the end is told by VCFG_MSG_WPS_OUTCOME */
#define VCFG_MSG_WPS_POLL 0x80000FBBu

/* Start the protected setup.
   from: vhttpd and two other applications
   payload: object
     WPSRunning: boolean
     WPSIndex: number, access point, 1 to 8
     X_VORAN_WPS_Configured: boolean, true when absent
     StartApp: number, application that asks; 0 keeps the last
     X_VORAN_IfName: text, wireless interface
     WPSActivationMethod: text, PushButton, StationPIN or ApPIN
     X_VORAN_WPS_StationPin: text
     X_VORAN_WPS_DevicePin: text
   effects: tells the wireless daemon, then polls every ten seconds
   reply: none; a failure is told by VCFG_MSG_WPS_OUTCOME */
#define VCFG_MSG_WPS_START 0x80000FBCu

/* Stop it.
   from: vhttpd and two other applications
   payload: as VCFG_MSG_WPS_START
   effects: tells the wireless daemon
   reply: none */
#define VCFG_MSG_WPS_STOP 0x80000FBDu

/* What became of the protected setup.
   from: tarn
   payload: object
     rst: number, 0 failed, else its result
     msg_type: number, the request that it is about
   effects: to the web server
   reply: none */
#define VCFG_MSG_WPS_OUTCOME 0x80000FBFu

/* Fetch and run the debug script from now on.
   from: vcmd
   payload: none
   effects: starts the thread, with X_VORAN_SystemDebug as it is
   reply: none */
#define VCFG_MSG_SYSTEM_LOG_START 0x80000FD1u

/* Do so no more.
   from: vcmd
   payload: none
   effects: stops the thread and what it runs
   reply: none */
#define VCFG_MSG_SYSTEM_LOG_STOP 0x80000FD2u

#endif
