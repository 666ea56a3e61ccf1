// The rule that codes obey, from a plug-in (code_rule_plugin.h).
#ifndef STOCKSCAN_CODE_RULE_H
#define STOCKSCAN_CODE_RULE_H

#include "code_rule_plugin.h"

#include <string>

class CodeRule {
  public:
    CodeRule() = default;
    ~CodeRule();
    CodeRule(const CodeRule&) = delete;
    CodeRule& operator=(const CodeRule&) = delete;

    // Loads the plug-in; a name without a directory is looked for beside the program. False when it cannot be
    // loaded or lacks a function.
    bool Load(const std::wstring& plugIn);
    const char* Name() const { return name_(); }
    // One of the results of CheckCode. Any thread may ask.
    DWORD Check(const std::string& code) const { return check_(code.c_str()); }

  private:
    HMODULE module_ = nullptr;
    CODERULENAME name_ = nullptr;
    CHECKCODE check_ = nullptr;
};

#endif
