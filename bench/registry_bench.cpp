// The registry beside a database and a key file: SQLite with one table of path, name and value,
// synchronous=FULL, and GLib's GKeyFile, which is one file written as a whole.
//
// All values of a run lie in one key, five levels deep. Arguments: the number of values. Run in a folder of
// the disk that is to be measured; the files are made there and removed.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <ftw.h>
#include <glib.h>
#include <kalto/registry.h>
#include <semaphore.h>
#include <sqlite3.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// A lock of this program's own: a run that is stopped must not leave the machine's lock taken.
extern "C" __attribute__((visibility("default"))) sem_t* sem_open(const char* name, int flags, ...) {
    static const auto real =
        reinterpret_cast<sem_t* (*)(const char*, int, ...)>(dlsym(RTLD_NEXT, "sem_open"));
    const std::string own = name + ("_bench_" + std::to_string(getpid()));
    sem_t* lock = real(own.c_str(), flags, 0600, 1u);
    sem_unlink(own.c_str());
    return lock;
}

namespace {

constexpr wchar_t kPath[] = L"Software\\Velmoran\\Lumetra\\Bench\\Values";
constexpr char kNarrowPath[] = "Software\\Velmoran\\Lumetra\\Bench\\Values";
constexpr int kLookups = 1024; // names that are looked up in turn
constexpr int kManyWrites = 1000;

std::string name_of(long i) {
    char name[32];
    snprintf(name, sizeof name, "Setting%06ld", i);
    return name;
}

std::wstring wide(const std::string& text) {
    return {text.begin(), text.end()};
}

// The same scattered names for every store.
template <typename Text, typename Make> std::vector<Text> lookups(long count, Make make) {
    std::vector<Text> names;
    for (long i = 0; i < kLookups; ++i)
        names.push_back(make(name_of((i * 7919 + 13) % count)));
    return names;
}

const std::string kValue = "the text of a setting";
const std::wstring kWideValue = wide(kValue);

void require(bool good, const char* what) {
    if (!good) {
        fprintf(stderr, "%s failed\n", what);
        exit(1);
    }
}

int remove_entry(const char* path, const struct stat*, int, struct FTW*) {
    return remove(path);
}

class Folder {
  public:
    Folder() {
        char name[] = "registry_bench_XXXXXX";
        require(mkdtemp(name) != nullptr, "mkdtemp");
        path_ = name;
        mkdir((path_ + "/var").c_str(), 0755);
        mkdir((path_ + "/var/zel").c_str(), 0755);
    }
    ~Folder() { nftw(path_.c_str(), remove_entry, 8, FTW_DEPTH | FTW_PHYS); }
    std::string file(const char* name) const { return path_ + "/" + name; }
    const char* path() const { return path_.c_str(); }

  private:
    std::string path_;
};

// ---- the registry

LONG set_value(HKEY key, const std::wstring& name, const std::wstring& value) {
    return RegSetValueEx(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                         static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

HKEY open_key() {
    HKEY key = nullptr;
    require(RegOpenKeyEx(HKEY_LOCAL_MACHINE, kPath, 0, KEY_READ, &key) == 0, "RegOpenKeyEx");
    return key;
}

void query(HKEY key, const std::wstring& name) {
    wchar_t text[64];
    DWORD size = sizeof text;
    require(RegQueryValueEx(key, name.c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &size) == 0,
            "RegQueryValueEx");
    benchmark::DoNotOptimize(text[0]);
}

class Registry {
  public:
    explicit Registry(long count) {
        setlocale(LC_ALL, "C.UTF-8");
        g_sandboxDir = folder_.path();
        HKEY key = nullptr;
        require(RegCreateKeyEx(HKEY_LOCAL_MACHINE, kPath, 0, nullptr, 0, 0, nullptr, &key, nullptr) == 0,
                "create");
        for (long i = 0; i < count; ++i)
            require(set_value(key, wide(name_of(i)), kWideValue) == 0, "RegSetValueEx");
        RegCloseKey(key);
    }
    // The next run has another folder: its file must be read.
    ~Registry() {
        memset(&g_stRegFileStats, 0, sizeof g_stRegFileStats);
        g_sandboxDir = "";
    }
    std::string file() const { return folder_.file("var/zel/registry.xml"); }

  private:
    Folder folder_;
};

void RegistryReadByPath(benchmark::State& state) {
    const Registry registry(state.range(0));
    const auto names = lookups<std::wstring>(state.range(0), wide);
    size_t i = 0;
    for (auto _ : state) {
        HKEY key = open_key();
        query(key, names[i++ % kLookups]);
        RegCloseKey(key);
    }
}

void RegistryQueryOpenKey(benchmark::State& state) {
    const Registry registry(state.range(0));
    const auto names = lookups<std::wstring>(state.range(0), wide);
    HKEY key = open_key();
    size_t i = 0;
    for (auto _ : state)
        query(key, names[i++ % kLookups]);
    RegCloseKey(key);
}

void RegistryWriteOne(benchmark::State& state) {
    const Registry registry(state.range(0));
    const auto names = lookups<std::wstring>(state.range(0), wide);
    size_t i = 0;
    for (auto _ : state) {
        HKEY key = open_key();
        set_value(key, names[i % kLookups], L"new text " + std::to_wstring(i));
        RegCloseKey(key);
        ++i;
    }
}

void RegistryWriteMany(benchmark::State& state) {
    const Registry registry(state.range(0));
    const auto names = lookups<std::wstring>(state.range(0), wide);
    int run = 0;
    for (auto _ : state) {
        const std::wstring text = L"new text " + std::to_wstring(++run);
        HKEY key = open_key();
        for (int i = 0; i < kManyWrites; ++i)
            set_value(key, names[static_cast<size_t>(i)], text);
        RegCloseKey(key);
    }
}

void RegistryEnumerate(benchmark::State& state) {
    const Registry registry(state.range(0));
    HKEY key = open_key();
    for (auto _ : state) {
        wchar_t name[64];
        BYTE data[256];
        for (DWORD i = 0;; ++i) {
            DWORD length = 64;
            DWORD size = sizeof data;
            if (RegEnumValue(key, i, name, &length, nullptr, nullptr, data, &size) != 0)
                break;
        }
        benchmark::DoNotOptimize(name[0]);
    }
    RegCloseKey(key);
}

void RegistryLoad(benchmark::State& state) {
    const Registry registry(state.range(0));
    time_t seconds = time(nullptr) + 1;
    for (auto _ : state) {
        state.PauseTiming();
        const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
        utimensat(AT_FDCWD, registry.file().c_str(), times, 0);
        ++seconds;
        state.ResumeTiming();
        RegCloseKey(open_key());
    }
}

// ---- SQLite

class Database {
  public:
    Database(long count, const char* journal) {
        require(sqlite3_open(folder_.file("db").c_str(), &database_) == SQLITE_OK, "sqlite3_open");
        run(std::string("PRAGMA journal_mode=") + journal);
        run("PRAGMA synchronous=FULL");
        run("CREATE TABLE registry(path TEXT, name TEXT, value TEXT, PRIMARY KEY(path, name)) WITHOUT ROWID");
        select_ = prepare("SELECT value FROM registry WHERE path=?1 AND name=?2");
        replace_ = prepare("REPLACE INTO registry VALUES(?1, ?2, ?3)");
        list_ = prepare("SELECT name, value FROM registry WHERE path=?1");
        run("BEGIN");
        for (long i = 0; i < count; ++i)
            write(name_of(i), kValue);
        run("COMMIT");
    }
    ~Database() {
        for (sqlite3_stmt* statement : {select_, replace_, list_})
            sqlite3_finalize(statement);
        sqlite3_close(database_);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void run(const std::string& sql) {
        require(sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK, sql.c_str());
    }
    void write(const std::string& name, const std::string& value) {
        bind(replace_, name);
        sqlite3_bind_text(replace_, 3, value.c_str(), -1, SQLITE_STATIC);
        require(sqlite3_step(replace_) == SQLITE_DONE, "replace");
        sqlite3_reset(replace_);
    }
    void read(const std::string& name) {
        bind(select_, name);
        require(sqlite3_step(select_) == SQLITE_ROW, "select");
        benchmark::DoNotOptimize(sqlite3_column_text(select_, 0)[0]);
        sqlite3_reset(select_);
    }
    void list() {
        sqlite3_bind_text(list_, 1, kNarrowPath, -1, SQLITE_STATIC);
        while (sqlite3_step(list_) == SQLITE_ROW) {
            benchmark::DoNotOptimize(sqlite3_column_text(list_, 0)[0]);
            benchmark::DoNotOptimize(sqlite3_column_text(list_, 1)[0]);
        }
        sqlite3_reset(list_);
    }

  private:
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
        return statement;
    }
    static void bind(sqlite3_stmt* statement, const std::string& name) {
        sqlite3_bind_text(statement, 1, kNarrowPath, -1, SQLITE_STATIC);
        sqlite3_bind_text(statement, 2, name.c_str(), -1, SQLITE_STATIC);
    }

    Folder folder_;
    sqlite3* database_ = nullptr;
    sqlite3_stmt* select_ = nullptr;
    sqlite3_stmt* replace_ = nullptr;
    sqlite3_stmt* list_ = nullptr;
};

std::string same(const std::string& text) {
    return text;
}

void SqliteRead(benchmark::State& state) {
    Database database(state.range(0), "DELETE");
    const auto names = lookups<std::string>(state.range(0), same);
    size_t i = 0;
    for (auto _ : state)
        database.read(names[i++ % kLookups]);
}

void sqlite_write_one(benchmark::State& state, const char* journal) {
    Database database(state.range(0), journal);
    const auto names = lookups<std::string>(state.range(0), same);
    size_t i = 0;
    for (auto _ : state) {
        database.write(names[i % kLookups], "new text " + std::to_string(i));
        ++i;
    }
}

void SqliteWriteOneRollback(benchmark::State& state) {
    sqlite_write_one(state, "DELETE");
}

void SqliteWriteOneWal(benchmark::State& state) {
    sqlite_write_one(state, "WAL");
}

void SqliteWriteMany(benchmark::State& state) {
    Database database(state.range(0), "DELETE");
    const auto names = lookups<std::string>(state.range(0), same);
    int run = 0;
    for (auto _ : state) {
        const std::string text = "new text " + std::to_string(++run);
        database.run("BEGIN");
        for (size_t i = 0; i < kManyWrites; ++i)
            database.write(names[i], text);
        database.run("COMMIT");
    }
}

void SqliteEnumerate(benchmark::State& state) {
    Database database(state.range(0), "DELETE");
    for (auto _ : state)
        database.list();
}

// ---- GLib's key file

class KeyFile {
  public:
    explicit KeyFile(long count) {
        for (long i = 0; i < count; ++i)
            write(name_of(i), kValue);
        save();
    }
    ~KeyFile() { g_key_file_free(file_); }
    KeyFile(const KeyFile&) = delete;
    KeyFile& operator=(const KeyFile&) = delete;

    void write(const std::string& name, const std::string& value) {
        g_key_file_set_string(file_, kNarrowPath, name.c_str(), value.c_str());
    }
    // Written whole beside the old file, synced and renamed, the folder synced too.
    void save() {
        gsize length = 0;
        gchar* text = g_key_file_to_data(file_, &length, nullptr);
        const int fd = open(folder_.file("new").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0664);
        require(::write(fd, text, length) == static_cast<ssize_t>(length), "write");
        fsync(fd);
        close(fd);
        rename(folder_.file("new").c_str(), path().c_str());
        const int folder = open(folder_.path(), O_RDONLY);
        fsync(folder);
        close(folder);
        g_free(text);
    }
    void read(const std::string& name) {
        gchar* text = g_key_file_get_string(file_, kNarrowPath, name.c_str(), nullptr);
        benchmark::DoNotOptimize(text[0]);
        g_free(text);
    }
    std::string path() const { return folder_.file("file"); }

  private:
    Folder folder_;
    GKeyFile* file_ = g_key_file_new();
};

// With the stat that notices a change from outside.
void GlibReadWithStat(benchmark::State& state) {
    KeyFile file(state.range(0));
    const auto names = lookups<std::string>(state.range(0), same);
    const std::string path = file.path();
    size_t i = 0;
    for (auto _ : state) {
        struct stat status;
        require(stat(path.c_str(), &status) == 0, "stat");
        file.read(names[i++ % kLookups]);
    }
}

void GlibRead(benchmark::State& state) {
    KeyFile file(state.range(0));
    const auto names = lookups<std::string>(state.range(0), same);
    size_t i = 0;
    for (auto _ : state)
        file.read(names[i++ % kLookups]);
}

void GlibWriteMany(benchmark::State& state) {
    KeyFile file(state.range(0));
    const auto names = lookups<std::string>(state.range(0), same);
    int run = 0;
    for (auto _ : state) {
        const std::string text = "new text " + std::to_string(++run);
        for (size_t i = 0; i < kManyWrites; ++i)
            file.write(names[i], text);
        file.save();
    }
}

void GlibLoad(benchmark::State& state) {
    const KeyFile file(state.range(0));
    for (auto _ : state) {
        GKeyFile* loaded = g_key_file_new();
        require(g_key_file_load_from_file(loaded, file.path().c_str(), G_KEY_FILE_NONE, nullptr) != 0,
                "load");
        g_key_file_free(loaded);
    }
}

// What the disk itself charges.
void DiskSync(benchmark::State& state) {
    const Folder folder;
    const int fd = open(folder.file("f").c_str(), O_WRONLY | O_CREAT, 0600);
    for (auto _ : state) {
        require(pwrite(fd, "x", 1, 0) == 1, "pwrite");
        fsync(fd);
    }
    close(fd);
}

} // namespace

#define SIZES ->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->UseRealTime()
BENCHMARK(RegistryReadByPath) SIZES;
BENCHMARK(SqliteRead) SIZES;
BENCHMARK(RegistryQueryOpenKey) SIZES;
BENCHMARK(GlibRead) SIZES;
BENCHMARK(GlibReadWithStat) SIZES;
BENCHMARK(DiskSync)->UseRealTime();
BENCHMARK(RegistryWriteOne) SIZES;
BENCHMARK(SqliteWriteOneRollback) SIZES;
BENCHMARK(SqliteWriteOneWal) SIZES;
BENCHMARK(RegistryWriteMany) SIZES;
BENCHMARK(GlibWriteMany) SIZES;
BENCHMARK(SqliteWriteMany) SIZES;
BENCHMARK(RegistryEnumerate) SIZES;
BENCHMARK(SqliteEnumerate) SIZES;
BENCHMARK(RegistryLoad) SIZES;
BENCHMARK(GlibLoad) SIZES;

BENCHMARK_MAIN();
