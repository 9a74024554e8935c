// What `vcfgctl help VERB` prints below the synopsis.
#pragma once

namespace vcfgctl {

extern const char kGetHelp[];
extern const char kSetHelp[];
extern const char kAddHelp[];
extern const char kDelHelp[];
extern const char kDumpHelp[];
extern const char kLoadHelp[];
extern const char kSaveHelp[];
extern const char kListHelp[];
extern const char kDescribeHelp[];
extern const char kWatchHelp[];
extern const char kWaitHelp[];
extern const char kSendHelp[];
extern const char kServeHelp[];
extern const char kEndpointsHelp[];
extern const char kMonitorHelp[];
extern const char kRecordHelp[];
extern const char kWhyHelp[];
extern const char kTraceHelp[];
extern const char kCompleteHelp[];

}  // namespace vcfgctl
