// Files and directories, where nothing goes wrong but the request.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <clocale>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/host.h>
#include <kalto/kernel.h>

namespace {

const DWORD kUntouched = 12345;
const DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

class HostFile : public testing::Test, protected Scratch {
  protected:
    static std::string read(HANDLE file, DWORD size) {
        std::string text(size, '#');
        DWORD done = kUntouched;
        EXPECT_TRUE(ReadFile(file, &text[0], size, &done, nullptr));
        return text.substr(0, done);
    }
    static BOOL write(HANDLE file, const std::string& text) {
        DWORD done = kUntouched;
        BOOL result = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr);
        EXPECT_EQ(done, result ? text.size() : 0u);
        return result;
    }
};

const struct {
    const char* file;
    DWORD access, disposition, flags;
    DWORD error; // the last error afterwards
    bool opens;
    const char* text; // the file's, afterwards; "-": there is none
} kOpenCases[] = {
    {"there", kReadWrite, CREATE_NEW, 0, ERROR_FILE_EXISTS, false, "old"},
    {"there", kReadWrite, CREATE_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
    {"there", kReadWrite, OPEN_EXISTING, FILE_FLAG_WRITE_THROUGH, kUntouched, true, "old"},
    {"there", kReadWrite, OPEN_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, "old"},
    {"there", kReadWrite, TRUNCATE_EXISTING, 0, kUntouched, true, ""},
    {"missing", kReadWrite, CREATE_ALWAYS, 0, NO_ERROR, true, ""},
    {"missing", kReadWrite, OPEN_EXISTING, 0, ERROR_FILE_NOT_FOUND, false, "-"},
    {"missing", kReadWrite, OPEN_ALWAYS, 0, NO_ERROR, true, ""},
    {"there", kReadWrite, 0, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", kReadWrite, 6, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", GENERIC_READ, TRUNCATE_EXISTING, 0, ERROR_INVALID_PARAMETER, false, "old"},
    {"there", GENERIC_READ, CREATE_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
    {"read-only", GENERIC_WRITE, OPEN_EXISTING, 0, ERROR_ACCESS_DENIED, false, "old"},
    {"read-only", GENERIC_READ, CREATE_ALWAYS, 0, ERROR_ACCESS_DENIED, false, "old"},
    {"directory", GENERIC_READ, OPEN_EXISTING, 0, EISDIR, false, nullptr},
    {"directory", GENERIC_READ, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, kUntouched, true, nullptr},
    {"nowhere/x", kReadWrite, CREATE_ALWAYS, 0, ENOENT, false, "-"},
    {"there/x", kReadWrite, OPEN_ALWAYS, 0, ERROR_PATH_NOT_FOUND, false, "-"},
    {"dangling", kReadWrite, OPEN_ALWAYS, 0, ERROR_ALREADY_EXISTS, true, ""},
};

using Call = BOOL (*)(LPCWSTR from, LPCWSTR to);
const Call make = [](LPCWSTR path, LPCWSTR) { return CreateDirectory(path, nullptr); };
const Call remove_empty = [](LPCWSTR path, LPCWSTR) { return RemoveDirectory(path); };
const Call erase = [](LPCWSTR path, LPCWSTR) { return DeleteFile(path); };
const Call copy = [](LPCWSTR from, LPCWSTR to) { return CopyFile(from, to, FALSE); };
const Call copy_new = [](LPCWSTR from, LPCWSTR to) { return CopyFile(from, to, TRUE); };
const Call move = MoveFile;

// One call after the other on the same tree.
const struct {
    Call call;
    const char* from;
    const char* to;
    DWORD error;
} kSteps[] = {
    {make, "d/inner", "", NO_ERROR},
    {make, "d", "", ERROR_ALREADY_EXISTS},
    {remove_empty, "d", "", ERROR_DIR_NOT_EMPTY},
    {remove_empty, "fixed", "", ERROR_PATH_NOT_FOUND},
    {remove_empty, "fixed-directory", "", ERROR_ACCESS_DENIED},
    {erase, "d", "", EISDIR},
    {erase, "fixed", "", ERROR_ACCESS_DENIED},
    {copy_new, "new", "there", ERROR_FILE_EXISTS},
    {copy, "new", "fixed", ERROR_ACCESS_DENIED},
    {copy, "new", "d", EISDIR},
    {copy, "d", "copy", EISDIR},
    {copy, "new", "new", ERROR_SHARING_VIOLATION},
    {move, "new", "there", ERROR_ALREADY_EXISTS},
    {move, "d", "there", ERROR_ALREADY_EXISTS},
    {move, "there", "twin", ERROR_ALREADY_EXISTS}, // the same file under a second name
    {move, "d", "d/inner/below", ERROR_INVALID_PARAMETER},
    {move, "new", "x/y", ENOENT},
    {copy_new, "new", "d/copy", NO_ERROR},
    {move, "fixed", "d/fixed", NO_ERROR},
    {move, "d", "e", NO_ERROR},
    {move, "e/fixed", "e/fixed", NO_ERROR},
    {remove_empty, "e/inner", "", NO_ERROR},
};

} // namespace

TEST_F(HostFile, OpensByDispositionAndAccess) {
    for (const auto& test : kOpenCases) {
        std::filesystem::remove_all(path());
        make_directory("directory");
        put("there", "old");
        put("read-only", "old", 0444);
        ASSERT_EQ(symlink("target", path("dangling").c_str()), 0);
        SetLastError(kUntouched);
        HANDLE file = open(test.file, test.access, test.disposition, test.flags);
        SCOPED_TRACE(&test - kOpenCases);
        EXPECT_EQ(GetLastError(), test.error);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, test.opens);
        EXPECT_TRUE(test.text == nullptr || get(test.file) == test.text);
        CloseHandle(file);
    }
}

TEST_F(HostFile, ADirectoryChangesOnlyAsItMay) {
    put("new", "new");
    put("there", "old");
    put("fixed", "fixed", 0444);
    make_directory("d");
    make_directory("fixed-directory", 0555);
    ASSERT_EQ(link(path("there").c_str(), path("twin").c_str()), 0);
    for (const auto& step : kSteps) {
        SetLastError(NO_ERROR);
        const BOOL done = step.call(wide(step.from).c_str(), wide(step.to).c_str());
        EXPECT_EQ(done, step.error == NO_ERROR) << &step - kSteps;
        EXPECT_EQ(GetLastError(), step.error) << &step - kSteps;
    }
    EXPECT_EQ(names(), (Names{"e", "fixed-directory", "new", "there", "twin"}));
    EXPECT_EQ(get("there") + get("e/copy") + get("e/fixed"), "oldnewfixed");
}

TEST_F(HostFile, ACopyHasContentsPermissionsAndTimeAndGoesThroughALink) {
    const std::string large(100000, 'x');
    put("from", large, 0640);
    put("old", "old");
    put("file", "old");
    put("text", "some text");
    ASSERT_EQ(symlink("file", path("link").c_str()), 0);
    // In 2040, where the file system keeps such times: the plain status calls of a 32-bit target fail then.
    const std::int64_t in_2040 = 2208988800;
    const std::int64_t date = set_times(path("from"), in_2040, in_2040) ? in_2040 : 2000;
    ASSERT_TRUE(set_times(path("from"), date, date));
    for (const char* target : {"new", "old", "link"}) {
        EXPECT_TRUE(CopyFile(wide("from").c_str(), wide(target).c_str(), FALSE));
        EXPECT_EQ(get(target), large);
        struct statx status = {};
        ASSERT_EQ(statx(AT_FDCWD, path(target).c_str(), 0, STATX_BASIC_STATS, &status), 0);
        EXPECT_EQ(status.stx_mode & 0777, mode_t{0640});
        EXPECT_EQ(status.stx_mtime.tv_sec, date);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    // The calls for files of any date.
    EXPECT_TRUE(MoveFile(wide("new").c_str(), wide("moved").c_str()));
    CloseHandle(open("old", kReadWrite));
    EXPECT_EQ(GetLastError(), DWORD{NO_ERROR});
    // Into a pipe, as into a device: none of the machine's is put at risk here.
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    HANDLE pipe = open("pipe", kReadWrite), writer = open("pipe", GENERIC_WRITE);
    EXPECT_TRUE(CopyFile(wide("text").c_str(), wide("pipe").c_str(), FALSE));
    EXPECT_EQ(read(pipe, 100), "some text");
    CloseHandle(pipe);
    InstallSignalHandlers(); // a broken pipe is an error then, not a signal
    EXPECT_FALSE(write(writer, "nobody reads this"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
    CloseHandle(writer);
}

TEST_F(HostFile, ANewOneHasTheDocumentedRecordAndItsAttributesPermissions) {
    umask(022);
    for (DWORD attributes : {FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY}) {
        HANDLE file = open("f", kReadWrite, CREATE_NEW, attributes);
        auto* record = static_cast<KaltoFileRecord*>(file);
        EXPECT_EQ(record->type, uint32_t{HT_FILE});
        EXPECT_EQ(record->references, 1);
        EXPECT_EQ(record->data, nullptr);
        EXPECT_EQ(record->path, path("f"));
        const int descriptor = record->descriptor;
        EXPECT_EQ(fcntl(descriptor, F_GETFD), 0) << "open, and passed on to programs";
        EXPECT_TRUE(write(file, "some text")) << "its maker may fill it";
        EXPECT_EQ(read(file, 10), "") << "the end of the file is a success with nothing";
        const off64_t far = off64_t{5} << 30;
        ASSERT_EQ(lseek64(descriptor, far, SEEK_SET), far);
        EXPECT_TRUE(write(file, "x"));
        CloseHandle(file);
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
        EXPECT_EQ(status("f").st_mode & 0777, attributes == FILE_ATTRIBUTE_READONLY ? 0444u : 0644u);
        chmod(path("f").c_str(), 0644);
        file = open("f", FILE_APPEND_DATA);
        EXPECT_TRUE(write(file, "!"));
        CloseHandle(file);
        EXPECT_EQ(status("f").st_size, far + 2);
        unlink(path("f").c_str());
    }
}

TEST_F(HostFile, TransfersRefuseWhatTheyCannotUse) {
    put("f", "text");
    HANDLE reader = open("f"), writer = open("f", GENERIC_WRITE);
    KaltoFileRecord event = *static_cast<KaltoFileRecord*>(reader);
    event.type = HT_EVENT; // and no file's, whatever else it holds
    char byte = 'x';
    OVERLAPPED overlapped = {};
    const auto refused = [&](HANDLE read_from, HANDLE write_to, char* buffer, OVERLAPPED* given) {
        DWORD done[2] = {kUntouched, kUntouched};
        SetLastError(NO_ERROR);
        EXPECT_FALSE(ReadFile(read_from, buffer, 1, &done[0], given));
        const DWORD error = GetLastError();
        EXPECT_FALSE(WriteFile(write_to, buffer, 1, &done[1], given));
        EXPECT_EQ(GetLastError(), error);
        EXPECT_EQ(done[0] | done[1], buffer == nullptr ? kUntouched : 0);
        return error;
    };
    EXPECT_EQ(refused(writer, reader, &byte, nullptr), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(refused(nullptr, INVALID_HANDLE_VALUE, &byte, nullptr), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(refused(&event, &event, &byte, nullptr), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(refused(reader, writer, &byte, &overlapped), DWORD{ERROR_NOT_SUPPORTED});
    EXPECT_EQ(refused(reader, writer, nullptr, nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_FALSE(ReadFile(reader, &byte, 1, nullptr, nullptr) ||
                 WriteFile(writer, &byte, 1, nullptr, nullptr));
    CloseHandle(reader);
    CloseHandle(writer);
}

TEST_F(HostFile, EveryCallRefusesANullPathAndAPathThatTheLocaleCannotExpress) {
    put("f", "text");
    const std::wstring good = wide("f"), bad = good + wchar_t(0x2603);
    for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), bad.c_str()}) {
        const BOOL results[] = {CreateFile(path, kReadWrite, 0, nullptr, CREATE_NEW, 0, nullptr) !=
                                    INVALID_HANDLE_VALUE,
                                CopyFile(path, good.c_str(), FALSE),
                                CopyFile(good.c_str(), path, FALSE),
                                MoveFile(path, good.c_str()),
                                MoveFile(good.c_str(), path),
                                DeleteFile(path),
                                CreateDirectory(path, nullptr),
                                RemoveDirectory(path),
                                _wfopen(good.c_str(), path) != nullptr,
                                _wfopen(path, L"w") != nullptr};
        EXPECT_EQ(GetLastError(), path != nullptr ? DWORD{ERROR_INVALID_NAME} : ERROR_INVALID_PARAMETER);
        for (const BOOL result : results)
            EXPECT_FALSE(result);
    }
    EXPECT_FALSE(KaltoFopen(nullptr, "r") || KaltoFopen(path("f").c_str(), nullptr));
    EXPECT_FALSE(PTR_GetUserName(nullptr, nullptr) || PTR_SetHostName(nullptr, 0));
    EXPECT_EQ(names(), Names{"f"});
    EXPECT_EQ(get("f"), "text");

    ASSERT_NE(setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const wchar_t foreign[] = {0xD83D, 0xDE00, 0x2603, 0}; // a surrogate pair is one character
    CloseHandle(open(std::wstring(200, L'n') + foreign, GENERIC_WRITE, CREATE_NEW));
    EXPECT_EQ(names().back(), std::string(200, 'n') + "\xf0\x9f\x98\x80\xe2\x98\x83") << "converted whole";
    setlocale(LC_CTYPE, "C");
}

TEST_F(HostFile, OpensStreamsByEitherSeparatorAndWidth) {
    FILE* stream = KaltoFopen((path() + "\\f").c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    fputs("text", stream);
    fclose(stream);
    EXPECT_EQ(get("f"), "text");
    stream = _wfopen(wide("f").c_str(), L"rt");
    ASSERT_NE(stream, nullptr);
    fclose(stream);
    EXPECT_EQ(_wfopen(wide("missing").c_str(), L"r"), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}
