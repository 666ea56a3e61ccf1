// Directory listing and time conversions, beside plain C doing the same.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fnmatch.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

namespace {

constexpr int kFiles = 10000;

class FullDirectory {
  public:
    FullDirectory() {
        char name[] = "/tmp/kalto_bench.XXXXXX";
        path = mkdtemp(name);
        for (int i = 0; i < kFiles; ++i)
            close(open((path + "/file" + std::to_string(i) + ".dat").c_str(), O_CREAT | O_WRONLY, 0644));
    }
    FullDirectory(const FullDirectory&) = delete;
    FullDirectory& operator=(const FullDirectory&) = delete;
    ~FullDirectory() { std::filesystem::remove_all(path); }

    std::string path;
};

const FullDirectory& full_directory() {
    static const FullDirectory directory;
    return directory;
}

// What a C program does for the same answer: names that match, each with its status, found by its path.
void list_in_plain_c(benchmark::State& state) {
    const std::string& path = full_directory().path;
    for (auto _ : state) {
        DIR* directory = opendir(path.c_str());
        unsigned long long bytes = 0, found = 0;
        while (const dirent64* entry = readdir64(directory)) {
            char name[4096];
            struct stat64 status;
            if (fnmatch("*.dat", entry->d_name, 0) != 0)
                continue;
            snprintf(name, sizeof name, "%s/%s", path.c_str(), entry->d_name);
            if (stat64(name, &status) == 0)
                bytes += static_cast<unsigned long long>(status.st_size) + ++found;
        }
        closedir(directory);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(list_in_plain_c)->Unit(benchmark::kMillisecond);

void list_by_find_first_file(benchmark::State& state) {
    const std::string& path = full_directory().path;
    const std::wstring pattern = std::wstring(path.begin(), path.end()) + L"\\*.dat";
    for (auto _ : state) {
        WIN32_FIND_DATA found;
        HANDLE search = FindFirstFile(pattern.c_str(), &found);
        unsigned long long bytes = 0, count = 0;
        do
            bytes += found.nFileSizeLow + ++count;
        while (FindNextFile(search, &found));
        FindClose(search);
        if (count != kFiles)
            state.SkipWithError("files are missing");
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(list_by_find_first_file)->Unit(benchmark::kMillisecond);

// Times spread over some decades, so that no call answers from what it did last.
time_t next_time(time_t time) {
    return (time + 12345678) % 2000000000;
}

FILETIME file_time_of(time_t time) {
    FILETIME result;
    return *TimeTToFileTime(&result, time);
}

void apart_by_gmtime(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        std::tm parts;
        time = next_time(time);
        benchmark::DoNotOptimize(gmtime_r(&time, &parts));
    }
}
BENCHMARK(apart_by_gmtime);

void apart_by_file_time_to_system_time(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        SYSTEMTIME parts;
        time = next_time(time);
        const FILETIME file_time = file_time_of(time);
        benchmark::DoNotOptimize(FileTimeToSystemTime(&file_time, &parts));
    }
}
BENCHMARK(apart_by_file_time_to_system_time);

void together_by_timegm(benchmark::State& state) {
    std::tm parts = {};
    parts.tm_year = 126;
    parts.tm_mday = 15;
    for (auto _ : state) {
        std::tm copy = parts;
        parts.tm_mon = (parts.tm_mon + 1) % 12;
        benchmark::DoNotOptimize(timegm(&copy));
    }
}
BENCHMARK(together_by_timegm);

void together_by_system_time_to_file_time(benchmark::State& state) {
    SYSTEMTIME parts = {2026, 1, 0, 15, 0, 0, 0, 0};
    for (auto _ : state) {
        FILETIME time;
        parts.wMonth = static_cast<WORD>(parts.wMonth % 12 + 1);
        benchmark::DoNotOptimize(SystemTimeToFileTime(&parts, &time));
    }
}
BENCHMARK(together_by_system_time_to_file_time);

void local_by_localtime_and_timegm(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        std::tm parts;
        time = next_time(time);
        localtime_r(&time, &parts);
        benchmark::DoNotOptimize(timegm(&parts));
    }
}
BENCHMARK(local_by_localtime_and_timegm);

void local_by_file_time_to_local_file_time(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        FILETIME local;
        time = next_time(time);
        const FILETIME file_time = file_time_of(time);
        benchmark::DoNotOptimize(FileTimeToLocalFileTime(&file_time, &local));
    }
}
BENCHMARK(local_by_file_time_to_local_file_time);

void utc_by_gmtime_and_mktime(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        std::tm parts;
        time = next_time(time);
        gmtime_r(&time, &parts);
        benchmark::DoNotOptimize(mktime(&parts));
    }
}
BENCHMARK(utc_by_gmtime_and_mktime);

void utc_by_local_file_time_to_file_time(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        FILETIME utc;
        time = next_time(time);
        const FILETIME file_time = file_time_of(time);
        benchmark::DoNotOptimize(LocalFileTimeToFileTime(&file_time, &utc));
    }
}
BENCHMARK(utc_by_local_file_time_to_file_time);

// An OLE date's way to a time_t: gmtime and mktime as well.
void ole_date_to_time_t(benchmark::State& state) {
    time_t time = 1;
    for (auto _ : state) {
        time_t result;
        time = next_time(time);
        const double date = static_cast<double>(time) / 86400.0 + 25569.0;
        benchmark::DoNotOptimize(ConvertVariantTimeToTimeT(date, &result));
    }
}
BENCHMARK(ole_date_to_time_t);

void tick_by_clock_gettime(benchmark::State& state) {
    for (auto _ : state) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now.tv_sec * 1000 + now.tv_nsec / 1000000);
    }
}
BENCHMARK(tick_by_clock_gettime);

void tick_by_get_tick_count(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(GetTickCount());
}
BENCHMARK(tick_by_get_tick_count);

} // namespace

int main(int argc, char** argv) {
    // The zone is one by rule, so that the figures do not depend on the machine's.
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
