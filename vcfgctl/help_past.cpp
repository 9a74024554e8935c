// What the verbs about what happened say of themselves.
#include "help.h"

namespace vcfgctl {

const char kRecordHelp[] =
    "Writes down the data model, and then all that arrives at the daemon and what it does about it, as JSON\n"
    "lines, until it is interrupted. 'gw replay FILE' plays it to a fresh daemon and compares what that does.\n"
    "No password, PIN or key gets into it. - is standard output.\n"
    "\n"
    "  --for SECONDS      ends after so many seconds\n"
    "  --only EVENT       only what comes of one event: of that with this number, as 'trace' shows it, or of each "
    "from\n"
    "                     now on that has this text in it (a kernel event, a message or its payload, a timer), and "
    "what\n"
    "                     the model was meanwhile\n"
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

}  // namespace vcfgctl
