// What the areas of the soak share.
#ifndef KALTO_SOAK_SOAK_H
#define KALTO_SOAK_SOAK_H

#include <string>
#include <windows.h>

// Reports a result that was not as it must be, and fails the whole soak.
void Expect(bool condition, const char* what);
// A number from 0 to below - 1, by the calling thread's own chance.
DWORD Random(DWORD below);
// Waits for the end of a thread, and closes its handle.
void Join(HANDLE thread);

// The steps of the areas, which several threads repeat. Each leaves behind nothing that it made: no handle,
// no key, no file. own is a name that no other thread uses.
void ThreadsStep(const std::wstring& own);
void ObjectsStep(const std::wstring& own);
void RegistryStep(const std::wstring& own);
void FilesStep(const std::wstring& own);
void DocumentsStep(const std::wstring& own);
void TextStep(const std::wstring& own);

#endif
