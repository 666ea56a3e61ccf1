// Modules and version records, on real modules.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <dlfcn.h>
#include <kalto/core.h>

namespace {
std::string long_link; // what readlink answers, when not empty
} // namespace

extern "C" KALTO_API ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    if (long_link.empty())
        return readlinkat(AT_FDCWD, path, buffer, size);
    return static_cast<ssize_t>(long_link.copy(buffer, size));
}

extern "C" KALTO_API INT_PTR symbol_of_the_program() {
    return 5;
}

namespace {

constexpr char kModules[] = KALTO_TEST_MODULES "/";

void copy_module(const Scratch& scratch, const char* module, const std::string& name) {
    std::filesystem::copy_file(kModules + std::string(module), scratch.path(name));
}

HMODULE load(const char* module) {
    const std::string path = kModules + std::string(module);
    return LoadLibrary(std::wstring(path.begin(), path.end()).c_str());
}

// The file that a handle's symbol came from, or nothing.
std::string loaded_from(HMODULE module) {
    Dl_info info = {};
    void* symbol = reinterpret_cast<void*>(GetProcAddress(module, L"module_marker"));
    return dladdr(symbol, &info) != 0 ? std::filesystem::path(info.dli_fname).filename().string() : "";
}

TEST(Module, IsTriedUnderEachNameInTurn) {
    const std::string longest(248, 'n'); // "lib" and ".so" still fit a file's name
    const struct {
        Names present;
        std::wstring asked;
        std::string loaded; // empty: not found
    } cases[] = {
        {{"Foo.dll", "libFoo.so", "libFoo"}, L"Foo.dll", "Foo.dll"},
        {{"libFoo.so", "libFoo"}, L"Foo.dll", "libFoo.so"},
        {{"libFoo"}, L"Foo.dll", "libFoo"},
        {{"Foo.so", "Foo", "libFoo.dll.so"}, L"Foo.dll", ""},
        {{"libBAR.so"}, L"BAR.DLL", "libBAR.so"},
        {{"libBar.so"}, L"Bar.Dll", ""}, // neither ending
        {{"libBar.Dll.so"}, L"Bar.Dll", "libBar.Dll.so"},
        {{"libbar"}, L"bar.so", "libbar"},
        {{"libbar.so.1"}, L"bar.so.1", "libbar.so.1"}, // ".so" occurs: none is appended
        {{"libbar.so", "liblibbar.so"}, L"libbar.dll", "libbar.so"},
        {{"liba.dll.dll.so"}, L"a.dll.dll", "liba.dll.dll.so"}, // the first occurrence counts
        {{"liba.dll.DLL.so"}, L"a.dll.DLL", "liba.dll.DLL.so"},
        {{"lib" + longest + ".so"}, std::wstring(248, L'n') + L".dll", "lib" + longest + ".so"},
    };
    for (const auto& c : cases) {
        const Scratch scratch;
        for (const std::string& name : c.present)
            copy_module(scratch, "plain.so", name);
        HMODULE module = LoadLibrary(scratch.wide(c.asked).c_str());
        EXPECT_EQ(loaded_from(module), c.loaded) << c.asked;
        EXPECT_EQ(FreeLibrary(module), !c.loaded.empty()) << c.asked;
    }
    EXPECT_EQ(LoadLibrary(nullptr), nullptr);
}

TEST(Module, AnExecutablesNameMeansTheRunningProgram) {
    const auto symbol = reinterpret_cast<FARPROC>(&symbol_of_the_program);
    for (const wchar_t* name : {L"", L"anything.exe", L"x.exe.dll", L"\\no\\such.elf\\directory"}) {
        HMODULE program = LoadLibrary(name);
        EXPECT_EQ(GetProcAddress(program, L"symbol_of_the_program"), symbol) << name;
        EXPECT_EQ(GetProcAddressA(program, "symbol_of_the_program"), symbol);
        EXPECT_EQ(GetProcAddress(program, std::wstring(1000, L's').c_str()), nullptr);
        EXPECT_EQ(GetProcAddress(program, nullptr), nullptr);
        EXPECT_EQ(GetProcAddress(program, reinterpret_cast<LPCWSTR>(std::uintptr_t{12})), nullptr);
        EXPECT_EQ(GetProcAddressA(program, nullptr), nullptr);
        EXPECT_TRUE(FreeLibrary(program));
    }
    EXPECT_EQ(LoadLibrary(L"\\no\\such.EXE"), nullptr); // case counts
}

// One counter for all modules: only the first and the last are told, the others get the counter.
TEST(Module, TheStartUpHooksFindItsDllMainAndCountForTheWholeProcess) {
    HMODULE module = load("with_dll_main.so"), plain = load("plain.so");
    ASSERT_TRUE(module != nullptr && plain != nullptr);
    const auto* attached = reinterpret_cast<HANDLE*>(GetProcAddressA(module, "attached_module"));
    const auto* reason = reinterpret_cast<DWORD*>(GetProcAddressA(module, "last_reason"));
    EXPECT_EQ(*reason, DWORD{99}); // loading alone calls nothing
    EXPECT_EQ(KaltoDllInit(module), DWORD{41});
    EXPECT_EQ(*attached, module);
    EXPECT_EQ(*reason, DWORD{0});
    EXPECT_EQ(KaltoDllInit(plain), DWORD{2});
    EXPECT_EQ(KaltoDllInit(module), DWORD{3});
    EXPECT_EQ(KaltoDllFini(module), DWORD{2});
    EXPECT_EQ(KaltoDllFini(plain), DWORD{1});
    EXPECT_EQ(*reason, DWORD{0});
    EXPECT_EQ(KaltoDllFini(module), DWORD{41});
    EXPECT_EQ(*reason, DWORD{1});
    for (HMODULE without : {plain, HMODULE{}}) {
        EXPECT_EQ(KaltoDllInit(without), DWORD{0});
        EXPECT_EQ(KaltoDllFini(without), DWORD{0});
    }
    FreeLibrary(module);
    EXPECT_EQ(dlopen((kModules + std::string("with_dll_main.so")).c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    FreeLibrary(plain);
}

void expect_cut_correctly(const std::wstring& name) {
    const auto length = static_cast<DWORD>(name.size());
    for (const DWORD size : {DWORD{0}, DWORD{1}, DWORD{7}, length, length + 1, length + 9}) {
        std::wstring buffer(size, L'~'); // exactly as announced: the sanitizer sees any write beyond
        SetLastError(99);
        const DWORD result = GetModuleFileName(nullptr, &buffer[0], size);
        const bool fits = length < size;
        EXPECT_EQ(result, fits ? length : size);
        EXPECT_EQ(GetLastError(), fits ? DWORD{99} : DWORD{36});
        EXPECT_EQ(buffer.c_str(), fits ? name : name.substr(0, size == 0 ? 0 : size - 1));
    }
}

TEST(Module, FileNameIsTheProgramsCutToTheBuffer) {
    std::wstring program = std::filesystem::read_symlink("/proc/self/exe").wstring();
    std::replace(program.begin(), program.end(), L'/', L'\\');
    expect_cut_correctly(program);
    long_link = "/" + std::string(600, 'x') + "/y";
    expect_cut_correctly(L"\\" + std::wstring(600, L'x') + L"\\y");
    EXPECT_EQ(GetModuleFileName(nullptr, nullptr, 100), ~DWORD{0});
}

TEST(Version, ComesFromTheModuleOrTheFilesTimeOrTheProgram) {
    const Scratch scratch;
    copy_module(scratch, "with_version.so", "libversioned.so");
    copy_module(scratch, "with_zero_version.so", "libzero.so");
    copy_module(scratch, "plain.so", "plain.dll");
    scratch.put("program", "text");
    const std::int64_t changed = 1794751509; // 2026-11-15 14:05:09 UTC: year 126, month 10, day 15, 1405
    for (const char* name : {"libversioned.so", "libzero.so", "plain.dll", "program"})
        ASSERT_TRUE(set_times(scratch.path(name), changed, changed));
    VS_FIXEDFILEINFO own = {};
    ASSERT_TRUE(GetFileVersionInfo(L"\\proc\\self\\exe", 0, sizeof own, &own));
    EXPECT_GT(own.dwFileVersionMS >> 16, DWORD{120}) << "years after 1900";
    const VS_FIXEDFILEINFO by_symbol = {0x00010002, 0x00030004, 0}, by_time = {0x007E000A, 0x000F057D, 0};
    const struct {
        std::wstring name;
        const VS_FIXEDFILEINFO& expected;
    } cases[] = {
        {scratch.wide("versioned.dll"), by_symbol},
        {scratch.wide("libzero.so"), by_time},
        {scratch.wide("plain.dll"), by_time},
        {scratch.wide("program.exe"), by_time}, // without the ending
        {scratch.wide("program.EXE"), by_time},
        {L"\\nothing\\here.dll", own},
        {L"", own},
    };
    setenv("TZ", "IST-5:30", 1); // the time is UTC's
    tzset();
    for (const auto& c : cases) {
        VS_FIXEDFILEINFO record = {9, 9, 9};
        EXPECT_EQ(GetFileVersionInfo(c.name.c_str(), 5, 0, &record), TRUE) << c.name;
        EXPECT_EQ(memcmp(&record, &c.expected, sizeof record), 0) << c.name;
    }
    EXPECT_FALSE(GetFileVersionInfo(nullptr, 0, 12, &own));
    EXPECT_FALSE(GetFileVersionInfo(L"any", 0, 12, nullptr));
}

TEST(Version, RecordsAreTwelveBytesAndHandedBack) {
    DWORD handle = 77, block[3] = {};
    EXPECT_EQ(GetFileVersionInfoSize(L"any", &handle), DWORD{12});
    EXPECT_EQ(handle, DWORD{0});
    EXPECT_EQ(GetFileVersionInfoSize(nullptr, nullptr), DWORD{12});
    void* record = nullptr;
    UINT length = 0;
    EXPECT_TRUE(VerQueryValue(block, L"\\", &record, &length));
    EXPECT_EQ(record, block);
    EXPECT_EQ(length, 12u);
    EXPECT_TRUE(VerQueryValue(nullptr, nullptr, &record, nullptr));
    EXPECT_EQ(record, nullptr);
    EXPECT_FALSE(VerQueryValue(block, L"\\", nullptr, &length));
}

} // namespace
