// Thread-local storage on the keys of POSIX threads, whose numbers are the indexes. in_use has a bit for
// each key that was made here: the others belong to somebody else.
#include "porting/failure.h"

#include <atomic>
#include <climits>
#include <kalto/porting.h>
#include <pthread.h>

using namespace kalto;

namespace {

constexpr DWORD kBits = 32;
constexpr DWORD kIndexes = PTHREAD_KEYS_MAX;
std::atomic<uint32_t> in_use[(kIndexes + kBits - 1) / kBits];

uint32_t bit_of(DWORD index) {
    return uint32_t{1} << (index % kBits);
}

bool used(DWORD index) {
    return index < kIndexes && (in_use[index / kBits].load() & bit_of(index)) != 0;
}

} // namespace

DWORD TlsAlloc(void) {
    pthread_key_t key = 0;
    if (pthread_key_create(&key, nullptr) != 0)
        return fail(ERROR_NOT_ENOUGH_MEMORY, TLS_OUT_OF_INDEXES);
    if (key >= kIndexes) {
        pthread_key_delete(key);
        return fail(ERROR_NOT_ENOUGH_MEMORY, TLS_OUT_OF_INDEXES);
    }
    in_use[key / kBits].fetch_or(bit_of(key));
    return key;
}

BOOL TlsFree(DWORD dwTlsIndex) {
    // Of two threads that free an index at once, one does.
    const bool ours = dwTlsIndex < kIndexes &&
                      (in_use[dwTlsIndex / kBits].fetch_and(~bit_of(dwTlsIndex)) & bit_of(dwTlsIndex)) != 0;
    if (!ours)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    pthread_key_delete(static_cast<pthread_key_t>(dwTlsIndex));
    return TRUE;
}

LPVOID TlsGetValue(DWORD dwTlsIndex) {
    const bool valid = used(dwTlsIndex);
    LPVOID value = valid ? pthread_getspecific(static_cast<pthread_key_t>(dwTlsIndex)) : nullptr;
    if (value == nullptr)
        SetLastError(valid ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
    return value;
}

BOOL TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue) {
    if (!used(dwTlsIndex))
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    const int error = pthread_setspecific(static_cast<pthread_key_t>(dwTlsIndex), lpTlsValue);
    return error == 0 ? TRUE : fail(static_cast<DWORD>(error), FALSE);
}
