// The log of the application: one line for each message, through OutputDebugString.
#ifndef STOCKSCAN_LOG_H
#define STOCKSCAN_LOG_H

#include <windows.h>

// format is wsprintf's. Lines are cut at 500 characters. Any thread may log.
void Log(LPCWSTR format, ...);

#endif
