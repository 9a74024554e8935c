// What the verbs of single values say of themselves.
#include "help.h"

namespace vcfgctl {

const char kGetHelp[] =
    "Prints parameters, a path=value line each.\n"
    "\n"
    "  IP.Interface.1.Status     one parameter\n"
    "  IP.Interface.*.Status     that of every instance\n"
    "  IP.Interface.1.           all that is below, '.' alone is the whole model\n"
    "  Device.IP.Interface.1.    the same; \"Device.\" may be there in every path\n"
    "\n"
    "In every path, what stands in place of an instance number may also be\n"
    "\n"
    "  IP.Interface.[wan].                          the instance whose Alias is wan\n"
    "  IP.Interface.[X_VORAN_WAN==true].Status      those whose parameters have such values:\n"
    "  IP.Interface.[Enable==true&&Name~eth].Name   ==, !=, ~ (holds the text), <, <=, > and >= (numbers),\n"
    "                                               several joined by &&; a value may be quoted (\")\n"
    "\n"
    "  --refresh       lets the owner of each object bring its values up to date first\n"
    "  --show-secrets  passwords, PINs and keys as they are, not as ********\n"
    "  --json          {\"path\":...,\"value\":...} lines; booleans and numbers are such in JSON\n"
    "\n"
    "Control characters in a value are printed as \\n and \\xNN; --json has the exact value.\n"
    "A path that does not exist is a failure, an alias too; a '*' or a filter that stands for no instance\n"
    "is not.\n";

const char kSetHelp[] =
    "Writes parameters, read-only ones too: vcfgctl acts as a daemon does.\n"
    "All of them are one change, of however many objects, which takes effect whole or not at all: who reads\n"
    "the model sees all of it or nothing. A parameter that is given twice is refused. What does not fit one\n"
    "message (65535 bytes, some thousand values) is refused too.\n"
    "\n"
    "  vcfgctl set IP.Interface.1.Enable=true IP.Interface.1.Status=Up\n"
    "  vcfgctl set 'IP.Interface.[wan].Enable=true'     also '*' and filters, see 'get'\n"
    "  vcfgctl set - <FILE                              PATH=VALUE lines of standard input (up to 1 MiB)\n"
    "\n"
    "Booleans are true or false (1 or 0), numbers decimal; any text may be empty.\n"
    "\n"
    "  --no-apply  into the data model only; nothing is reconfigured\n"
    "  --wait      returns when the change is applied to all objects; a failed apply is a failure,\n"
    "              the values stay written. So does a request (Reset, Renew) without it\n";

const char kAddHelp[] =
    "Adds an instance to a table, with the values given, and prints its path. It comes with all of them, or\n"
    "not at all.\n"
    "\n"
    "  vcfgctl add IP.Interface\n"
    "  vcfgctl add IP.Interface.1.IPv4Address IPAddress=192.0.2.7 SubnetMask=255.255.255.0\n"
    "\n"
    "  --no-apply  into the data model only; nothing is reconfigured\n"
    "  --wait      returns when the change is applied; a failed apply is a failure, the instance stays\n"
    "  --json      {\"path\":...}\n";

const char kDelHelp[] =
    "Deletes instances of tables, and what is below them: all that are named, or none.\n"
    "\n"
    "  vcfgctl del IP.Interface.1.IPv4Address.2\n"
    "  vcfgctl del 'IP.Interface.1.IPv4Address.*'                  all of them; none is good, too\n"
    "  vcfgctl del 'IP.Interface.*.IPv4Address.[Enable==false]'    see 'get' for filters\n"
    "  vcfgctl del IP.Interface.2 PPP.Interface.1\n"
    "\n"
    "  --no-apply  in the data model only; nothing is reconfigured\n"
    "  --wait      returns when the change is applied; a failed apply is a failure\n";

const char kWatchHelp[] =
    "Prints a line per change as it happens: seconds since boot, path, old and new value, and who. What a\n"
    "refresh hook brought, because somebody asked for it, is told from what somebody wrote:\n"
    "'(refresh hook, refreshed for eid 2(tarn))', refreshedFor in JSON, which is null for all other changes.\n"
    "Without a path all changes; paths as for get, and an instance's own path for its coming and\n"
    "going, which shows as '- -> \"\"' and '\"\" -> -'.\n"
    "\n"
    "  --count N       ends after N changes; fewer in the time given are a failure\n"
    "  --timeout MS    ends after so many milliseconds (0, the default: without limit)\n"
    "  --show-secrets  passwords, PINs and keys as they are, not as ********\n"
    "  --json          {\"t_mono_us\",\"path\",\"old\",\"new\",\"by\",\"byEid\",\"byName\",\"refreshedFor\"} lines; no "
    "value\n"
    "                  is null\n";

const char kWaitHelp[] =
    "Returns when all conditions hold at the same time, and prints the values that make them hold. It\n"
    "follows the changes as they happen, and misses none.\n"
    "\n"
    "  vcfgctl wait 'IP.Interface.[wan].Status==Up' DHCPv4.Client.1.DHCPStatus==Bound\n"
    "  vcfgctl wait 'IP.Interface.*.IPv4Address.*.IPAddress~192.0.2.'\n"
    "\n"
    "A condition is PATH==VALUE (or =), != for another value, ~ for a part of the text, and <, <=, > and\n"
    ">= for numbers. Where the path stands for several instances, one of them is enough. What is not there\n"
    "yet is waited for; a name that the model does not have is refused at once, and so is a value that\n"
    "the parameter cannot take.\n"
    "\n"
    "  --timeout MS    gives up after so many milliseconds, with status 1 and the values that there are\n"
    "                  (0, the default: without limit)\n"
    "  --show-secrets  passwords, PINs and keys as they are, not as ********\n"
    "  --json          {\"path\":...,\"value\":...} lines\n";

}  // namespace vcfgctl
