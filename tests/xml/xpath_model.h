// What the records of an expression select, written down step by step: plain recursion, slow, and only for
// small documents.
#ifndef KALTO_TESTS_XML_XPATH_MODEL_H
#define KALTO_TESTS_XML_XPATH_MODEL_H

#include <algorithm>
#include <cstring>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <string>
#include <vector>

class XPathModel {
  public:
    using Node = CVurlNode;

    std::vector<const Node*> results;
    unsigned long steps = 0;
    static constexpr unsigned long kTooLong = 300000; // an expression beyond the model's reach

    explicit XPathModel(const CVurlXPParseList& list) {
        for (const CVurlXPNode* cell = list.head; cell != nullptr; cell = cell->next)
            m_records.push_back(static_cast<const XPathAction*>(cell->data));
    }
    // The error of a selection from *context, which is left where the walk ends.
    int select(Node** context) {
        if (m_records.empty())
            return 4;
        while (m_records[0]->absolute != 0 && (*context)->pParent != nullptr)
            *context = (*context)->pParent;
        if (!start(context))
            return 4;
        const XPathAction& end = *m_records.back();
        if (end.tokenKind == 33 && end.index != -1) {
            const auto index = static_cast<size_t>(end.index);
            const bool exists = index >= 1 && index <= results.size();
            results = exists ? std::vector<const Node*>{results[index - 1]} : std::vector<const Node*>();
        }
        return results.empty() ? 4 : 0;
    }

  private:
    bool start(Node** context) {
        Node*& n = *context;
        bool matched = false;
        switch (m_records[0]->axis) {
        case 1:
            at(1, n);
            [[fallthrough]];
        case 0:
            while (n->pParent != nullptr)
                at(1, n = n->pParent);
            return !results.empty();
        case 2:
            return attribute(0, n);
        case 3:
            return nodes(0, n);
        case 4:
            for (Node* child = n->pFirstChild; child != nullptr; child = child->pNextSibling)
                matched |= subtree(1, n = child);
            return matched;
        case 5:
            return subtree(1, n);
        case 7:
            while (n->pNextSibling != nullptr)
                matched |= at(1, n = n->pNextSibling);
            return matched;
        case 11:
            for (Node* sibling = n->pParent == nullptr ? n : n->pParent->pFirstChild; sibling != n;
                 sibling = sibling->pNextSibling)
                matched |= at(1, sibling);
            return matched;
        default: // 9, "..", and 12, a predicate
            return at(m_records[0]->axis == 9 ? 0 : 1, n);
        }
    }

    bool add(const Node* n) {
        if (std::find(results.begin(), results.end(), n) == results.end())
            results.push_back(n);
        return true;
    }

    static bool is_predicate(const XPathAction& record) {
        return record.tokenKind == 36 || record.tokenKind == 20 || record.tokenKind == 32;
    }

    // A record, and those behind it, at one element.
    bool at(size_t step, Node* n) {
        bool matched = false;
        for (; step < m_records.size() && ++steps < kTooLong; ++step) {
            const XPathAction& record = *m_records[step];
            const bool last = step + 1 == m_records.size();
            if (record.axis == 9)
                return (n->pParent != nullptr && (last ? add(n->pParent) : at(step + 1, n->pParent))) ||
                       matched;
            if (record.axis == 5)
                return (!last && subtree(step + 1, n)) || matched;
            if (record.axis == 2)
                return attribute(step, n) || matched;
            if (is_predicate(record))
                return (passes(record, *n) && add(n)) || matched;
            if (record.tokenKind == 25) {
                if (std::strcmp(record.name, n->pszTagName) != 0)
                    return matched;
                if (last ? add(n) : nodes(step + 1, n))
                    return true;
            } else if (record.tokenKind != 1) {
                return matched;
            } else if (last || !is_predicate(*m_records[step + 1])) {
                const bool found = nodes(step, n);
                matched |= found;
                if (!found || last)
                    return matched;
            }
        }
        return matched;
    }

    bool nodes(size_t step, Node* n) {
        const XPathAction& record = *m_records[step];
        const bool any = record.tokenKind == 1;
        if (record.axis == 2 || record.axis == 12 || (!any && record.index == 0))
            return false;
        bool matched = false;
        for (Node* child = n->pFirstChild; child != nullptr; child = child->pNextSibling)
            matched |= any && step + 1 == m_records.size() ? add(child) : at(any ? step + 1 : step, child);
        return matched;
    }

    bool subtree(size_t step, Node* n) {
        bool matched = at(step, n);
        for (Node* child = n->pFirstChild; child != nullptr; child = child->pNextSibling)
            matched |= subtree(step, child);
        return matched;
    }

    bool attribute(size_t step, Node* n) {
        for (const CVurlAttribute* a = n->pFirstAttribute; a != nullptr; a = a->pNext) {
            if (std::strcmp(a->pszName, m_records[step]->attributeName) == 0)
                return step + 1 == m_records.size() ? add(n) : nodes(step + 1, n);
        }
        return false;
    }

    static bool passes(const XPathAction& predicate, const Node& n) {
        const char* const value = predicate.value;
        bool named = false;
        bool equal = false;
        for (const CVurlAttribute* a = n.pFirstAttribute; a != nullptr && predicate.attributeName;
             a = a->pNext) {
            named = true; // one of any name is enough
            equal |= std::strcmp(a->pszName, predicate.attributeName) == 0 &&
                     (value == nullptr || std::strcmp(a->pszValue, value) == 0);
        }
        for (const Node* c = n.pFirstChild; c != nullptr && predicate.name; c = c->pNextSibling) {
            if (std::strcmp(c->pszTagName, predicate.name) != 0)
                continue;
            named = true;
            equal |= value == nullptr || (c->pszData != nullptr && std::strcmp(c->pszData, value) == 0);
        }
        return predicate.tokenKind == 32 ? named && !equal : equal;
    }

    std::vector<const XPathAction*> m_records;
};

#endif
