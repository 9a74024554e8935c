// How a download or an upload ended, in the data model's words.
#pragma once

#include <string>

#include "transfer.h"

// "Complete", or what went wrong with the first connection that failed.
std::string transferState(const TransferTest& test, const TransferOutcome& outcome);
