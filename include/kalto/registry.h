/* The registry: one XML file for the whole device, "/var/zel/registry.xml", with keys and values.
 *
 * Every call takes the machine-wide lock "zel_registry_lock" for its whole duration and blocks while another
 * process or thread has it. The parsed file stays in memory between calls and is read again only when its
 * modification time has advanced. Changes are saved at the end of the call after which this process has no
 * key open: the new text is written to "registry.xml.new", synced, parsed again and renamed into place, so
 * that a crash or a full disk leaves the old registry or the new one, whole. A save that fails is logged
 * (syslog, LOG_ERR) and tried again at the end of the next call.
 *
 * What this does not promise: a process that holds open keys works on its own copy of the registry until it
 * closes the last one. What another process saved in the meantime is overwritten by its save (the last writer
 * wins). Keep keys open as briefly as you can. A process that is killed inside a call leaves the lock taken,
 * and every other process then waits; `kaltoreg unlock` shows and frees it.
 *
 * All calls return an error number and leave the last error alone: ERROR_SUCCESS (0), ERROR_FILE_NOT_FOUND
 * (2), ERROR_INVALID_PARAMETER (22), ERROR_MORE_DATA (90), ERROR_REGISTRY_IO_FAILED (1016), ERROR_KEY_DELETED
 * (1018). Unlike on Windows there is no 234 and no 259: an enumeration ends with 2, a short name buffer gives
 * 22, a short data buffer 90. 1016 is also the result for text that the current locale or the file cannot
 * express, and for exhausted memory. A key that is not open gives 2; a key whose element was deleted gives
 * 1018; neither touches freed memory.
 *
 * Paths are components separated by backslashes; names ignore the case of letters and keep the spelling of
 * their first writer. One leading and one trailing backslash are ignored. A component of more than 255 bytes
 * gives 22, and so does a key deeper than the file can hold: 64 elements including the document's root, so 62
 * below a predefined key. A null path counts as an empty one.
 *
 * All calls are thread-safe; two threads must not use a key that one of them is closing. Access rights,
 * classes, options and security attributes are accepted and ignored. */
#ifndef KALTO_REGISTRY_H
#define KALTO_REGISTRY_H

#include <kalto/types.h>
#include <sys/stat.h>

#ifdef __cplusplus
#include <string>
#endif

/* The predefined keys: small numbers, unlike on Windows. A root that the file lacks is created by its first
 * use. */
#define HKEY_CLASSES_ROOT KALTO_POINTER_CAST(HKEY, 1)
#define HKEY_CURRENT_USER KALTO_POINTER_CAST(HKEY, 2)
#define HKEY_LOCAL_MACHINE KALTO_POINTER_CAST(HKEY, 3)
#define HKEY_USERS KALTO_POINTER_CAST(HKEY, 4)

/* Value types. REG_SZ, REG_BINARY and REG_DWORD can be stored; the others are only names. */
#define REG_NONE 0
#define REG_SZ 1
#define REG_EXPAND_SZ 2
#define REG_BINARY 3
#define REG_DWORD 4
#define REG_DWORD_LITTLE_ENDIAN 4
#define REG_DWORD_BIG_ENDIAN 5
#define REG_LINK 6
#define REG_MULTI_SZ 7

#define REG_OPTION_NON_VOLATILE 0
#define REG_OPTION_VOLATILE 1
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2

#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define KEY_CREATE_SUB_KEY 0x0004
#define KEY_ENUMERATE_SUB_KEYS 0x0008
#define KEY_NOTIFY 0x0010
#define KEY_CREATE_LINK 0x0020
#define KEY_READ 0x20019
#define KEY_WRITE 0x20006
#define KEY_EXECUTE 0x20019
#define KEY_ALL_ACCESS 0xF003F

KALTO_BEGIN_DECLS

/* Opens an existing key and stores it in *phkResult; close it with RegCloseKey. 2 when a component of the
 * path or the key is missing (*phkResult is left alone), and when 256 keys are open (*phkResult is 0 then).
 */
KALTO_API LONG RegOpenKeyEx(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult);

/* Opens a key, creating what the path lacks. *lpdwDisposition (may be null) receives REG_OPENED_EXISTING_KEY
 * or REG_CREATED_NEW_KEY. 2 and *phkResult 0 when 256 keys are open: the key exists then, but is not opened.
 * A null hKey names the document itself: the first component is then a root. */
KALTO_API LONG RegCreateKeyEx(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                              REGSAM samDesired, LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                              LPDWORD lpdwDisposition);

/* Closes a key; 2 when it is not open. Closing the last key of the process saves. Do not close a predefined
 * key: it is accepted, and the process then counts one open key too few. */
KALTO_API LONG RegCloseKey(HKEY hKey);

/* Reads a value. A null or empty name means "(default)". *lpType (may be null) receives REG_SZ, REG_BINARY,
 * REG_DWORD, or 0 for a value of another type, whose data is not read. *lpcbData holds the size of lpData in
 * bytes and receives the needed size; without lpcbData nothing is read. Results: 0; 2 no such value; 90 data
 * does not fit. REG_SZ needs 4 bytes for each byte of the stored text and 4 for the end (text with multibyte
 * characters fills less of it); a short buffer receives the characters that fit, without an end; the rest of
 * a long one is zeroed. A null lpData with too small a size gives 90, not 0. REG_DWORD: a buffer of 1 to 3
 * bytes receives the low bytes. REG_BINARY: a short buffer is filled; a null lpData gives the size (1 for
 * empty data). */
KALTO_API LONG RegQueryValueEx(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                               LPBYTE lpData, LPDWORD lpcbData);

/* Writes a value, creating it where it is absent. A null or empty name means "(default)". REG_SZ is stored up
 * to its terminator, whatever cbData says; REG_DWORD needs a cbData of 4 (else 22); another type gives 2. The
 * value itself exists after 2 and 22 too, without data if it is new. 1016 when the text cannot be expressed
 * in the locale's encoding or kept in the file, or memory is out: the old data stays. A null lpData is empty
 * data when cbData is 0, else 22. */
KALTO_API LONG RegSetValueEx(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                             DWORD cbData);

/* Removes a value; 2 when it is absent. A null or empty name means "(default)". */
KALTO_API LONG RegDeleteValue(HKEY hKey, LPCWSTR lpValueName);

/* Deletes a key with everything below it (on Windows only a key without sub-keys). An empty path gives 2, and
 * so does any failure to find the key. Keys open in the deleted part give 1018 from then on; creating the key
 * again before the next save revives it, without its former content. The two do the same. */
KALTO_API LONG RegDeleteKey(HKEY hKey, LPCWSTR lpSubKey);
KALTO_API LONG RegDeleteKeyEx(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, DWORD Reserved);

/* The name of the dwIndex-th sub-key, in the order of names. *lpcchName holds the size of lpName in
 * characters, and receives the length of the stored name in bytes, without the end; one more character than
 * that is written. 2 at the end; 22 when the name does not fit (*lpcchName stays). The order is stable while
 * nothing is created or deleted. */
KALTO_API LONG RegEnumKeyEx(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                            LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime);

/* The same for values, with the value's type and data as RegQueryValueEx gives them, and its results. The
 * unnamed value's name is "(default)". */
KALTO_API LONG RegEnumValue(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName,
                            LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData);

/* Counts and greatest lengths (of names in bytes of the stored text, without the end; of data as
 * RegQueryValueEx needs it). Each result may be null. The class, the longest class, the security size and the
 * time are not written. */
KALTO_API LONG RegQueryInfoKey(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved,
                               LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen,
                               LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                               LPDWORD lpcbSecurityDescriptor, PFILETIME lpftLastWriteTime);

/* Does nothing and returns 0: saving is automatic. Takes no lock. */
KALTO_API LONG RegFlushKey(HKEY hKey);

/* The store below. An application normally needs none of it. */

/* The sandbox directory, put in front of the registry's path: initially "". The library never changes it. Set
 * it before the first call of the registry; the text must live as long as it is used. */
extern KALTO_API const char* g_sandboxDir;
/* Returns g_sandboxDir; the argument is ignored. */
KALTO_API const char* Kalto_GetSandboxDir(const char* ignored);

/* Status of the registry file when this process last loaded or saved it; read it with the lock held. The
 * layout is that of a build without _FILE_OFFSET_BITS=64. */
extern KALTO_API struct stat g_stRegFileStats;

/* Waits for the machine-wide lock. 1 when it was taken; 0, after logging, when the semaphore cannot be
 * opened: the caller then goes on without the lock. Give it back with UnlockRegistry only after a 1. Not
 * recursive. */
KALTO_API int LockRegistry(void);
KALTO_API void UnlockRegistry(void);

/* The following are called with the lock held. */

/* Opens a load cycle unless one is open: makes the file if it is missing, moves a pending new file into
 * place, and reads the file if it is newer than the copy in memory. 0; 2 when the file can be neither opened
 * nor made; 1016 when it cannot be read. A file that does not parse is replaced by the skeleton registry. */
KALTO_API LONG LoadRegistry(void);
/* Verifies a pending new file and renames it into place: 1; or 0, when there is none, when it does not parse
 * (it is removed) or cannot be moved. */
KALTO_API int MoveTmpRegistry(void);
/* Whether the file at path parses; what is wrong is logged. */
KALTO_API int VerifyRegistry(const char* path);
/* Ends the load cycle, saving what was changed. Nothing happens when no cycle is open. */
KALTO_API void SaveRegistry(void);

KALTO_END_DECLS

#ifdef __cplusplus
/* Sets out to the sandbox directory, a slash and name, and returns out. */
KALTO_API std::string& SetSandboxPathToFile(const char* name, std::string& out);
#endif

/* The build is a wide-character one. */
#define RegOpenKeyExW RegOpenKeyEx
#define RegCreateKeyExW RegCreateKeyEx
#define RegQueryValueExW RegQueryValueEx
#define RegSetValueExW RegSetValueEx
#define RegDeleteValueW RegDeleteValue
#define RegDeleteKeyW RegDeleteKey
#define RegDeleteKeyExW RegDeleteKeyEx
#define RegEnumKeyExW RegEnumKeyEx
#define RegEnumValueW RegEnumValue
#define RegQueryInfoKeyW RegQueryInfoKey

#endif
