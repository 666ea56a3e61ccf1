// Console programs: wmain, which _tmain stands for, in place of WinMain.
#include "core/wide_main.h"

#include "text/convert.h"

#include <clocale>
#include <cstdio>
#include <kalto/types.h>
#include <string>
#include <vector>

// Whichever the application defines; the others are null. C++ has a name for each list of parameters.
#define KALTO_ONE_OF_THE_APPLICATION KALTO_API __attribute__((weak))
extern "C" KALTO_ONE_OF_THE_APPLICATION int kalto_wmain_of_c(int, WCHAR**, WCHAR**) __asm__("wmain");
KALTO_ONE_OF_THE_APPLICATION int wmain();
KALTO_ONE_OF_THE_APPLICATION int wmain(int, WCHAR**);
KALTO_ONE_OF_THE_APPLICATION int wmain(int, const WCHAR**);
KALTO_ONE_OF_THE_APPLICATION int wmain(int, WCHAR**, WCHAR**);

namespace kalto {

namespace {

using NoArguments = int (*)();
using Arguments = int (*)(int, WCHAR**);
using ConstArguments = int (*)(int, const WCHAR**);
using AllArguments = int (*)(int, WCHAR**, WCHAR**);

struct Entry {
    NoArguments none = wmain;
    Arguments two = wmain;
    ConstArguments two_const = wmain;
    AllArguments three = wmain;
    AllArguments of_c = kalto_wmain_of_c;

    bool exists() const {
        return none != nullptr || two != nullptr || two_const != nullptr || three != nullptr ||
               of_c != nullptr;
    }
    int call(int argc, WCHAR** argv) const {
        WCHAR* environment[] = {nullptr};
        if (two != nullptr)
            return two(argc, argv);
        if (two_const != nullptr)
            return two_const(argc, const_cast<const WCHAR**>(argv));
        if (none != nullptr)
            return none();
        // A function of C that takes less leaves the rest alone.
        return (three != nullptr ? three : of_c)(argc, argv, environment);
    }
};

// The user's locale for the conversion of the arguments: the program itself has set none yet.
class UsersLocale {
  public:
    UsersLocale() : own_(newlocale(LC_CTYPE_MASK, "", nullptr)) {
        if (own_ != nullptr)
            before_ = uselocale(own_);
    }
    ~UsersLocale() {
        if (own_ != nullptr) {
            uselocale(before_);
            freelocale(own_);
        }
    }
    UsersLocale(const UsersLocale&) = delete;
    UsersLocale& operator=(const UsersLocale&) = delete;

  private:
    locale_t own_;
    locale_t before_ = nullptr;
};

bool widen(int argc, char** argv, std::vector<std::wstring>& wide) {
    const UsersLocale users;
    wide.resize(static_cast<size_t>(argc));
    for (size_t i = 0; i < wide.size(); ++i)
        if (!to_wide(argv[i], wide[i]))
            return false;
    return true;
}

} // namespace

bool run_wide_main(int argc, char** argv, int* status) {
    const Entry entry;
    if (!entry.exists())
        return false;
    std::vector<std::wstring> texts;
    if (!widen(argc, argv, texts)) {
        fputs("kalto: an argument is not text in the user's locale\n", stderr);
        *status = 1;
        return true;
    }
    std::vector<WCHAR*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::wstring& text : texts)
        pointers.push_back(&text[0]);
    pointers.push_back(nullptr);
    *status = entry.call(argc, pointers.data());
    return true;
}

} // namespace kalto
