#include "tests/host/sandbox.h"

#include <climits>
#include <clocale>
#include <fcntl.h>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <kalto/kernel.h>
#include <unistd.h>

namespace {

const DWORD kUntouched = 12345;
const DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

struct OpenCase {
    const char* file; // of "there" ("old"), "read-only" ("old", 0444), "directory", "missing", "nowhere/x",
                      // "dangling"
    DWORD access;
    DWORD disposition;
    DWORD flags;
    DWORD error; // the last error afterwards
    bool opens;
    const char* text; // the file's, afterwards
};

const OpenCase kOpenCases[] = {
    {"there", kReadWrite, CREATE_NEW, 0, ERROR_FILE_EXISTS, false, "old"},
    {"there", kReadWrite, CREATE_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
    {"there", kReadWrite, OPEN_EXISTING, 0, kUntouched, true, "old"},
    {"there", kReadWrite, OPEN_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, "old"},
    {"there", kReadWrite, TRUNCATE_EXISTING, 0, kUntouched, true, ""},
    {"missing", kReadWrite, CREATE_NEW, 0, kUntouched, true, ""},
    {"missing", kReadWrite, CREATE_ALWAYS, 0, NO_ERROR, true, ""},
    {"missing", kReadWrite, OPEN_EXISTING, 0, ERROR_FILE_NOT_FOUND, false, "-"},
    {"missing", kReadWrite, OPEN_ALWAYS, 0, NO_ERROR, true, ""},
    {"missing", kReadWrite, TRUNCATE_EXISTING, 0, ERROR_FILE_NOT_FOUND, false, "-"},
    {"there", kReadWrite, 0, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", kReadWrite, 6, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", GENERIC_READ, TRUNCATE_EXISTING, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", GENERIC_READ, CREATE_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
    {"there", 0, OPEN_EXISTING, 0, kUntouched, true, "old"},
    {"there", GENERIC_ALL, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, kUntouched, true,
     "old"},
    {"read-only", GENERIC_READ, OPEN_EXISTING, 0, kUntouched, true, "old"},
    {"read-only", GENERIC_WRITE, OPEN_EXISTING, 0, ERROR_ACCESS_DENIED, false, "old"},
    {"read-only", kReadWrite, CREATE_ALWAYS, 0, ERROR_ACCESS_DENIED, false, "old"},
    {"read-only", GENERIC_READ, CREATE_ALWAYS, 0, ERROR_ACCESS_DENIED, false, "old"},
    {"directory", GENERIC_READ, OPEN_EXISTING, 0, EISDIR, false, "-"},
    {"directory", GENERIC_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, kUntouched, true, "-"},
    {"nowhere/x", kReadWrite, CREATE_ALWAYS, 0, ENOENT, false, "-"},
    {"there/x", kReadWrite, OPEN_ALWAYS, 0, ERROR_PATH_NOT_FOUND, false, "-"},
    {"dangling", kReadWrite, OPEN_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
};

class HostFile : public Sandbox {
  protected:
    HANDLE open(const std::string& name, DWORD access, DWORD disposition,
                DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        return CreateFile(windows(name).c_str(), access, 0, nullptr, disposition, flags, nullptr);
    }
    std::string read(HANDLE file, DWORD size) {
        std::string text(size, '#');
        DWORD done = kUntouched;
        EXPECT_TRUE(ReadFile(file, &text[0], size, &done, nullptr));
        return text.substr(0, done);
    }
    BOOL write(HANDLE file, const std::string& text, DWORD* done) {
        return WriteFile(file, text.data(), static_cast<DWORD>(text.size()), done, nullptr);
    }
};

} // namespace

TEST_F(HostFile, OpensByDispositionAndAccess) {
    for (const OpenCase& test : kOpenCases) {
        std::filesystem::remove_all(root_);
        std::filesystem::create_directories(path("directory"));
        put("there", "old");
        put("read-only", "old", 0444);
        ASSERT_EQ(symlink("target", path("dangling").c_str()), 0);
        SetLastError(kUntouched);
        HANDLE file = open(test.file, test.access, test.disposition, test.flags);
        testing::Message which;
        which << test.file << ", access " << test.access << ", disposition " << test.disposition;
        EXPECT_EQ(GetLastError(), test.error) << which;
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, test.opens) << which;
        if (std::string(test.file) != "directory") {
            EXPECT_EQ(get(test.file), test.text) << which;
        }
        CloseHandle(file);
    }
}

TEST_F(HostFile, TransfersAtTheFilesPosition) {
    HANDLE file = open("f", kReadWrite, CREATE_NEW);
    DWORD done = 0;
    EXPECT_TRUE(write(file, "some text", &done));
    EXPECT_EQ(done, 9u);
    EXPECT_EQ(read(file, 10), "") << "the end of the file is a success with nothing";
    CloseHandle(file);

    file = open("f", FILE_APPEND_DATA, OPEN_EXISTING);
    EXPECT_TRUE(write(file, "!", &done));
    CloseHandle(file);
    file = open("f", GENERIC_READ, OPEN_EXISTING);
    EXPECT_EQ(read(file, 4), "some");
    EXPECT_EQ(read(file, 100), " text!");
    CloseHandle(file);
}

TEST_F(HostFile, HasTheDocumentedRecord) {
    HANDLE file = open("f", GENERIC_WRITE, CREATE_NEW);
    auto* record = static_cast<KaltoFileRecord*>(file);
    EXPECT_EQ(record->type, uint32_t{HT_FILE});
    EXPECT_EQ(record->references, 1);
    EXPECT_EQ(record->data, nullptr);
    EXPECT_EQ(record->path, path("f"));
    int descriptor = record->descriptor;
    EXPECT_EQ(fcntl(descriptor, F_GETFD), 0) << "open, and passed on to programs";
    CloseHandle(file);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(HostFile, GivesANewFileItsAttributesPermissions) {
    umask(022);
    CloseHandle(open("plain", GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL));
    HANDLE file = open("fixed", GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_READONLY);
    DWORD done = 0;
    EXPECT_TRUE(write(file, "x", &done)) << "its maker may fill it";
    CloseHandle(file);
    EXPECT_EQ(mode("plain"), mode_t{0644});
    EXPECT_EQ(mode("fixed"), mode_t{0444});
}

TEST_F(HostFile, RefusesWhatTheHandleIsNotFor) {
    put("f", "text");
    HANDLE reader = open("f", GENERIC_READ, OPEN_EXISTING);
    HANDLE writer = open("f", GENERIC_WRITE, OPEN_EXISTING);
    HANDLE process = nullptr;
    create_handle(HT_PROCESS, nullptr, &process);
    char byte = 'x';
    DWORD done = kUntouched;
    struct {
        HANDLE file;
        bool reads;
    } const cases[] = {{writer, true},   {reader, false},
                       {nullptr, true},  {nullptr, false},
                       {process, true},  {INVALID_HANDLE_VALUE, false},
                       {process, false}, {INVALID_HANDLE_VALUE, true}};
    for (const auto& test : cases) {
        SetLastError(NO_ERROR);
        BOOL result = test.reads ? ReadFile(test.file, &byte, 1, &done, nullptr)
                                 : WriteFile(test.file, &byte, 1, &done, nullptr);
        EXPECT_FALSE(result);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(done, 0u);
    }
    OVERLAPPED overlapped = {};
    EXPECT_FALSE(ReadFile(reader, &byte, 1, &done, &overlapped));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_SUPPORTED});
    CloseHandle(reader);
    CloseHandle(writer);
    static_cast<KaltoFileRecord*>(process)->type =
        HT_MODULE; // closing must not wait for a child that never was
    CloseHandle(process);
}

TEST_F(HostFile, RefusesNullArguments) {
    put("f", "text");
    HANDLE file = open("f", kReadWrite, OPEN_EXISTING);
    std::wstring name = wide("f");
    char byte = 0;
    DWORD done = 0;
    const std::function<bool()> calls[] = {
        [&] {
            return CreateFile(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) !=
                   INVALID_HANDLE_VALUE;
        },
        [&] { return ReadFile(file, nullptr, 1, &done, nullptr) != FALSE; },
        [&] { return ReadFile(file, &byte, 1, nullptr, nullptr) != FALSE; },
        [&] { return WriteFile(file, nullptr, 1, &done, nullptr) != FALSE; },
        [&] { return WriteFile(file, &byte, 1, nullptr, nullptr) != FALSE; },
        [&] { return CopyFile(nullptr, name.c_str(), FALSE) || CopyFile(name.c_str(), nullptr, FALSE); },
        [&] { return MoveFile(nullptr, name.c_str()) || MoveFile(name.c_str(), nullptr); },
        [&] { return DeleteFile(nullptr) != FALSE; },
        [&] { return CreateDirectory(nullptr, nullptr) != FALSE; },
        [&] { return RemoveDirectory(nullptr) != FALSE; },
        [&] { return KaltoFopen(nullptr, "r") || KaltoFopen(path("f").c_str(), nullptr); },
        [&] { return _wfopen(nullptr, L"r") || _wfopen(name.c_str(), nullptr); },
        [&] { return PTR_GetUserName(nullptr, nullptr) || PTR_GetHostName(nullptr, nullptr); },
        [&] { return PTR_SetHostName(nullptr, 0) != FALSE; },
    };
    for (const auto& call : calls) {
        SetLastError(NO_ERROR);
        EXPECT_FALSE(call()) << &call - calls;
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER}) << &call - calls;
    }
    CloseHandle(file);
    EXPECT_EQ(get("f"), "text");
}

TEST_F(HostFile, RefusesNamesThatTheLocaleCannotExpress) {
    std::wstring bad = wide("caf\u00e9");
    bad.back() = 0x2603;
    const std::wstring good = wide("f");
    put("f", "text");
    const std::function<bool()> calls[] = {
        [&] {
            return open("", 0, 0) != INVALID_HANDLE_VALUE ||
                   CreateFile(bad.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr) !=
                       INVALID_HANDLE_VALUE;
        },
        [&] {
            return CopyFile(good.c_str(), bad.c_str(), FALSE) || CopyFile(bad.c_str(), good.c_str(), FALSE);
        },
        [&] { return MoveFile(good.c_str(), bad.c_str()) != FALSE; },
        [&] { return DeleteFile(bad.c_str()) || CreateDirectory(bad.c_str(), nullptr); },
        [&] { return _wfopen(bad.c_str(), L"w") != nullptr; },
    };
    for (const auto& call : calls) {
        EXPECT_FALSE(call()) << &call - calls;
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_NAME}) << &call - calls;
    }
    EXPECT_EQ(names(), Names{"f"});

    ASSERT_NE(setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::wstring snowman = wide(std::string(200, 'n')) + wchar_t(0x2603);
    CloseHandle(CreateFile(snowman.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    EXPECT_EQ(names().back(), std::string(200, 'n') + "\xe2\x98\x83") << "converted whole";
    setlocale(LC_CTYPE, "C");
}

TEST_F(HostFile, ReadsAPipeAsItComesAndReportsAWriteThatNobodyReads) {
    InstallSignalHandlers(); // a broken pipe is an error then, not a signal
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    int keeper = ::open(path("fifo").c_str(), O_RDWR);
    HANDLE writer = open("fifo", GENERIC_WRITE, OPEN_EXISTING);
    HANDLE reader = open("fifo", GENERIC_READ, OPEN_EXISTING);
    DWORD done = 0;
    EXPECT_TRUE(write(writer, "abc", &done));
    EXPECT_EQ(read(reader, 100), "abc");
    close(keeper);
    CloseHandle(reader);
    EXPECT_FALSE(write(writer, "abc", &done));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
    EXPECT_EQ(done, 0u);
    CloseHandle(writer);
}

TEST_F(HostFile, ReachesBeyondTwoGigabytes) {
    HANDLE file = open("f", kReadWrite, CREATE_NEW);
    const off64_t far = off64_t{5} << 30;
    ASSERT_EQ(lseek64(static_cast<KaltoFileRecord*>(file)->descriptor, far, SEEK_SET), far);
    DWORD done = 0;
    EXPECT_TRUE(write(file, "x", &done));
    CloseHandle(file);
    EXPECT_EQ(std::filesystem::file_size(path("f")), uintmax_t{far} + 1);
}

TEST_F(HostFile, OpensStreamsByEitherSeparatorAndWidth) {
    std::string backslashes = path("f");
    std::replace(backslashes.begin(), backslashes.end(), '/', '\\');
    FILE* stream = KaltoFopen(backslashes.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    fputs("text", stream);
    fclose(stream);
    stream = _wfopen(windows("f").c_str(), L"rt");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fgetc(stream), 't');
    fclose(stream);
    EXPECT_EQ(_wfopen(windows("missing").c_str(), L"r"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}
