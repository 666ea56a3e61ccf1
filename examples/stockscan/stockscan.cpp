// stockscan [DIRECTORY]: counts the codes that a stocktaking has scanned, article by article.
//
// The settings are in the registry under HKEY_LOCAL_MACHINE\Software\Velmoran\StockScan; the first run
// creates them (settings.cpp has the defaults, settings.h what they mean). Paths in them are the device's. On
// a development machine DIRECTORY stands for the root of the device: the registry is then
// DIRECTORY/var/zel/registry.xml, and every path of the settings begins at DIRECTORY.
//
// Exit status: 0 all codes are articles of the catalogue; 1 some were unknown or bad; 2 it could not run: a
// file is missing or cannot be read or written, or the plug-in cannot be loaded; 3 the run was stopped, by
// the stop file or for too many errors. A report is written after 0 and 1; with 2 and 3 the last one stays.
#include "log.h"
#include "report.h"
#include "scan.h"
#include "settings.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

namespace {

enum ExitStatus { kAllKnown, kSomeUnknown, kCouldNotRun, kStopped };

std::wstring DeviceRoot() {
    const char* narrow = GetCommandLineA();
    if (*narrow == '\0')
        return std::wstring();
    g_sandboxDir = narrow; // the library keeps it until WinMain returns
    std::wstring root(strlen(narrow), L'\0');
    const size_t length = mbstowcs(&root[0], narrow, root.size());
    root.resize(length == static_cast<size_t>(-1) ? 0 : length);
    return root;
}

int Fail(LPCWSTR what, const std::wstring& name, DWORD error) {
    Log(L"%s %s: error %lu", what, name.c_str(), static_cast<unsigned long>(error));
    return kCouldNotRun;
}

bool ReadCatalogue(InputFile& file, const std::wstring& path, std::string& text) {
    return file.Open(path) && file.ReadRest(text);
}

int StatusOf(const Tally& tally) {
    return tally.Unknown().empty() && tally.Bad().empty() ? kAllKnown : kSomeUnknown;
}

int Run(const std::wstring& root, const Settings& settings) {
    CodeRule rule;
    if (!rule.Load(settings.plugIn)) {
        Log(L"cannot load %s", settings.plugIn.c_str()); // the last error knows nothing of modules
        return kCouldNotRun;
    }
    InputFile catalogueFile;
    std::string text;
    if (!ReadCatalogue(catalogueFile, root + settings.catalogue, text))
        return Fail(L"cannot read", settings.catalogue, GetLastError());
    Catalogue catalogue;
    if (!catalogue.Read(text)) {
        Log(L"%s: %S", settings.catalogue.c_str(), catalogue.Fault());
        return kCouldNotRun;
    }
    InputFile input;
    if (!input.Open(root + settings.input))
        return Fail(L"cannot read", settings.input, GetLastError());
    const ReportSources sources = {
        settings.input,    input.Changed(), settings.catalogue, catalogueFile.Changed(),
        catalogue.Count(), rule.Name(),     settings.runs};

    ScanResult result;
    Settings located = settings;
    located.stopFile = root + settings.stopFile;
    const ScanOutcome outcome = Scan(located, input, text, rule, result);
    if (outcome == ScanOutcome::Failed)
        return Fail(L"cannot scan", settings.input, input.Error());
    if (outcome == ScanOutcome::Stopped)
        return kStopped;
    if (!WriteReport(root + settings.report, MakeReport(sources, result)))
        return Fail(L"cannot write", settings.report, GetLastError());
    return StatusOf(result.tally);
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    setlocale(LC_CTYPE, "");
    const std::wstring root = DeviceRoot();
    Settings settings;
    const LONG result = LoadSettings(settings);
    if (result != ERROR_SUCCESS)
        return Fail(L"cannot open", L"the settings", static_cast<DWORD>(result));
    Log(L"run %lu, workers: %lu", static_cast<unsigned long>(settings.runs),
        static_cast<unsigned long>(settings.workers));
    const int status = Run(root, settings);
    Log(L"exit status %d", status);
    return status;
}
