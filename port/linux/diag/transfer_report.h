// The daemon's payload of a download or an upload.
#pragma once

#include <string>

#include "transfer.h"

std::string transferReport(const TransferTest& test, const TransferOutcome& outcome);
