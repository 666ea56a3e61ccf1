// The command import: a .reg text is read whole, and only applied when all of it was understood. The changes
// are saved together: a root is kept open meanwhile.
#include "tools/reg_text.h"

#include <cerrno>
#include <cstring>
#include <kalto/errors.h>

namespace kaltoreg {
namespace {

bool read_all(const std::string& path, std::string& bytes) {
    FILE* file = path == "-" ? stdin : fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    char piece[4096];
    for (size_t got = 0; (got = fread(piece, 1, sizeof piece, file)) > 0;)
        bytes.append(piece, got);
    const bool good = ferror(file) == 0;
    if (file != stdin)
        fclose(file);
    return good;
}

// `changed` is set when there is something to save.
LONG apply(const Change& change, bool& changed) {
    LONG error = ERROR_SUCCESS;
    bool created = false;
    Key key;
    if (change.kind == Change::kDeleteKey) {
        error = RegDeleteKey(change.key.root, change.key.path.c_str());
    } else {
        error = key.create(change.key, &created);
        changed = changed || created;
        if (error != ERROR_SUCCESS || change.kind == Change::kCreateKey)
            return error;
        error = change.kind == Change::kDeleteValue ? RegDeleteValue(key.get(), change.value.name.c_str())
                                                    : key.write(change.value);
    }
    changed = changed || error == ERROR_SUCCESS;
    // Deleting what is not there is done already.
    return error == ERROR_FILE_NOT_FOUND && change.kind != Change::kSetValue ? ERROR_SUCCESS : error;
}

} // namespace

Status import_file(const Arguments& arguments, const Streams& streams) {
    const char* path = arguments[0].c_str();
    std::string bytes;
    std::wstring text;
    std::vector<Change> changes;
    Complaint complaint;
    if (!read_all(path, bytes)) {
        fprintf(streams.err, "kaltoreg: %s: %s\n", path, strerror(errno));
        return kFailed;
    }
    if (!decode_file(bytes, text)) {
        fprintf(streams.err, "kaltoreg: %s: neither UTF-8 nor UTF-16LE with its mark\n", path);
        return kFailed;
    }
    if (!parse_reg_text(text, changes, complaint)) {
        fprintf(streams.err, "kaltoreg: %s:%d: %s; nothing was imported\n", path, complaint.line,
                complaint.what.c_str());
        return kFailed;
    }
    Key root;
    LONG error = root.open({HKEY_LOCAL_MACHINE, L""});
    if (error != 0)
        return report(error, L"HKEY_LOCAL_MACHINE", streams);
    bool changed = false;
    for (const Change& change : changes) {
        error = apply(change, changed);
        if (error != 0) {
            fprintf(streams.err, "%s:%d: ", path, change.line);
            report(error, change.key.full(), streams);
            fputs("kaltoreg: what stands before that line is imported\n", streams.err);
            break;
        }
    }
    if (!root.close() && changed)
        return report_unsaved(streams);
    return error == 0 ? kDone : kFailed;
}

} // namespace kaltoreg
