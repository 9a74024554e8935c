title "The Ethernet cable is pulled and plugged"
led() { [ "$(cat /proc/tc3162/led_internet) $(cat /proc/tc3162/led_internet_red)" = "$1" ]; }
kernel_has_address() { ip -4 addr show eth0.5 | grep -q 'inet '; }

await "the link is up, with an address, and the LED is green" led "2 0 0"
mark
cable eth0.5 out
await "the kernel reports the lost link" logged "eth0.5:down"
await "Ethernet.Link.1 has lost its lower layer" is Ethernet.Link.1.Status LowerLayerDown
await "so has the IP interface" is IP.Interface.1.Status LowerLayerDown
await "the LED is not green any more" not led "2 0 0"
mark
cable eth0.5 in
await "the kernel reports the link" logged "eth0.5:up"
await "Ethernet.Link.1 is up" is Ethernet.Link.1.Status Up
await "the provider grants a lease" is IP.Interface.1.IPv4Address.1.Status Enabled
await "the kernel has its address" kernel_has_address
await "the LED is green" led "2 0 0"
