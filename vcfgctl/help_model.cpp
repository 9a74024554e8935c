// What the verbs of the model as a whole, and of its names, say of themselves.
#include "help.h"

namespace vcfgctl {

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

const char kCompleteHelp[] =
    "Prints what may stand in the place of the last word of a vcfgctl command line, a line each. It is\n"
    "what the completion of bash and zsh asks.\n"
    "\n"
    "  vcfgctl complete -- get IP.Interface.1.Sta\n";

}  // namespace vcfgctl
