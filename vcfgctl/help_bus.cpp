// What the verbs of the bus say of themselves.
#include "help.h"

namespace vcfgctl {

const char kSendHelp[] =
    "Sends one message.\n"
    "\n"
    "  --to ENDPOINT        endpoint to send to: a name (tarn) or a number\n"
    "  --type TYPE          message type: a name (VCFG_MSG_WAN_IP_RELEASE, WAN_IP_RELEASE) or a number;\n"
    "                       bit 31 (0x80000000) says that no answer is expected\n"
    "  --from ENDPOINT      endpoint that it comes from (250)\n"
    "  --request-id N       the sender's handle, which a reply carries back\n"
    "  --oid N              object id (0)\n"
    "  --iid 1.2            instance numbers, outermost first (none)\n"
    "  --payload TEXT       payload; its terminating NUL is sent and counted in the length\n"
    "  --payload-file FILE  payload: the bytes of a file as they are, - for standard input\n"
    "  --reply              waits for the reply and prints its type, statCode and payload\n"
    "  --timeout MS         gives up after so many milliseconds (10000; 0: never)\n"
    "  --json               the reply as a JSON line\n"
    "\n"
    "Numbers are decimal or 0x. Without a payload the length is 0. A statCode other than 0 in the\n"
    "reply is no failure of the sending.\n"
    "\n"
    "  vcfgctl send --to tarn --type WAN_IP_RELEASE --iid 1 --reply\n"
    "  vcfgctl send --to 2 --type 0x83 --from 15 --payload 'show'\n";

const char kServeHelp[] =
    "Is that endpoint (a name or a number): prints a JSON line per message, and answers those that wait for an "
    "answer.\n"
    "Who expects an answer (bit 31 of the type is clear) without waiting gets it as a message.\n"
    "An answer has the message's type, request id and instance.\n"
    "\n"
    "  --reply STATCODE[:TEXT]  what to answer (0, with an empty text); it may be negative\n"
    "  --count N                ends after N messages; fewer in the time given are a failure\n"
    "  --timeout MS             ends after so many milliseconds (0, the default: without limit)\n"
    "  --take-over              also from a process that serves the endpoint now\n"
    "\n"
    "The socket eid-NUMBER in the run directory appears when it is ready.\n";

const char kEndpointsHelp[] =
    "Prints who is on the bus, a line per endpoint: id, name, program, process, how long it has served\n"
    "(hours, minutes, seconds), and whether it is there:\n"
    "\n"
    "  alive    its process serves it\n"
    "  stopped  its process is stopped, by a signal or a debugger\n"
    "  busy     its process does not take the connections that wait for it\n"
    "  left     its process has ended; a child of it still holds the socket\n"
    "  dead     only its socket is left, and the program and process that had it\n"
    "  barred   this user may not ask it\n"
    "\n"
    "  --json   {\"eid\",\"name\",\"program\",\"process\",\"since_mono_us\",\"since\",\"age_us\",\"alive\",\"state\"}\n"
    "           lines; what is not known is null, \"since\" is UTC\n"
    "\n"
    "It works without vcmd, and nobody on the bus is asked.\n";

const char kMonitorHelp[] =
    "Prints every message as it passes on the bus, a line each: seconds since boot, what it is, from whom\n"
    "and to whom (endpoint/program[process]), type, request id, result and time of a reply, object, payload.\n"
    "\n"
    "  call     the sender waits for a reply        reply   the answer to the call with that request id\n"
    "  message  nobody waits for a reply            failed  it was not delivered, or not answered, and why\n"
    "  lost     so many could not be shown: the bus does not wait for a monitor that is slow or stopped\n"
    "\n"
    "  --endpoint ENDPOINT  only what comes from it or goes to it, a name (tarn) or a number; may be repeated\n"
    "  --type TYPE          only that type and its replies, a name (WAN_IP_RELEASE, FE_WRITE) or a number;\n"
    "                       may be repeated\n"
    "  --count N            ends after N messages; fewer in the time given are a failure\n"
    "  --timeout MS         ends after so many milliseconds (0, the default: without limit)\n"
    "  --show-secrets       passwords, PINs and keys as they are, not as ********\n"
    "  --json               JSON lines, see vcfgctl(1)\n"
    "\n"
    "At most 4 monitors look at the same time. Of a payload, the first 4096 bytes are shown.\n";

}  // namespace vcfgctl
