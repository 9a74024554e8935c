// Which of several hosts answers fastest: the tool reports a start, host after host, and an end.
#pragma once

void tarnProcessPingSvrsMsg(const char* payload);

// Forgets a series that has not ended.
void forgetPingSeries();
