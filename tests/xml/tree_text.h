// Documents for the tests, and trees as text.
#ifndef KALTO_TESTS_XML_TREE_TEXT_H
#define KALTO_TESTS_XML_TREE_TEXT_H

#include <gtest/gtest.h>
#include <initializer_list>
#include <kalto/xml.h>
#include <string>

// A document that was read.
struct Document : CVurlDOM {
    explicit Document(const std::string& text) { EXPECT_EQ(ReadDoc(text.c_str()), 1) << text; }
};

// An iterator bound to the element that a path of child indexes leads to.
inline CVurlIterator at(CVurlDOM* dom, std::initializer_list<int> path = {}) {
    CVurlNode* node = dom->m_pRoot;
    for (int index : path) {
        node = node->pFirstChild;
        for (; index > 0; --index)
            node = node->pNextSibling;
    }
    CVurlIterator it;
    it.SetSubRoot(dom, node);
    return it;
}

// A tree as one line, for comparing: name[attribute=value,...]'text'(children...), each part only where
// present.
inline std::string tree_text(const CVurlNode* node) {
    if (node == nullptr)
        return "-";
    std::string text = node->pszTagName;
    const char* before = "[";
    for (const CVurlAttribute* a = node->pFirstAttribute; a != nullptr; a = a->pNext, before = ",")
        text += std::string(before) + a->pszName + "=" + a->pszValue + (a->pNext == nullptr ? "]" : "");
    if (node->pszData != nullptr)
        text += std::string("'") + node->pszData + "'";
    before = "(";
    for (const CVurlNode* c = node->pFirstChild; c != nullptr; c = c->pNextSibling, before = ",") {
        text += before + (c->pParent == node ? tree_text(c) : std::string("wrong parent"));
        text += c->pNextSibling == nullptr ? ")" : "";
    }
    return text;
}

inline std::string tree_text(const CVurlDOM& dom) {
    return tree_text(dom.m_pRoot);
}

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// The document as the writer puts it, without the declaration.
inline std::string written(CVurlDOM* dom) {
    unsigned size = 0;
    const char* text = dom->WriteDoc(&size, 0);
    return text == nullptr ? "" : std::string(text, size).substr(sizeof kDeclaration - 1);
}

#endif
