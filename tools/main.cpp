// The program's entry. Everything in the registry file is UTF-8, so that is what the program speaks.
#include "tools/kaltoreg.h"

#include <clocale>
#include <cstring>
#include <langinfo.h>

int main(int argc, char* argv[]) {
    setlocale(LC_ALL, "");
    if (strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setlocale(LC_CTYPE, "C.UTF-8");
    return kaltoreg::run(kaltoreg::Arguments(argv + 1, argv + argc), {stdout, stderr});
}
