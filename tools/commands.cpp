// The command line: options, the table of commands, help.
#include "tools/kaltoreg.h"

#include <cstring>
#include <kalto/registry.h>

namespace kaltoreg {
namespace {

struct Command {
    const char* name;
    size_t fewest;
    size_t most;
    const char* usage;
    const char* help;
    Status (*run)(const Arguments& arguments, const Streams& streams);
};

constexpr Command kCommands[] = {
    {"query", 1, 2, "query PATH [VALUE]", "show the values and sub-keys of a key, or the data of one value",
     query},
    {"tree", 1, 1, "tree PATH", "show a key with everything below it", tree},
    {"set", 4, 4, "set PATH VALUE TYPE DATA", "write a value, creating the key if need be", set},
    {"delete", 1, 2, "delete PATH [VALUE]", "delete a key with everything below it, or one value", remove},
    {"export", 1, 2, "export [--utf16] PATH", "write a key with everything below it as .reg text",
     export_keys},
    {"import", 1, 1, "import FILE", "apply .reg text (- reads the standard input)", import_file},
    {"find", 1, 1, "find XPATH", "show the elements of the registry file that match", find},
    {"verify", 0, 0, "verify", "check the registry file and say what is wrong and where", verify},
    {"unlock", 0, 1, "unlock [--force]", "show whether the lock is held; free one left by a dead process",
     unlock},
};

void print_help(FILE* out) {
    fputs("usage: kaltoreg [--sandbox DIR] COMMAND ARGUMENTS...\n\ncommands:\n", out);
    for (const Command& command : kCommands)
        fprintf(out, "  %-26s%s\n", command.usage, command.help);
    fputs("\nPATH begins with HKEY_LOCAL_MACHINE (HKLM), HKEY_CURRENT_USER (HKCU), HKEY_CLASSES_ROOT (HKCR) "
          "or\n"
          "HKEY_USERS (HKU); its components are separated by backslashes. An empty VALUE is the unnamed "
          "value.\n"
          "TYPE is REG_SZ, REG_DWORD (decimal, or hexadecimal behind 0x) or REG_BINARY (hexadecimal bytes).\n"
          "--sandbox DIR works on DIR/var/zel/registry.xml.\n\n"
          "Exit status: 0 done, 1 not found or problems found, 2 wrong usage or failure.\n",
          out);
}

Status complain(const Streams& streams, const std::string& what) {
    fprintf(streams.err, "kaltoreg: %s\nTry 'kaltoreg --help'.\n", what.c_str());
    return kFailed;
}

Status dispatch(const Arguments& arguments, const Streams& streams) {
    size_t next = 0;
    static std::string sandbox; // outlives every use of g_sandboxDir
    for (; next < arguments.size() && arguments[next].compare(0, 1, "-") == 0; ++next) {
        const std::string& option = arguments[next];
        if (option == "--help" || option == "-h") {
            print_help(streams.out);
            return kDone;
        }
        if (option == "--sandbox" && next + 1 < arguments.size())
            sandbox = arguments[++next];
        else if (option.compare(0, 10, "--sandbox=") == 0)
            sandbox = option.substr(10);
        else
            return complain(streams, "unknown or incomplete option " + option);
        g_sandboxDir = sandbox.c_str();
    }
    if (next == arguments.size())
        return complain(streams, "a command is missing");
    const Arguments rest(arguments.begin() + static_cast<ptrdiff_t>(next) + 1, arguments.end());
    for (const Command& command : kCommands) {
        if (arguments[next] != command.name)
            continue;
        if (!rest.empty() && rest[0] == "--help") {
            fprintf(streams.out, "usage: kaltoreg %s\n%s\n", command.usage, command.help);
            return kDone;
        }
        if (rest.size() < command.fewest || rest.size() > command.most)
            return complain(streams, std::string("usage: kaltoreg ") + command.usage);
        if (command.run != unlock)
            wait_for_lock(streams);
        return command.run(rest, streams);
    }
    return complain(streams, "unknown command " + arguments[next]);
}

} // namespace

Status run(const Arguments& arguments, const Streams& streams) {
    const Status status = dispatch(arguments, streams);
    if (fflush(streams.out) == 0 && ferror(streams.out) == 0)
        return status;
    fputs("kaltoreg: the output could not be written\n", streams.err);
    return kFailed;
}

} // namespace kaltoreg
