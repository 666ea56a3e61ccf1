/* Names, texts and numbers. */
#include "ported.h"

int checks, failures;

static __declspec(align(16)) BYTE aligned[16];

int __cdecl first_of_all(unsigned __int64 number) {
    return (int)(number >> 32);
}

static __forceinline DWORD twice(DWORD value) {
    return value * 2;
}

/* Compiles where all its arguments are known. */
static BOOL known(int first, ...) {
    return first == 1;
}

static void check_names(void) {
    static const TCHAR text[] = _T("text");
    LARGE_INTEGER large;
    ULARGE_INTEGER unsigned_large;

    CHECK(known(1, TerminateProcess, OpenFileMapping, FlushViewOfFile, LoadLibraryEx, GetExitCodeProcess,
                _tfopen, _vstprintf, _vsntprintf, _ttol, _tcsncpy, _tcslwr, _tcsupr, _tcstok, _tcstol,
                _strnicmp, lstrcpyn, _access, _getcwd, sizeof(PUSHORT), sizeof(ULONG_PTR),
                sizeof(LPOVERLAPPED), sizeof(LPCTSTR), sizeof(LPBYTE), sizeof(LPLONG), sizeof(LPCVOID),
                sizeof(FARPROC), sizeof(HGLOBAL), sizeof(SECURITY_ATTRIBUTES), sizeof(OVERLAPPED),
                sizeof(STARTUPINFO), sizeof(UUID)));
    CHECK(known(1, MAXIMUM_WAIT_OBJECTS, FILE_FLAG_OVERLAPPED, FILE_FLAG_WRITE_THROUGH, FILE_ATTRIBUTE_SYSTEM,
                PAGE_READWRITE, FILE_MAP_WRITE, CP_ACP, CP_UTF8, ERROR_PATH_NOT_FOUND, ERROR_NO_MORE_FILES,
                ERROR_SHARING_VIOLATION, ERROR_HANDLE_EOF, ERROR_IO_PENDING, DLL_PROCESS_ATTACH));
    large.QuadPart = -1;
    unsigned_large.u.HighPart = 1;
    unsigned_large.LowPart = 2;
    CHECK(large.HighPart == -1 && large.u.LowPart == 0xFFFFFFFF && unsigned_large.QuadPart == 0x100000002ull);
    CHECK(ARRAYSIZE(text) == 5 && lstrlen(TEXT("pointer")) == 7 && MAKEWORD(2, 2) == 0x202);
    CHECK(FAILED(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) && SUCCEEDED(HRESULT_FROM_WIN32(ERROR_SUCCESS)));
    CHECK(CTL_CODE(FILE_DEVICE_HAL, 13, METHOD_BUFFERED, FILE_ANY_ACCESS) == 0x1010034);
    CHECK(((ULONG_PTR)aligned & 15) == 0 && twice(4) == 8 && timeGetTime() <= INFINITE);
    CHECK(first_of_all((unsigned __int64)5 << 32) == 5 && _CrtCheckMemory());
}

static void check_cut_text(const char* text, int result, const char* bytes) {
    char narrow[] = "########";
    WCHAR wide[] = L"########";
    int i, same = 0;
    CHECK(_snprintf(narrow, 4, "%s", text) == result && memcmp(narrow, bytes, 8) == 0);
    CHECK(_snwprintf(wide, 4, L"%S", text) == result);
    for (i = 0; i < 8; ++i)
        same += wide[i] == bytes[i];
    CHECK(same == 8);
}

static void check_formats(void) {
    static TCHAR large[100000], out[100000];
    TCHAR buffer[64], word[16], set[8], one[2];
    char narrow[16];
    int number = 0;

    CHECK(_stprintf(buffer, _T("%s %d %S"), _T("wide"), 5, "narrow") == 13);
    CHECK(_tcscmp(buffer, _T("wide 5 narrow")) == 0);
#ifdef __cplusplus
    CHECK(swprintf(buffer, L"%s|%d", L"wide", 5) == 6 && swprintf(buffer, 64, L"%ls|", L"wide") == 5);
#endif
    check_cut_text("abc", 3, "abc\0####");
    check_cut_text("abcd", 4, "abcd####");
    check_cut_text("abcde", -1, "abcd####");
    for (number = 0; number < 99999; ++number)
        large[number] = _T('x');
    CHECK(_sntprintf(out, 100000, _T("%s"), large) == 99999 && _tcscmp(out, large) == 0);
    CHECK(_stscanf(_T("word ]x] c nar 77"), _T("%7s %[]x] %1c %S %d"), word, set, one, narrow, &number) == 5);
    CHECK(!_tcscmp(word, _T("word")) && !_tcscmp(set, _T("]x]")) && one[0] == _T('c') &&
          !strcmp(narrow, "nar"));
    CHECK(number == 77 && _stscanf(_T("100% 4xy"), _T("100%% %*[0-4]%hs"), narrow) == 1 &&
          !strcmp(narrow, "xy"));
    CHECK(_ttoi(_T("42")) == 42 && !strcmp(_itoa(-1, narrow, 16), "ffffffff") && !*_ltow(5, buffer, 1));
    CHECK(!_tcscmp(_itot((int)0x80000000, buffer, 10), _T("-2147483648")) &&
          !_tcscmp(_itow(0, buffer, 2), L"0"));
    CHECK(!_tcscmp(_i64tow(-0x7FFFFFFFFFFFFFFFll - 1, buffer, 10), L"-9223372036854775808"));
}

static void check_strings(void) {
    TCHAR buffer[16];
    char* copy = _strdup("copy");
    TCHAR* second = _tcsdup(_T("copy"));
    CHECK(_stricmp(copy, "COPY") == 0 && lstrcmpi(second, _T("COPY")) == 0 && _wcsicmp(second, L"CoPx") > 0);
    free(copy);
    free(second);
    CHECK(!_tcscmp(CharLower(lstrcpy(buffer, _T("MiXed"))), _T("mixed")) && CharUpperBuff(buffer, 2) == 2);
    CHECK(!_tcscmp(buffer, _T("MIxed")) && CharLowerBuff(buffer, 1) == 1 && !_tcscmp(buffer, _T("mIxed")));
    CHECK(!_tcscmp(CharUpper(buffer), _T("MIXED")) && CharUpper(NULL) == NULL);
    CHECK(CharUpper((LPTSTR)(ULONG_PTR)'a') == (LPTSTR)(ULONG_PTR)'A');
    CHECK(CharNext(buffer + 5) == buffer + 5 && CharNext(buffer) == buffer + 1);
    CHECK(CharPrev(buffer, buffer) == buffer && CharPrev(buffer, buffer + 2) == buffer + 1);
    CHECK(lstrlen(NULL) == 0 && lstrcmp(NULL, _T("")) < 0 && lstrcmpi(_T(""), NULL) > 0);
    CHECK(lstrcpy(buffer, NULL) == NULL && lstrcat(NULL, buffer) == NULL);
    CHECK(!_tcscmp(lstrcat(buffer, _T("c")), _T("MIXEDc")) && _mbslen((const unsigned char*)"bytes") == 5);
    CHECK(!_tcscmp(lstrcpyn(buffer, _T("xyz"), 3), _T("xy")) && _tcsrchr(buffer, _T('y')) == buffer + 1);
}

int _tmain(int argc, TCHAR* argv[]) {
    check_names();
    check_formats();
    check_strings();
    check_system();
    RETAILMSG(argc == 1, (TEXT("%s\n"), TEXT("no arguments")));
    _tprintf(_T("%s %d %d: "), argv[1], (int)_tcslen(argv[2]), argv[argc] == NULL);
    printf("%d of %d checks failed\n", failures, checks);
    return failures;
}
