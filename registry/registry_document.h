// The registry's document: elements that can be marked as deleted, and a cursor that finds and inserts among
// sorted siblings. Everything here runs with the registry lock held.
#ifndef KALTO_REGISTRY_REGISTRY_DOCUMENT_H
#define KALTO_REGISTRY_REGISTRY_DOCUMENT_H

#include <kalto/xml.h>

namespace kalto {

constexpr char kKeyTag[] = "k";
constexpr char kValueTag[] = "v";
constexpr char kNameAttribute[] = "Name";
constexpr char kDataAttribute[] = "value";
constexpr char kTypeAttribute[] = "type";

// What the parser can read back: 64 elements open at once, and an element without content inside the last
// one. So a key, which must be able to hold values, lies at most 63 levels below the root, and a value at
// most 64.
constexpr int kDeepestKey = 63;
constexpr int kDeepestValue = 64;

// The user data of an element. The registry asks for one byte, the mark; the pool raises that to four, and
// the rest holds the number of the index over the element's children (0: none; see sibling_index.h).
struct CRegVurlData {
    unsigned char deleted; // 1: invisible, and purged by the next save
    unsigned char unused;
    unsigned short index;
};
static_assert(sizeof(CRegVurlData) == 4, "more than the pool provides for one byte of user data");

inline CRegVurlData& mark_of(CVurlNode* node) {
    return *reinterpret_cast<CRegVurlData*>(node + 1);
}

class CRegVurlDOM : public CVurlDOM {
  public:
    CRegVurlDOM() : CVurlDOM(1) {}
};

// The value of an attribute, or null; the name of an element, "" when a hand-edited file gives it none.
const char* attribute_of(const CVurlNode* node, const char* name);
const char* name_of(const CVurlNode* node);
bool is_key(const CVurlNode* node);
bool is_value(const CVurlNode* node);
// The order of siblings: names without regard to case, then tags.
int compare(const CVurlNode* node, const char* tag, const char* name);

enum class Found { yes = 0, no = 1, too_deep = 2, no_memory = 3 };

class CRegVurlIterator : public CVurlIterator {
  public:
    // compare() for the current element.
    int Compare(const char* tag, const char* name) const;
    bool IsKey() const;
    bool IsValue() const;
    void Delete();
    void Undelete();
    bool IsDeleted() const;

    // Moves to the live child of that tag and name. With create, revives a child that is marked as deleted
    // (what is below it keeps its marks) or inserts a new one in its sorted place. The cursor is moved only
    // by Found::yes. The last argument is ignored.
    Found Find(const char* tag, const char* name, bool create, bool ignored = false);

    // Removes the current element from the document at once and recycles its records. The cursor is on
    // nothing then.
    void Remove();

  private:
    Found Insert(const char* tag, const char* name, CVurlNode* before);
};

} // namespace kalto

#endif
