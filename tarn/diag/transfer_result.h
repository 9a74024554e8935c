// What the download and the upload test measured: totals, and tables of results per connection and per interval.
#pragma once

#include <cstdint>

void tarnDlDiagComplete(const char* payload);
void tarnUlDiagComplete(const char* payload);

// Deletes the result entries of the download or the upload object; any other object id does nothing.
void tarnDiagResultsClear(uint32_t object);
