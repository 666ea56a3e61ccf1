// Names of signals, by the numbers that ARM and x86 share.
#include "core/signal_names.h"

namespace kalto {

namespace {
struct SignalName {
    int number;
    char name[12];
};
} // namespace

// The first pair with the number gives the name.
static const SignalName kSignalNames[35] = {
    {1, "SIGHUP"},   {2, "SIGINT"},    {3, "SIGQUIT"},  {4, "SIGILL"},   {5, "SIGTRAP"},    {6, "SIGABRT"},
    {7, "SIGBUS"},   {8, "SIGFPE"},    {9, "SIGKILL"},  {10, "SIGUSR1"}, {11, "SIGSEGV"},   {12, "SIGUSR2"},
    {13, "SIGPIPE"}, {14, "SIGALRM"},  {15, "SIGTERM"}, {17, "SIGCHLD"}, {18, "SIGCONT"},   {19, "SIGSTOP"},
    {20, "SIGTSTP"}, {21, "SIGTTIN"},  {22, "SIGTTOU"}, {23, "SIGURG"},  {25, "SIGXFSZ"},   {26, "SIGVTALRM"},
    {27, "SIGPROF"}, {28, "SIGWINCH"}, {29, "SIGIO"},   {31, "SIGSYS"},  {16, "SIGSTKFLT"}, {17, "SIGCLD"},
    {6, "SIGIOT"},   {29, "SIGPOLL"},  {24, "SIGXCPU"}, {30, "SIGPWR"},  {31, "SIGUNUSED"},
};

const char* signal_name(int number) {
    for (const SignalName& entry : kSignalNames)
        if (entry.number == number)
            return entry.name;
    return "Unknown";
}

} // namespace kalto
