// Random edits on two documents: neither shares anything with the other, and each reads back as it was
// written.
#include "tests/xml/tree_text.h"
#include <gtest/gtest.h>
#include <random>

namespace {

void edit(CVurlIterator* it, const CVurlIterator& other, unsigned long choice, const char* text) {
    const auto where = static_cast<VURL_LOCATION>(choice / 16 % 5);
    switch (choice % 16) {
    case 0:
    case 1:
        it->InsertElement(text, where);
        break;
    case 2:
        it->InsertCopyOfElement(other, where);
        break;
    case 3:
        it->DeleteElement();
        it->ToParentElement();
        break;
    case 4:
        it->DeleteChildren();
        break;
    case 5:
        it->SetData(text);
        break;
    case 6:
    case 7:
        it->SetAttribute(text, text);
        break;
    case 8:
        it->DeleteAttribute(text);
        break;
    case 9:
        it->ToParentElement();
        break;
    default:
        choice / 16 % 3 == 0 ? it->ToNextElement() : it->ToChildElement();
    }
}

} // namespace

TEST(RandomEdits, KeepBothDocumentsWhole) {
    constexpr const char* kTexts[] = {"a", "b", "a", "b", "long-enough-for-a-copy-of-its-own"};
    std::minstd_rand random(1);
    CVurlDOM doms[2] = {CVurlDOM(1), CVurlDOM(1)};
    CVurlIterator its[2];
    for (int i = 0; i < 2; ++i) {
        doms[i].CreateDOM("r");
        its[i].BindToDOM(&doms[i]);
    }
    for (int step = 0; step < 6000; ++step) {
        const auto one = random() % 2;
        const std::string other = tree_text(doms[1 - one]);
        edit(&its[one], its[1 - one], random(), kTexts[random() % 5]);
        const std::string edited = tree_text(doms[one]);
        if (random() % 8 == 0)
            doms[one].Clean();
        CVurlDOM read;
        const bool reads = read.ReadDoc(doms[one].WriteDoc(nullptr, 0)) != 0;
        ASSERT_EQ(reads ? tree_text(read) : edited, edited) << step;
        ASSERT_TRUE(reads || read.m_nError == 2) << "only deeper than the parser goes";
        ASSERT_EQ(tree_text(doms[one]), edited) << step;
        ASSERT_EQ(tree_text(doms[1 - one]), other) << step;
        ASSERT_EQ(*static_cast<unsigned char*>(its[one].UserData()), 0) << "user data is never inherited";
        if (edited.size() > 4000) {
            its[one].ToRootElement();
            its[one].DeleteChildren();
        }
    }
}
