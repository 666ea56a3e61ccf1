/* GUIDs. */
#ifndef KALTO_OBJBASE_H
#define KALTO_OBJBASE_H

#include <kalto/errors.h>
#include <kalto/system.h>
#include <kalto/types.h>

/* Not in <windows.h>, because ported sources have a UUID of their own. */
typedef GUID UUID;

#ifdef __cplusplus
#define REFGUID const GUID&
#define REFIID const IID&
#define REFCLSID const CLSID&
#define KALTO_GUID_ADDRESS(guid) (&(guid))
#else
#define REFGUID const GUID*
#define REFIID const IID*
#define REFCLSID const CLSID*
#define KALTO_GUID_ADDRESS(guid) (guid)
#endif

/* Whether two GUIDs are the same. */
#define IsEqualGUID(first, second)                                                                           \
    (memcmp(KALTO_GUID_ADDRESS(first), KALTO_GUID_ADDRESS(second), sizeof(GUID)) == 0)
#define InlineIsEqualGUID IsEqualGUID
#define IsEqualIID IsEqualGUID
#define IsEqualCLSID IsEqualGUID

#endif
