// kaltoreg: looks into the registry and changes it, over the library's public interface alone.
#ifndef KALTO_TOOLS_KALTOREG_H
#define KALTO_TOOLS_KALTOREG_H

#include <cstdio>
#include <string>
#include <vector>

namespace kaltoreg {

// Exit statuses.
enum Status {
    kDone = 0,
    kNo = 1,     // not found; problems found; the lock is held
    kFailed = 2, // wrong usage, or the registry cannot be read or written
};

using Arguments = std::vector<std::string>;

// Where output and complaints go.
struct Streams {
    FILE* out;
    FILE* err;
};

// Runs one command line, without the program's name.
Status run(const Arguments& arguments, const Streams& streams);

// The commands. `arguments` are those behind the command's name; their number has been checked.
Status query(const Arguments& arguments, const Streams& streams);
Status tree(const Arguments& arguments, const Streams& streams);
Status set(const Arguments& arguments, const Streams& streams);
Status remove(const Arguments& arguments, const Streams& streams);
Status export_keys(const Arguments& arguments, const Streams& streams);
Status import_file(const Arguments& arguments, const Streams& streams);
Status find(const Arguments& arguments, const Streams& streams);
Status verify(const Arguments& arguments, const Streams& streams);
Status unlock(const Arguments& arguments, const Streams& streams);

// Waits until the registry's lock is free, saying so after a few seconds; then keeps the signals that end a
// program away, because one that ends inside a registry call leaves the lock taken.
void wait_for_lock(const Streams& streams);

} // namespace kaltoreg

#endif
