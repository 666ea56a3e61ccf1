#include <cstring>
#include <kalto/system.h>

BOOL SystemParametersInfo(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni) {
    UNREFERENCED_PARAMETER(uiAction);
    UNREFERENCED_PARAMETER(uiParam);
    UNREFERENCED_PARAMETER(fWinIni);
    // Deliberate: the same text for every action; applications ask for the maker and nothing else.
    static constexpr WCHAR kMaker[] = L"Velmoran";
    if (pvParam != nullptr) {
        std::memcpy(pvParam, kMaker, sizeof kMaker);
    }
    return TRUE;
}
