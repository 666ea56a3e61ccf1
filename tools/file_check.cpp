// The commands that look at the file itself: find and verify. They parse it as it stands, without the
// registry's own loading, which would replace a broken file.
#include "tools/kaltoreg.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <kalto/registry.h>
#include <kalto/xml.h>
#include <strings.h>

namespace kaltoreg {
namespace {

// The registry's lock, where it can be had.
class Locked {
  public:
    Locked() : locked_(LockRegistry() != 0) {}
    ~Locked() {
        if (locked_)
            UnlockRegistry();
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

  private:
    bool locked_;
};

bool read_registry(std::string& path, std::string& text, const Streams& streams) {
    const Locked lock;
    SetSandboxPathToFile("/var/zel/registry.xml", path);
    FILE* file = fopen(path.c_str(), "rb");
    if (file == nullptr) {
        fprintf(streams.err, "kaltoreg: %s: %s\n", path.c_str(), strerror(errno));
        return false;
    }
    char piece[4096];
    for (size_t got = 0; (got = fread(piece, 1, sizeof piece, file)) > 0;)
        text.append(piece, got);
    const int error = ferror(file) != 0 ? errno : 0;
    fclose(file);
    if (error != 0)
        fprintf(streams.err, "kaltoreg: %s: %s\n", path.c_str(), strerror(error));
    return error == 0;
}

bool parse(CVurlDOM& document, const std::string& path, const std::string& text, const Streams& streams) {
    if (document.ReadDoc(text.c_str()) != 0)
        return true;
    const size_t offset = std::min<size_t>(document.m_nDocSize, text.size());
    const auto end = text.begin() + static_cast<ptrdiff_t>(offset);
    fprintf(streams.out, "%s:%d: %s\n", path.c_str(),
            static_cast<int>(std::count(text.begin(), end, '\n') + 1), document.GetErrorDescription());
    return false;
}

std::string attribute(const CVurlNode* node, const char* name) {
    for (const CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext)
        if (strcmp(a->pszName, name) == 0)
            return a->pszValue;
    return "";
}

bool is(const CVurlNode* node, const char* tag) {
    return strcasecmp(node->pszTagName, tag) == 0;
}

// The names from the root down, with backslashes between.
std::string place_of(const CVurlNode* node) {
    std::string place;
    for (; node != nullptr && node->pParent != nullptr; node = node->pParent)
        place.insert(0, attribute(node, "Name") + (place.empty() ? "" : "\\"));
    return place;
}

// What is wrong with the text of a value, or null.
const char* value_fault(const CVurlNode* node) {
    const std::string type = attribute(node, "type");
    const std::string text = attribute(node, "value");
    const auto is_type = [&](const char* name) { return strcasecmp(type.c_str(), name) == 0; };
    static constexpr char kDigits[] = "0123456789abcdefABCDEF";
    if (is_type("REG_SZ"))
        return nullptr;
    if (is_type("REG_DWORD")) {
        const size_t first = text.find_first_not_of(' ');
        const bool good = first != std::string::npos && text.size() - first <= 8 &&
                          text.find_first_not_of(kDigits, first) == std::string::npos;
        return good ? nullptr : "is no hexadecimal number of 32 bits";
    }
    if (!is_type("REG_BINARY"))
        return "is of an unknown type";
    for (size_t i = 0; i < text.size(); ++i)
        if ((i % 3 == 2) != (text[i] == ' ') || (i % 3 != 2 && strchr(kDigits, text[i]) == nullptr))
            return "is no list of hexadecimal bytes";
    return text.empty() || text.size() % 3 == 2 ? nullptr : "ends in the middle of its bytes";
}

class Check {
  public:
    explicit Check(const Streams& streams) : streams_(streams) {}

    void element(const CVurlNode* node) {
        if (is(node, "v"))
            value(node);
        else if (is(node, "k"))
            key(node);
        else
            fault(node, "is neither a key (k) nor a value (v)");
        children(node);
    }
    void children(const CVurlNode* parent) {
        const CVurlNode* greatest = nullptr; // of the siblings so far
        for (const CVurlNode* child = parent->pFirstChild; child != nullptr; child = child->pNextSibling) {
            const int order = greatest != nullptr ? compare(greatest, child) : -1;
            if (order > 0)
                fault(child, "stands behind a name that sorts after it, so that it is not found");
            else if (order == 0)
                fault(child, "is there twice; only the first one is used");
            else
                greatest = child;
            element(child);
        }
    }
    Status finish(const std::string& path) const {
        fprintf(streams_.out, "%s: %d keys, %d values, %d problems\n", path.c_str(), keys_, values_, faults_);
        return faults_ == 0 ? kDone : kNo;
    }

  private:
    static int compare(const CVurlNode* a, const CVurlNode* b) {
        const int order = strcasecmp(attribute(a, "Name").c_str(), attribute(b, "Name").c_str());
        return order != 0 ? order : strcasecmp(a->pszTagName, b->pszTagName);
    }
    void fault(const CVurlNode* node, const char* what) {
        ++faults_;
        fprintf(streams_.out, "%s: <%s> %s\n", place_of(node).c_str(), node->pszTagName, what);
    }
    void key(const CVurlNode* node) {
        ++keys_;
        const std::string name = attribute(node, "Name");
        if (name.find('\\') != std::string::npos)
            fault(node, "has a backslash in its name, so that no path leads to it");
        else if (name.size() > 255)
            fault(node, "has a name of more than 255 bytes, so that no path leads to it");
    }
    void value(const CVurlNode* node) {
        ++values_;
        const char* what = value_fault(node);
        if (what != nullptr)
            fault(node, what);
        if (node->pFirstChild != nullptr)
            fault(node, "has elements inside");
    }

    const Streams& streams_;
    int keys_ = 0;
    int values_ = 0;
    int faults_ = 0;
};

} // namespace

Status verify(const Arguments& /*arguments*/, const Streams& streams) {
    std::string path;
    std::string text;
    CVurlDOM document;
    if (!read_registry(path, text, streams))
        return kFailed;
    if (!parse(document, path, text, streams))
        return kNo;
    Check check(streams);
    check.children(document.m_pRoot);
    return check.finish(path);
}

Status find(const Arguments& arguments, const Streams& streams) {
    std::string path;
    std::string text;
    CVurlDOM document;
    if (!read_registry(path, text, streams) || !parse(document, path, text, streams))
        return kFailed;
    CVurlElement root(&document);
    CVurlElementList* found = root.selectNodes(arguments[0].c_str());
    if (found == nullptr) {
        fprintf(streams.err, "kaltoreg: %s: %s\n", arguments[0].c_str(), document.GetXPathErrorDescription());
        return kFailed;
    }
    CVurlIterator element;
    const bool any = found->m_nCount != 0;
    while (found->nextNode(&element) != 0) {
        fprintf(streams.out, "%s", place_of(element.m_pNode).c_str());
        if (is(element.m_pNode, "v"))
            fprintf(streams.out, "  %s  %s", attribute(element.m_pNode, "type").c_str(),
                    attribute(element.m_pNode, "value").c_str());
        fputc('\n', streams.out);
    }
    delete found;
    return any ? kDone : kNo;
}

} // namespace kaltoreg
