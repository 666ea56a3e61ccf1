// Formatted output, conversions and the tokenizer, each beside the calls of the C library that do the same
// work. The names end in the subject's length where it has one; compare the two lines of a pair from one run.
#include <benchmark/benchmark.h>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <kalto/text.h>
#include <kalto/tokenizer.h>
#include <memory>
#include <string>

namespace {

constexpr size_t kBuffer = 32767;
WCHAR g_wide[kBuffer];
char g_narrow[kBuffer];

// One integer.
void one_wsprintf(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(wsprintf(g_wide, L"%d", 12345));
}

void one_swprintf(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(swprintf(g_wide, kBuffer, L"%d", 12345));
}

void one__sprintf(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(_sprintf(g_narrow, "%d", 12345));
}

void one_snprintf(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(snprintf(g_narrow, kBuffer, "%d", 12345));
}

// A log line of eight arguments, whose text arguments have the given length.
#define LOG_ARGUMENTS(text, name) 2009, 11, 3, name, 4711, text, 0xbeefu, 42L

void line_wsprintf(benchmark::State& state) {
    const std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(wsprintf(g_wide, L"%04d-%02d-%02d [%s] %5d: %s (0x%04x) took %ld ms",
                                          LOG_ARGUMENTS(text.c_str(), L"scanner")));
}

void line_swprintf(benchmark::State& state) {
    const std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(swprintf(g_wide, kBuffer,
                                          L"%04d-%02d-%02d [%ls] %5d: %ls (0x%04x) took %ld ms",
                                          LOG_ARGUMENTS(text.c_str(), L"scanner")));
}

void line__sprintf(benchmark::State& state) {
    const std::string text(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(_sprintf(g_narrow, "%04d-%02d-%02d [%s] %5d: %s (0x%04x) took %ld ms",
                                          LOG_ARGUMENTS(text.c_str(), "scanner")));
}

void line_snprintf(benchmark::State& state) {
    const std::string text(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(snprintf(g_narrow, kBuffer,
                                          "%04d-%02d-%02d [%s] %5d: %s (0x%04x) took %ld ms",
                                          LOG_ARGUMENTS(text.c_str(), "scanner")));
}

// Conversions of text of the given length, every eighth character of which has two bytes in UTF-8.
std::wstring subject(const benchmark::State& state) {
    std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (size_t i = 7; i < text.size(); i += 8)
        text[i] = L'\u00fc';
    return text;
}

std::string narrow_subject(const benchmark::State& state) {
    std::string narrow(static_cast<size_t>(2 * state.range(0)), '\0');
    narrow.resize(wcstombs(narrow.data(), subject(state).c_str(), narrow.size() + 1));
    return narrow;
}

void to_wide_mymbstowcs(benchmark::State& state) {
    const std::string text = narrow_subject(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(mymbstowcs(g_wide, text.c_str()));
}

void to_wide_mbstowcs(benchmark::State& state) {
    const std::string text = narrow_subject(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(mbstowcs(g_wide, text.c_str(), kBuffer));
}

void to_narrow_mywcstombs(benchmark::State& state) {
    const std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(mywcstombs(g_narrow, text.c_str()));
}

void to_narrow_wcstombs(benchmark::State& state) {
    const std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(wcstombs(g_narrow, text.c_str(), kBuffer));
}

void to_narrow_WideCharToMultiByte(benchmark::State& state) {
    const std::wstring text(static_cast<size_t>(state.range(0)), L'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(
            WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, g_narrow, kBuffer, nullptr, nullptr));
}

// Fields of six characters, the given number of them.
std::string fields(const benchmark::State& state) {
    std::string text;
    for (int64_t i = 0; i < state.range(0); ++i)
        text += i % 2 == 0 ? "abcdef," : "ghijkl;";
    return text;
}

void tokens_StringTokenizer(benchmark::State& state) {
    const std::string text = fields(state);
    for (auto _ : state) {
        qrd_StringTokenizer tokenizer(text.c_str(), ",;");
        while (const std::unique_ptr<char[]> token{tokenizer.nextToken()})
            benchmark::DoNotOptimize(token.get());
    }
}

void tokens_StringTokenizer_asking(benchmark::State& state) {
    const std::string text = fields(state);
    for (auto _ : state) {
        qrd_StringTokenizer tokenizer(text.c_str(), ",;");
        while (tokenizer.hasMoreTokens()) {
            const std::unique_ptr<char[]> token(tokenizer.nextToken());
            benchmark::DoNotOptimize(token.get());
        }
    }
}

void tokens_strtok_r(benchmark::State& state) {
    const std::string text = fields(state);
    for (auto _ : state) {
        const std::unique_ptr<char[]> working(new char[text.size() + 1]);
        memcpy(working.get(), text.c_str(), text.size() + 1);
        char* rest = nullptr;
        for (char* at = strtok_r(working.get(), ",;", &rest); at != nullptr;
             at = strtok_r(nullptr, ",;", &rest)) {
            const size_t size = strlen(at) + 1;
            const std::unique_ptr<char[]> token(new char[size]);
            memcpy(token.get(), at, size);
            benchmark::DoNotOptimize(token.get());
        }
    }
}

BENCHMARK(one_wsprintf);
BENCHMARK(one_swprintf);
BENCHMARK(one__sprintf);
BENCHMARK(one_snprintf);
BENCHMARK(line_wsprintf)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(line_swprintf)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(line__sprintf)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(line_snprintf)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(to_wide_mymbstowcs)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(to_wide_mbstowcs)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(to_narrow_mywcstombs)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(to_narrow_wcstombs)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(to_narrow_WideCharToMultiByte)->Arg(8)->Arg(64)->Arg(4096);
BENCHMARK(tokens_StringTokenizer)->Arg(4)->Arg(64)->Arg(1024);
BENCHMARK(tokens_StringTokenizer_asking)->Arg(4)->Arg(64)->Arg(1024);
BENCHMARK(tokens_strtok_r)->Arg(4)->Arg(64)->Arg(1024);

} // namespace

int main(int argc, char** argv) {
    setlocale(LC_ALL, "C.UTF-8");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
