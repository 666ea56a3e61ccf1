// One run over the input: a producer, the workers, and what they found together.
#ifndef STOCKSCAN_SCAN_H
#define STOCKSCAN_SCAN_H

#include "code_rule.h"
#include "input_file.h"
#include "settings.h"
#include "tally.h"

enum class ScanOutcome {
    Complete, // the whole input was counted
    Stopped,  // given up, by the stop file or for too many errors
    Failed    // threads could not be started, or the input could not be read to its end
};

struct ScanResult {
    Tally tally;
    DWORD lines = 0;
    DWORD blankLines = 0;
};

ScanOutcome Scan(const Settings& settings, InputFile& input, const std::string& catalogue,
                 const CodeRule& rule, ScanResult& result);

#endif
