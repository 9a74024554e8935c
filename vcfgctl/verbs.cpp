// The table of verbs, and their help.
#include "verb.h"

#include "secret.h"

namespace vcfgctl {
namespace {

const option kGetOptions[] = {{"refresh", no_argument, nullptr, 0}, kShowSecrets};
const option kDumpOptions[] = {kShowSecrets};
const option kApplyOptions[] = {{"no-apply", no_argument, nullptr, 0}, {"wait", no_argument, nullptr, 0}};
const option kListOptions[] = {{"next", no_argument, nullptr, 0}};
const option kWatchOptions[] = {
    {"count", required_argument, nullptr, 0}, {"timeout", required_argument, nullptr, 0}, kShowSecrets};
const option kWaitOptions[] = {{"timeout", required_argument, nullptr, 0}, kShowSecrets};
const option kSendOptions[] = {
    {"to", required_argument, nullptr, 0},      {"type", required_argument, nullptr, 0},
    {"from", required_argument, nullptr, 0},    {"request-id", required_argument, nullptr, 0},
    {"oid", required_argument, nullptr, 0},     {"iid", required_argument, nullptr, 0},
    {"payload", required_argument, nullptr, 0}, {"payload-file", required_argument, nullptr, 0},
    {"reply", no_argument, nullptr, 0},         {"timeout", required_argument, nullptr, 0}};
const option kServeOptions[] = {{"reply", required_argument, nullptr, 0},
                                {"count", required_argument, nullptr, 0},
                                {"timeout", required_argument, nullptr, 0},
                                {"take-over", no_argument, nullptr, 0}};

const option kMonitorOptions[] = {{"endpoint", required_argument, nullptr, 0},
                                  {"type", required_argument, nullptr, 0},
                                  {"count", required_argument, nullptr, 0},
                                  {"timeout", required_argument, nullptr, 0},
                                  kShowSecrets};

const option kWhyOptions[] = {
    {"not", no_argument, nullptr, 0}, {"ran", required_argument, nullptr, 0}, {"full", no_argument, nullptr, 0}};
const option kTraceOptions[] = {{"event", required_argument, nullptr, 0},   {"process", required_argument, nullptr, 0},
                                {"since", required_argument, nullptr, 0},   {"follow", no_argument, nullptr, 0},
                                {"timeout", required_argument, nullptr, 0}, {"browser", required_argument, nullptr, 0}};

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

const char kDumpHelp[] =
    "Prints the whole model as JSON, state included: every instance, and of its parameters those that\n"
    "differ from a new instance's. 'vcfgctl load FILE' and 'vcmd --defaults FILE' take it.\n"
    "\n"
    "  --json               on one line\n"
    "  --show-secrets FILE  into a file that only its owner may read, with the passwords, PINs and keys;\n"
    "                       without, they show as ********, which is not taken back\n";

const char kLoadHelp[] =
    "Replaces the whole model by that of a file, in the form that 'vcfgctl dump' prints, or by nothing\n"
    "of it: one wrong value, and the model stays as it was. State in the file is taken as if its owners\n"
    "had reported it. What differs from before is one change: 'watch' shows it, and it is applied.\n"
    "- is the standard input.\n"
    "\n"
    "  vcfgctl load model.json\n"
    "\n"
    "  --no-apply  into the data model only; nothing is reconfigured\n"
    "  --wait      returns when the change is applied; a failed apply is a failure, the model stays\n";

const char kSaveHelp[] =
    "Returns when the configuration is in vcmd's file, on the disk. Without it that happens within a\n"
    "second after each change, and when vcmd ends.\n";

const char kListHelp[] =
    "Prints the names of the path's object, of its parameters and of all that is below, a line each in\n"
    "tree order; without a path those of the whole model. What an object can have is listed, whether or\n"
    "not an instance of it is there: {i} stands for the instance number. Objects end in a dot.\n"
    "\n"
    "  vcfgctl list IP.Interface\n"
    "\n"
    "  --next  only the next level below the path\n"
    "  --json  {\"path\":...,\"kind\":...} lines; the kind is \"table\", \"object\", \"group\" (a name\n"
    "          that only objects lie below) or \"parameter\"\n"
    "\n"
    "It works without vcmd: the names are those that vcfgctl is built with.\n";

const char kDescribeHelp[] =
    "Says what one parameter is: its type, what it takes, who may write it, what a new instance has,\n"
    "whether it is there again after a restart, which hooks stand behind it and who serves it. Of an\n"
    "object: its record, and how many parameters it has.\n"
    "\n"
    "  vcfgctl describe IP.Interface.1.Status      the number may be {i} or *, they name the same\n"
    "  vcfgctl describe IP.Interface\n"
    "\n"
    "  --json  one line\n"
    "\n"
    "It works without vcmd too; who serves the object, and its hooks, are unknown then.\n";

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

const option kRecordOptions[] = {{"for", required_argument, nullptr, 0}, {"cut", required_argument, nullptr, 0}};

const char kRecordHelp[] =
    "Writes down the data model, and then all that arrives at the daemon and what it does about it, as JSON\n"
    "lines, until it is interrupted. 'gw replay FILE' plays it to a fresh daemon and compares what that does.\n"
    "No password, PIN or key gets into it. - is standard output.\n"
    "\n"
    "  --for SECONDS      ends after so many seconds\n"
    "  --cut EVENT IN OUT cuts a recording to what the event belongs to: its first cause and all that came of it\n";

const char kWhyHelp[] =
    "Says how a parameter came to have its value: the change that gave it, who made it and on behalf of what,\n"
    "and the steps up to the first cause, as far back as the recorder goes. Several parameters are a line each.\n"
    "\n"
    "  vcfgctl why IP.Interface.1.Status\n"
    "  vcfgctl why 'Ethernet.Interface.[wan].'            all that is below; see 'get' for paths\n"
    "  vcfgctl why --not IP.Interface.1.Status=Up         where the way to that value ended\n"
    "  vcfgctl why --ran led_internet                     what has no parameter: why the daemon last ran a command\n"
    "                                                     or a hook that holds this text\n"
    "\n"
    "  --not   what refused the value, what replaced it, or who was the last to write or look at the object\n"
    "  --full  several lines for each of several parameters\n"
    "  --json  {\"path\",\"value\",\"before\",\"current\",\"cause\",\"change\",\"by\",\"chain\"} lines\n"
    "\n"
    "It works without vcmd, too. Secrets are not recorded.\n";

const char kTraceHelp[] =
    "Prints what the flight recorder holds, as a tree: what reached each thread of each process on the bus, and\n"
    "below it what it did about it and what came of that. The number behind a '#' is the event's.\n"
    "\n"
    "  vcfgctl trace IP.Interface.1.Status   what concerns that parameter or object, '*' for any instance\n"
    "\n"
    "  --event N       only that event, what led to it and what came of it\n"
    "  --process NAME  only what a program did, by its name or its number\n"
    "  --since SEC     only what happened in the last so many seconds\n"
    "  --follow        goes on as things happen, a line each\n"
    "  --timeout MS    with --follow: ends after so many milliseconds (0, the default: without limit)\n"
    "  --browser FILE  writes a file that a browser's performance view opens (chrome://tracing, Perfetto)\n"
    "  --json          {\"t_mono_us\",\"kind\",\"event\",\"cause\",\"program\",\"process\",\"thread\",\"text\",...} "
    "lines\n";

const char kCompleteHelp[] =
    "Prints what may stand in the place of the last word of a vcfgctl command line, a line each. It is\n"
    "what the completion of bash and zsh asks.\n"
    "\n"
    "  vcfgctl complete -- get IP.Interface.1.Sta\n";

const Verb kVerbs[] = {
    {"get", "[--refresh] [--show-secrets] [--json] PATH...", "prints parameters", kGetHelp, kGetOptions, runGet, true},
    {"set", "[--no-apply | --wait] PATH=VALUE... | -", "writes parameters", kSetHelp, kApplyOptions, runSet, true},
    {"add", "[--no-apply | --wait] [--json] TABLE-PATH [PARAMETER=VALUE...]", "adds an instance to a table", kAddHelp,
     kApplyOptions, runAdd, true},
    {"del", "[--no-apply | --wait] INSTANCE-PATH...", "deletes instances and what is below them", kDelHelp,
     kApplyOptions, runDel, true},
    {"dump", "[--json] [--show-secrets FILE]", "prints the whole model as JSON", kDumpHelp, kDumpOptions, runDump},
    {"load", "[--no-apply | --wait] FILE", "replaces the whole model", kLoadHelp, kApplyOptions, runLoad},
    {"save", "", "has the configuration written to the disk now", kSaveHelp, {}, runSave},
    {"list", "[--next] [--json] [PATH]", "prints what objects and parameters there are", kListHelp, kListOptions,
     runList, true},
    {"describe", "[--json] PATH", "says what an object or a parameter is", kDescribeHelp, {}, runDescribe, true},
    {"watch", "[--count N] [--timeout MS] [--show-secrets] [--json] [PATH...]", "prints changes as they happen",
     kWatchHelp, kWatchOptions, runWatch, true},
    {"wait", "[--timeout MS] [--show-secrets] [--json] CONDITION...", "returns when the model is as wanted", kWaitHelp,
     kWaitOptions, runWait, true},
    {"send",
     "--to ENDPOINT --type TYPE [--from ENDPOINT] [--request-id N] [--oid N] [--iid 1.2]\n"
     "                    [--payload TEXT | --payload-file FILE] [--reply] [--timeout MS] [--json]",
     "sends one message", kSendHelp, kSendOptions, runSend},
    {"serve", "ENDPOINT [--reply STATCODE[:TEXT]] [--count N] [--timeout MS] [--take-over]",
     "is an endpoint, and prints what it receives", kServeHelp, kServeOptions, runServe},
    {"endpoints", "[--json]", "says who is on the bus", kEndpointsHelp, {}, runEndpoints},
    {"monitor",
     "[--endpoint ENDPOINT]... [--type TYPE]... [--count N] [--timeout MS]\n"
     "                       [--show-secrets] [--json]",
     "prints the messages that pass on the bus", kMonitorHelp, kMonitorOptions, runMonitor},
    {"record", "[--for SECONDS] FILE | --cut EVENT IN OUT", "writes down what happens, to be replayed", kRecordHelp,
     kRecordOptions, runRecord},
    {"why", "[--full] [--json] PATH... | --not PATH=VALUE | --ran TEXT", "says how a parameter came to have its value",
     kWhyHelp, kWhyOptions, runWhy, true},
    {"trace",
     "[--event N] [--process NAME] [--since SEC] [--follow [--timeout MS]]\n"
     "                     [--json | --browser FILE] [PATH]",
     "prints what happened, and what came of it", kTraceHelp, kTraceOptions, runTrace, true},
    {"complete", "-- WORD...", "says how a command line may go on, for shells", kCompleteHelp, {}, runComplete}};

}  // namespace

std::span<const Verb> verbs() {
    return kVerbs;
}

}  // namespace vcfgctl
