// The report of a run: where it comes from, the articles, unknown and bad codes in the order of their codes,
// and the totals. Only its second line, with the time and the number of the run, differs between runs over
// the same files.
#ifndef STOCKSCAN_REPORT_H
#define STOCKSCAN_REPORT_H

#include "scan.h"

struct ReportSources {
    std::wstring input;
    FILETIME inputChanged;
    std::wstring catalogue;
    FILETIME catalogueChanged;
    DWORD articles;
    const char* rule;
    DWORD run;
};

std::string MakeReport(const ReportSources& sources, const ScanResult& result);

// Puts text into a new file, which then replaces the one at path; false with the last error, and the old file
// in place, when it cannot be written.
bool WriteReport(const std::wstring& path, const std::string& text);

#endif
