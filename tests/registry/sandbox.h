// What the registry's tests share: a sandbox directory with a lock of its own, the log texts, and short ways
// to call the interface.
#ifndef KALTO_TESTS_REGISTRY_SANDBOX_H
#define KALTO_TESTS_REGISTRY_SANDBOX_H

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <sstream>
#include <string>
#include <vector>

// The texts that went to syslog, as "priority: text".
extern std::vector<std::string> g_log;

// The real lock is one for the machine, and outlives who dies with it held. Here it is memory that a process
// shares with the children it forks, and that goes with them. How it was made ("name mode value", "" while it
// was not), and the errno of opening it, if that is to fail.
extern char g_lockMade[64];
extern int g_lockError;

class Sandbox : public ::testing::Test {
  public:
    static constexpr char kFile[] = "/var/zel/registry.xml";
    static constexpr char kPending[] = "/var/zel/registry.xml.new";

    std::string path(const char* name = kFile) const { return directory + "/" + name; }
    std::string read(const char* name = kFile) const {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }
    void write(const std::string& text, const char* name = kFile) const { std::ofstream(path(name)) << text; }
    bool exists(const char* name) const { return std::ifstream(path(name)).good(); }
    // Writes a registry with this text below its root, indented by nothing.
    void write_registry(const std::string& inside) const {
        write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Registry>\n" + inside + "\n</Registry>\n");
    }
    // Sets the time of the registry file.
    void set_time(time_t seconds, long nanoseconds) const;

    std::string directory;

  protected:
    Sandbox();
    ~Sandbox() override;
};

// Runs work in a child process with a lock of its own, and gives its exit status, or minus the signal that
// ended it. Expectations that fail in the child make its status 99.
int in_child(const std::function<int()>& work);

// Null when that fails.
HKEY open_key(const wchar_t* path, HKEY root = HKEY_LOCAL_MACHINE);
HKEY create_key(const wchar_t* path, HKEY root = HKEY_LOCAL_MACHINE);
// The result of opening or creating a key, which is closed again.
LONG open_code(HKEY parent, const wchar_t* path);
LONG create_code(HKEY parent, const std::wstring& path);
LONG set_string(HKEY key, const wchar_t* name, const wchar_t* text);
LONG set_number(HKEY key, const wchar_t* name, DWORD number);
// The text, or "error N" in place of it.
std::wstring get_string(HKEY key, const wchar_t* name);
// The stored number, or minus the result code.
long long get_number(HKEY key, const wchar_t* name);
// Opens, reads and closes.
long long number_at(const wchar_t* path, const wchar_t* name);
// The name of a sub-key, or "end".
std::wstring sub_key(HKEY key, DWORD index);
std::vector<std::wstring> sub_keys(HKEY key);

#endif
