/* What a plug-in of stockscan exports: the rule that scanned codes obey. */
#ifndef STOCKSCAN_CODE_RULE_PLUGIN_H
#define STOCKSCAN_CODE_RULE_PLUGIN_H

#include <windows.h>

/* Results of CheckCode. */
#define CODE_GOOD 0
#define CODE_MALFORMED 1
#define CODE_WRONG_CHECK_DIGIT 2

/* CodeRuleName: what the rule is called. CheckCode: one of the results above; called by several threads at a
 * time. */
typedef LPCSTR(WINAPI* CODERULENAME)(void);
typedef DWORD(WINAPI* CHECKCODE)(LPCSTR code);

#endif
