// The frame of every registry call.
#ifndef KALTO_REGISTRY_REGISTRY_CALL_H
#define KALTO_REGISTRY_REGISTRY_CALL_H

#include "registry/open_keys.h"
#include <kalto/registry.h>

namespace kalto {

// Holds the registry lock for its whole scope. When the semaphore cannot be had, the call runs without it.
class RegistryCall {
  public:
    RegistryCall() : locked_(LockRegistry() != 0) {}
    RegistryCall(const RegistryCall&) = delete;
    RegistryCall& operator=(const RegistryCall&) = delete;
    ~RegistryCall() {
        if (locked_)
            UnlockRegistry();
    }
    // The last step inside the lock: save if no key is open now.
    LONG finish(LONG result) const {
        if (g_openKeyCount == 0)
            SaveRegistry();
        return result;
    }

  private:
    bool locked_;
};

} // namespace kalto

#endif
