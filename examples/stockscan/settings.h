// What the application can be told: the values under HKEY_LOCAL_MACHINE\Software\Velmoran\StockScan.
#ifndef STOCKSCAN_SETTINGS_H
#define STOCKSCAN_SETTINGS_H

#include <string>
#include <windows.h>

struct Settings {
    std::wstring input;     // the scanned codes, one a line
    std::wstring catalogue; // the articles
    std::wstring report;    // where the report goes
    std::wstring plugIn;    // the rule that codes obey; without a directory: beside the program
    std::wstring stopFile;  // a run stops when there is a file of this name
    DWORD workers = 0;      // threads that look codes up
    DWORD queueLength = 0;  // codes that wait for them at most
    DWORD errorLimit = 0;   // a run stops at one unknown or bad code more; 0 for never
    DWORD runs = 0;         // counts the runs, this one included
};

// Reads the settings and counts the run. A value that is missing or of another type is created with its
// default, so that the first run leaves all of them to be changed; a number out of its range is taken as the
// nearest one in it. Returns ERROR_SUCCESS or the registry's error.
LONG LoadSettings(Settings& settings);

#endif
