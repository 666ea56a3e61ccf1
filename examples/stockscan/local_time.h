// Times as the report shows them: "2026-11-21 19:05:00", in local time.
#ifndef STOCKSCAN_LOCAL_TIME_H
#define STOCKSCAN_LOCAL_TIME_H

#include <string>
#include <windows.h>

std::string LocalTimeText(const FILETIME& time); // "unknown" for a time that the system cannot convert
std::string LocalTimeNowText();

#endif
