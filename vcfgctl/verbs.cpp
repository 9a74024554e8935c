// The table of verbs.
#include "verb.h"

#include "help.h"
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

const option kRecordOptions[] = {{"for", required_argument, nullptr, 0},
                                 {"only", required_argument, nullptr, 0},
                                 {"cut", required_argument, nullptr, 0}};

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
    {"record", "[--for SECONDS] [--only EVENT] FILE | --cut EVENT IN OUT", "writes down what happens, to be replayed",
     kRecordHelp, kRecordOptions, runRecord},
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
