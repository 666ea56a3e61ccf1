// One thread of the soak: the place at which it repeats the step of its area.
#ifndef KALTO_SOAK_STATION_H
#define KALTO_SOAK_STATION_H

#include <random>
#include <string>
#include <windows.h>

class Station {
  public:
    // directory is for its files; number is its own in the process; what it does depends on chance alone.
    Station(const char* area, int number, const std::string& directory, unsigned chance);

    int Number() const { return number_; }
    const std::wstring& Directory() const { return directory_; }
    // A name that no other station uses.
    std::wstring OwnName(LPCWSTR what) const;
    // A number from 0 to below - 1.
    DWORD Random(DWORD below);
    bool OneIn(DWORD chances) { return Random(chances) == 0; }

    // Reports a result that was not as it must be, and fails the whole soak.
    void Expect(bool condition, const char* what);

  private:
    const char* const area_;
    const int number_;
    const std::wstring directory_;
    std::mt19937 random_;
};

// Whether any station has reported a wrong result.
bool AnyFailure();

// The steps of the areas. Each leaves behind nothing that it made: no handle, no key, no file.
void ThreadsStep(Station& station);
void ObjectsStep(Station& station);
void RegistryStep(Station& station);
void FilesStep(Station& station);
void DocumentsStep(Station& station);
void TextStep(Station& station);

#endif
