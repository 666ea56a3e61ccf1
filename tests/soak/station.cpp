#include "station.h"

#include <atomic>
#include <cstdio>

namespace {

std::atomic<bool> g_failed{false};
const int kMostReports = 20;
std::atomic<int> g_reports{0};

std::wstring Widen(const std::string& narrow) {
    return std::wstring(narrow.begin(), narrow.end()); // ASCII
}

} // namespace

Station::Station(const char* area, int number, const std::string& directory, unsigned chance)
    : area_(area), number_(number),
      directory_(Widen(directory) + L"\\" + Widen(area) + std::to_wstring(number)), random_(chance) {}

std::wstring Station::OwnName(LPCWSTR what) const {
    return std::wstring(what) + L" of " + Widen(area_) + L" " + std::to_wstring(number_);
}

DWORD Station::Random(DWORD below) {
    return static_cast<DWORD>(random_() % below);
}

void Station::Expect(bool condition, const char* what) {
    if (condition)
        return;
    const DWORD error = GetLastError();
    g_failed = true;
    if (g_reports++ < kMostReports)
        fprintf(stderr, "soak: %s %d: wrong result: %s (last error %lu, errno %d)\n", area_, number_, what,
                static_cast<unsigned long>(error), errno);
}

bool AnyFailure() {
    return g_failed;
}
