// The optical side's report on its service.
#pragma once

// `payload` is a JSON object with "serviceStatus"; null or other text changes nothing.
void updateOpticalLinkStatus(const char* payload);
