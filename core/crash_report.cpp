// The report of a fatal signal on standard error: signal, fault, registers, symbols of the signal stack; then
// the process ends with status 1.
//
// The handler runs on the faulting thread, in whatever state that thread was, so it allocates nothing, takes
// no lock and uses no stdio. Three things keep it from hanging: a fault inside it ends the process, a thread
// that crashes while another one reports waits only for a while, and a watchdog ends a report that gets stuck
// (a symbol look-up behind the loader's lock, a full pipe that nobody reads).
#include "core/alternate_stack.h"
#include "core/report_stream.h"
#include "core/signal_names.h"
#include <kalto/core.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace kalto {

constexpr unsigned kLeftAlone =
    0x107E8204;                          // interrupt, kill, terminate, child, continue, stops, window change
constexpr unsigned kIgnored = 0x8006000; // broken pipe, alarm, profiling timer
constexpr int kLastMaskedSignal = 28;
constexpr int kLastSignal = 64;
constexpr int kExitStatus = 1;
constexpr unsigned kWatchdogSeconds = 5;
constexpr size_t kRegisters = 18;
constexpr int kLetThrough[] = {SIGALRM, SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT, SIGSYS};

static std::atomic<bool> handlers_installed{false};
static std::atomic<long> reporting_thread{0};

static const char* fault_code_name(int code) {
    switch (code) {
    case 1:
        return "SEGV_MAPERR";
    case 2:
        return "SEGV_ACCERR";
    default:
        return "";
    }
}

static void write_fault(ReportStream& report, const siginfo_t& info) {
    report.text("info.si_errno = ").decimal(info.si_errno).text("\n");
    report.text("info.si_code  = ").decimal(info.si_code);
    report.text(" (").text(fault_code_name(info.si_code)).text(")\n");
    report.text("info.si_addr  = ").pointer(info.si_addr).text("\n");
}

// ARM: r0 to r10, fp, ip, sp, lr, pc, cpsr and the fault address, as they lie in the context. x86-64: r8 to
// r15, rdi, rsi, rbp, rbx, rdx, rax, rcx, rsp, rip and the flags, as they lie in the context; its fault
// address is info.si_addr.
#if defined(__arm__)
static_assert(offsetof(mcontext_t, fault_address) - offsetof(mcontext_t, arm_r0) ==
              17 * sizeof(unsigned long));
static unsigned long saved_register(const ucontext_t& context, size_t index) {
    unsigned long registers[kRegisters];
    memcpy(registers, reinterpret_cast<const char*>(&context.uc_mcontext) + offsetof(mcontext_t, arm_r0),
           sizeof registers);
    return registers[index];
}
#elif defined(__x86_64__)
static unsigned long saved_register(const ucontext_t& context, size_t index) {
    return static_cast<unsigned long>(context.uc_mcontext.gregs[index]);
}
#else
#error "say where this processor's context keeps its registers"
#endif

static void write_registers(ReportStream& report, const ucontext_t& context) {
    for (size_t i = 0; i < kRegisters; i++) {
        report.text("reg[").decimal(static_cast<long>(i), 2, '0');
        report.text("]= 0x").hex(saved_register(context, i), 8).text("\n");
        report.flush();
    }
}

// Deliberate: the addresses of the stack's words are looked up, not the words, and as many as the stack has
// bytes. Readers of reports know the trace in this form.
static void write_trace(ReportStream& report, const stack_t& stack) {
    report.text("Stack trace:\n");
    const char* address = static_cast<const char*>(stack.ss_sp);
    for (size_t step = 0; step < stack.ss_size; step++, address += 4) {
        Dl_info symbol = {};
        if (dladdr(address, &symbol) == 0 || symbol.dli_sname == nullptr)
            break;
        long offset = address - static_cast<const char*>(symbol.dli_saddr);
        report.text(" ").decimal(static_cast<long>(step) + 1).text(": ").pointer(address);
        report.text(" <").text(symbol.dli_sname).text("+").decimal(offset);
        report.text("> (").text(symbol.dli_fname).text(")\n");
        report.flush();
        if (strcmp(symbol.dli_sname, "main") == 0)
            break;
    }
    report.text("End of stack trace\n");
}

static void end_process(int) {
    _exit(kExitStatus);
}

// Everything is blocked when a handler starts. Faults are let through again, so that one inside the report is
// seen here instead of killing the process by its signal, and so is the watchdog.
static void start_watchdog() {
    struct sigaction end = {};
    end.sa_handler = end_process;
    sigaction(SIGALRM, &end, nullptr);
    sigset_t let_through;
    sigemptyset(&let_through);
    for (int signal : kLetThrough)
        sigaddset(&let_through, signal);
    pthread_sigmask(SIG_UNBLOCK, &let_through, nullptr);
    alarm(kWatchdogSeconds);
}

// True for the one thread that reports. A fault inside the report ends the process here; a thread that
// crashes beside the reporting one is held, so that the report is whole.
static bool claim_report() {
    long self = syscall(SYS_gettid);
    long reporter = 0;
    if (reporting_thread.compare_exchange_strong(reporter, self))
        return true;
    if (reporter != self)
        for (unsigned tenths = 0; tenths < 20 * kWatchdogSeconds; tenths++) {
            const timespec tenth = {0, 100000000};
            nanosleep(&tenth, nullptr);
        }
    return false;
}

static void write_report(int signal, const siginfo_t* info, const ucontext_t* context) {
    ReportStream report(STDERR_FILENO);
    report.text("Received signal: ").text(signal_name(signal));
    report.text(" (PID = ").decimal(getpid()).text(")\n");
    if (info != nullptr && context != nullptr) {
        write_fault(report, *info);
        report.flush();
        write_registers(report, *context);
        write_trace(report, context->uc_stack);
    }
}

static void crash_handler(int signal, siginfo_t* info, void* context) {
    // Deliberate: neither signal is routed here, but an application that installs this handler for them keeps
    // running.
    if (signal == SIGALRM || signal == SIGCHLD)
        return;
    int cancellable = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellable);
    if (claim_report()) {
        start_watchdog();
        write_report(signal, info, static_cast<const ucontext_t*>(context));
    }
    _exit(kExitStatus);
}

static void install_handler(int signal) {
    struct sigaction action = {};
    if (signal <= kLastMaskedSignal && (kIgnored >> signal & 1) != 0) {
        action.sa_handler = SIG_IGN;
    } else {
        action.sa_sigaction = crash_handler;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigfillset(&action.sa_mask);
    }
    sigaction(signal, &action, nullptr); // fails, to no harm, for the two signals of the C library's own
}

} // namespace kalto

void InstallSignalHandlers(void) {
    kalto::provide_alternate_stack();
    if (kalto::handlers_installed.exchange(true))
        return;
    for (int signal = 1; signal <= kalto::kLastSignal; signal++)
        if (signal > kalto::kLastMaskedSignal || (kalto::kLeftAlone >> signal & 1) == 0)
            kalto::install_handler(signal);
}

int GetSignalVector(int sig, char* buf) {
    struct sigaction action = {};
    if (buf == nullptr || sigaction(sig, nullptr, &action) != 0)
        return 0;
    int length = sprintf(buf, "%s (%d): ", kalto::signal_name(sig), sig);
    char* end = buf + length;
    if (action.sa_sigaction == kalto::crash_handler)
        strcpy(end, "application");
    else if (action.sa_handler == SIG_DFL)
        strcpy(end, "default");
    else if (action.sa_handler == SIG_IGN)
        strcpy(end, "ignored");
    else
        sprintf(end, "unknown (%p)", reinterpret_cast<void*>(action.sa_handler));
    return 1;
}
