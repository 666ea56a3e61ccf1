// The index over siblings gives what the walk over them gives, in files of any order.
#include "registry/registry_document.h"
#include "registry/sibling_index.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace kalto;

class Chain {
  public:
    Chain() { document_.CreateDOM("Registry"); }
    ~Chain() { drop_indices(); }

    CRegVurlIterator root() {
        CRegVurlIterator root;
        root.BindToDOM(&document_);
        return root;
    }

    // As an editor might: at any place.
    void append(const char* tag, const std::string& name) {
        CRegVurlIterator end = root();
        end.InsertElement(tag, VURL_LAST_CHILD);
        end.SetAttribute(kNameAttribute, name.c_str());
    }

    void expect_same(const char* tag, const std::string& name) {
        CVurlNode* parent = root().m_pNode;
        Place walked;
        walk_to_place(parent, tag, name.c_str(), -1, walked);
        const Place found = find_place(parent, tag, name.c_str());
        ASSERT_EQ(found.match, walked.match) << name;
        ASSERT_EQ(found.before, walked.before) << name;
        ASSERT_EQ(find_match(parent, tag, name.c_str()), walked.match) << name;
    }

  private:
    CRegVurlDOM document_;
};

std::string random_name(std::mt19937& random) {
    std::string name;
    const size_t length = random() % 4;
    for (size_t i = 0; i < length; ++i)
        name += "abCxYz"[random() % 6];
    return name;
}

TEST(Lookup, IndexAgreesWithTheWalkThroughAnyEdits) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        Chain chain;
        const size_t strays = seed % 4 == 0 ? 0 : random() % 60;
        for (size_t i = 0; i < strays; ++i)
            chain.append(random() % 2 == 0 ? kKeyTag : "note", random_name(random));
        for (int step = 0; step < 400 && !testing::Test::HasFatalFailure(); ++step) {
            const char* tag = random() % 3 == 0 ? kKeyTag : kValueTag;
            const std::string name = random_name(random);
            CRegVurlIterator element = chain.root();
            if (random() % 3 != 0)
                ASSERT_EQ(element.Find(tag, name.c_str(), true), Found::yes);
            else if (element.Find(tag, name.c_str(), false) == Found::yes)
                random() % 2 == 0 ? element.Remove() : element.Delete();
            chain.expect_same(tag, name);
            chain.expect_same(kValueTag, random_name(random));
        }
    }
}

TEST(Lookup, UnsortedEntryBehindAGreaterOneIsNotFound) {
    Chain chain;
    for (const char* name : {"a", "z", "b", "Z"})
        chain.append(kValueTag, name);
    for (int i = 0; i < 30; ++i)
        chain.append(kValueTag, "c" + std::to_string(i));
    CRegVurlIterator element = chain.root();
    EXPECT_EQ(element.Find(kValueTag, "b", false), Found::no);
    EXPECT_EQ(element.Find(kValueTag, "c7", false), Found::no);
    EXPECT_EQ(element.Find(kValueTag, "Z", false), Found::yes);
    EXPECT_STREQ(name_of(element.m_pNode), "z") << "the first of equal names";
    element = chain.root();
    EXPECT_EQ(element.Find(kValueTag, "b", true), Found::yes);
    EXPECT_STREQ(name_of(element.m_pNode->pNextSibling), "z");
    element = chain.root();
    EXPECT_EQ(element.Find(kValueTag, "zz", true), Found::yes);
    EXPECT_EQ(element.m_pNode->pNextSibling, nullptr);
}

} // namespace
