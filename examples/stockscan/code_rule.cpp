#include "code_rule.h"

namespace {

std::wstring BesideProgram(const std::wstring& name) {
    WCHAR path[1024] = L"";
    GetModuleFileName(nullptr, path, ARRAYSIZE(path));
    const std::wstring program = path;
    const size_t separator = program.find_last_of(L"\\/");
    return separator == std::wstring::npos ? name : program.substr(0, separator + 1) + name;
}

template <typename Function> Function Look(HMODULE module, LPCWSTR name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

} // namespace

CodeRule::~CodeRule() {
    if (module_ != nullptr)
        FreeLibrary(module_);
}

bool CodeRule::Load(const std::wstring& plugIn) {
    const bool bare = plugIn.find_first_of(L"\\/") == std::wstring::npos;
    module_ = LoadLibrary((bare ? BesideProgram(plugIn) : plugIn).c_str());
    if (module_ == nullptr)
        return false;
    name_ = Look<CODERULENAME>(module_, L"CodeRuleName");
    check_ = Look<CHECKCODE>(module_, L"CheckCode");
    return name_ != nullptr && check_ != nullptr;
}
