#include "report.h"

#include "local_time.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

void Append(std::string& report, const char* format, ...) __attribute__((format(printf, 2, 3)));

// For lines of numbers and codes; names and paths, which may be of any length, are added to the text itself.
void Append(std::string& report, const char* format, ...) {
    char line[200];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    report += line;
}

unsigned long Number(DWORD number) {
    return number;
}

std::string Narrow(const std::wstring& wide) {
    std::string narrow(wide.size() * MB_CUR_MAX + 1, '\0');
    const size_t length = wcstombs(&narrow[0], wide.c_str(), narrow.size());
    narrow.resize(length == static_cast<size_t>(-1) ? 0 : length);
    return narrow;
}

std::string Money(ULONGLONG cents) {
    std::string money;
    Append(money, "%llu.%02llu", cents / 100, cents % 100);
    return money;
}

const char* Reason(DWORD result) {
    return result == CODE_WRONG_CHECK_DIGIT ? "wrong check digit" : "malformed";
}

// The counts behind one section, for the totals.
struct Sum {
    DWORD count = 0;
    DWORD different = 0;
    ULONGLONG amount = 0;
};

void AddHead(std::string& report, const ReportSources& sources) {
    report += "STOCKSCAN REPORT\n";
    Append(report, "Made      %s, run %lu\n", LocalTimeNowText().c_str(), Number(sources.run));
    report +=
        "Input     " + Narrow(sources.input) + ", changed " + LocalTimeText(sources.inputChanged) + "\n";
    report +=
        "Catalogue " + Narrow(sources.catalogue) + ", changed " + LocalTimeText(sources.catalogueChanged);
    Append(report, ", %lu articles\n", Number(sources.articles));
    report += std::string("Rule      ") + sources.rule + "\n";
}

Sum AddArticles(std::string& report, const Tally& tally) {
    Sum sum;
    report += "\nARTICLES\n count      amount  code           name\n";
    for (const auto& [code, counted] : tally.Articles()) {
        Append(report, "%6lu  %10s  %-13s  ", Number(counted.count), Money(counted.Amount()).c_str(),
               code.c_str());
        report += counted.article.name + "\n";
        sum.count += counted.count;
        sum.amount += counted.Amount();
        ++sum.different;
    }
    return sum;
}

Sum AddUnknown(std::string& report, const Tally& tally) {
    Sum sum;
    report += "\nUNKNOWN CODES\n count  code\n";
    for (const auto& [code, count] : tally.Unknown()) {
        Append(report, "%6lu  %s\n", Number(count), code.c_str());
        sum.count += count;
        ++sum.different;
    }
    return sum;
}

Sum AddBad(std::string& report, const Tally& tally) {
    Sum sum;
    report += "\nBAD CODES\n count  reason             code\n";
    for (const auto& [code, counted] : tally.Bad()) {
        Append(report, "%6lu  %-17s  ", Number(counted.count), Reason(counted.reason));
        report += code + "\n";
        sum.count += counted.count;
        ++sum.different;
    }
    return sum;
}

void AddTotal(std::string& report, const char* what, const Sum& sum) {
    Append(report, "%-15s %6lu, %lu different\n", what, Number(sum.count), Number(sum.different));
}

bool WriteFileAt(const std::wstring& path, const std::string& text) {
    HANDLE file =
        CreateFile(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const BOOL whole = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return whole != FALSE;
}

} // namespace

std::string MakeReport(const ReportSources& sources, const ScanResult& result) {
    std::string report;
    AddHead(report, sources);
    const Sum articles = AddArticles(report, result.tally);
    const Sum unknown = AddUnknown(report, result.tally);
    const Sum bad = AddBad(report, result.tally);
    report += "\nTOTALS\n";
    Append(report, "%-15s %6lu, %lu blank\n", "lines", Number(result.lines), Number(result.blankLines));
    AddTotal(report, "articles", articles);
    AddTotal(report, "unknown codes", unknown);
    AddTotal(report, "bad codes", bad);
    Append(report, "%-15s %s\n", "amount", Money(articles.amount).c_str());
    return report;
}

bool WriteReport(const std::wstring& path, const std::string& text) {
    const std::wstring made = path + L".new";
    const bool written = WriteFileAt(made, text) && CopyFile(made.c_str(), path.c_str(), FALSE);
    const DWORD error = GetLastError();
    DeleteFile(made.c_str());
    SetLastError(error);
    return written;
}
