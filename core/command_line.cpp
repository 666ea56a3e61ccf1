// The command line in the forms that the Windows calls hand out. Everything here is written by main before
// the application runs, but for the wide command line and the executable's path, which are made on first use
// under a lock.
#include "core/command_line.h"
#include <kalto/core.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unistd.h>

namespace kalto {

constexpr size_t kPathBufferSize = 1024; // bytes, of wide characters
constexpr size_t kLongestPath = 255; // bytes of narrow text: its wide form and a terminator fill that buffer
static_assert((kLongestPath + 1) * sizeof(wchar_t) == kPathBufferSize);

static char* narrow_line = nullptr; // null before main and after WinMain
static wchar_t* wide_line = nullptr;
static int argument_count = 0;
static LPWSTR* wide_arguments = nullptr;
static LPWSTR executable_path[1] = {nullptr};
static std::mutex first_use; // guards the making of wide_line and executable_path

static size_t narrow_line_size(int argc, char** argv) {
    size_t size = static_cast<size_t>(argc > 0 ? argc : 1); // blanks and the terminator
    for (int i = 1; i < argc; i++)
        size += strlen(argv[i]);
    return size;
}

// Deliberate: 4 bytes a character and one more, and a conversion limit without room for a terminator: ported
// start-up code was tuned to this layout. The zero fill is what ends the text of an argument of single-byte
// characters.
static wchar_t* widen_argument(const char* argument) {
    size_t length = strlen(argument);
    auto* wide = static_cast<wchar_t*>(calloc(1, 4 * length + 1));
    if (wide != nullptr)
        mbstowcs(wide, argument, length);
    return wide;
}

bool record_command_line(int argc, char** argv) {
    narrow_line = static_cast<char*>(calloc(1, narrow_line_size(argc, argv)));
    if (narrow_line == nullptr)
        return false;
    wide_arguments = static_cast<LPWSTR*>(calloc(static_cast<size_t>(argc > 0 ? argc : 1), sizeof(LPWSTR)));
    if (wide_arguments == nullptr)
        return false;
    LPWSTR* path = CommandLineToArgvW(nullptr, nullptr);
    if (path == nullptr)
        return false;
    wide_arguments[0] = path[0];
    argument_count = argc;
    char* end = narrow_line;
    for (int i = 1; i < argc; i++) {
        if (i != 1)
            *end++ = ' ';
        end = stpcpy(end, argv[i]);
        wide_arguments[i] = widen_argument(argv[i]);
    }
    return true;
}

void release_narrow_command_line() {
    free(narrow_line);
    narrow_line = nullptr;
}

// The link's target, as far as the locale can express it. Null when memory runs out.
static wchar_t* read_executable_path() {
    auto* wide = static_cast<wchar_t*>(calloc(1, kPathBufferSize));
    if (wide == nullptr)
        return nullptr;
    char narrow[kLongestPath + 1] = {};
    if (readlink("/proc/self/exe", narrow, kLongestPath) > 0)
        mbstowcs(wide, narrow, kLongestPath);
    return wide;
}

static LPWSTR* executable_path_vector() {
    std::lock_guard<std::mutex> guard(first_use);
    if (executable_path[0] == nullptr)
        executable_path[0] = read_executable_path();
    if (executable_path[0] == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    return executable_path;
}

static void store_count(int* destination, int count) {
    if (destination != nullptr)
        *destination = count;
}

} // namespace kalto

using namespace kalto;

LPSTR GetCommandLineA(void) {
    static char empty[1] = "";
    return narrow_line != nullptr ? narrow_line : empty;
}

LPWSTR GetCommandLineW(void) {
    std::lock_guard<std::mutex> guard(first_use);
    if (wide_line == nullptr) {
        if (narrow_line == nullptr) {
            static wchar_t empty[1] = L"";
            return empty;
        }
        size_t length = strlen(narrow_line);
        wide_line = static_cast<wchar_t*>(calloc(length + 1, sizeof(wchar_t)));
        if (wide_line != nullptr)
            mbstowcs(wide_line, narrow_line, length);
    }
    return wide_line;
}

// Deliberate: a command line that is given is not parsed: any text stands for the process's own arguments, as
// applications of the device expect.
LPWSTR* CommandLineToArgvW(LPCWSTR lpCmdLine, int* pNumArgs) {
    if (lpCmdLine != nullptr && *lpCmdLine != L'\0') {
        store_count(pNumArgs, argument_count);
        return wide_arguments;
    }
    LPWSTR* path = executable_path_vector();
    if (path != nullptr)
        store_count(pNumArgs, 1);
    return path;
}
