#include "local_time.h"

#include <cstdio>

namespace {

std::string Text(const SYSTEMTIME& time) {
    char text[40];
    snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth, time.wDay,
             time.wHour, time.wMinute, time.wSecond);
    return text;
}

} // namespace

std::string LocalTimeText(const FILETIME& time) {
    FILETIME local;
    SYSTEMTIME parts;
    if (!FileTimeToLocalFileTime(&time, &local) || !FileTimeToSystemTime(&local, &parts))
        return "unknown";
    return Text(parts);
}

std::string LocalTimeNowText() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return Text(now);
}
