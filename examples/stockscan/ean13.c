/* A plug-in of stockscan: the European article numbers, twelve digits and one that checks them. */
#include "code_rule_plugin.h"

#define DIGITS 13

__declspec(dllexport) LPCSTR WINAPI CodeRuleName(void);
__declspec(dllexport) DWORD WINAPI CheckCode(LPCSTR code);

LPCSTR WINAPI CodeRuleName(void) {
    return "EAN-13";
}

/* The digits, weighted with 1 and 3 in turn, add up to a multiple of ten. */
DWORD WINAPI CheckCode(LPCSTR code) {
    DWORD sum = 0;
    int i;

    for (i = 0; i < DIGITS; ++i) {
        if (code[i] < '0' || code[i] > '9')
            return CODE_MALFORMED;
        sum += (DWORD)(code[i] - '0') * (i % 2 == 0 ? 1 : 3);
    }
    if (code[DIGITS] != '\0')
        return CODE_MALFORMED;
    return sum % 10 == 0 ? CODE_GOOD : CODE_WRONG_CHECK_DIGIT;
}
