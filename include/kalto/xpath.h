/* Selecting elements of a document: the engine behind CVurlElement::selectNodes and selectSingleNode, its
 * parsed form of an expression, and the list that holds it. Applications select through the element; this
 * header is for tools that look at an expression, or run one with a list of their own.
 *
 * Expressions are a subset of XPath: absolute and relative paths of element names, *, .. and, on the first
 * step, the axes ancestor::, ancestor-or-self::, descendant::, following-sibling:: and preceding-sibling::;
 * double slashes in an absolute path; a closing @name step; one predicate at the end: [@a] [@a='v'] [@a!='v']
 * [b] [b='v'] [b!='v']. A literal may hold neither a slash nor both kinds of quote. Names, values and texts
 * are compared exactly.
 *
 * What differs from XPath, all of it on purpose:
 *   - An absolute path begins at the children of the root and does not name it; //r finds the root r too.
 *   - In a relative path the first // is a plain slash: a//b is a/b. Write descendant::b, or /a//b.
 *   - The step behind a star is tested at the children that the star stands for. Behind an axis or //, a
 *     star at the end stands for the children of what the axis leads to.
 *   - The step behind .. is tested at the parent: a/../b asks whether the parent is named b.
 *   - Where the rest of a path finds nothing below an element, it is tried at the element: a/a selects an a
 *     that has no child a as well.
 *   - A predicate ends its path: a[x]/b selects each such a, and a[x][y] looks at x alone. [2] is refused.
 *   - [@a!='v'] wants some attribute, but none named a with that value; [b!='v'] wants a child named b, but
 *     none with that text.
 *
 * Nothing here throws or blocks. An engine, its document and its lists are for one thread at a time. */
#ifndef KALTO_XPATH_H
#define KALTO_XPATH_H

#include <kalto/types.h>
#include <kalto/xml.h>

KALTO_BEGIN_DECLS
/* The characters that mean nothing outside a literal: every code from 1 to 32, and a terminator. */
KALTO_API extern const char WHITESPACE[33];
KALTO_END_DECLS

namespace kalto {
struct Selection; /* the library's own */
}

/* One step or predicate of a path. Owns its three strings (new[]). */
struct XPathAction {
    int32_t absolute = 0; /* on the first step of a path that starts at the root */
    /* 0 ancestor, 1 ancestor-or-self, 2 attribute, 3 child, 4 descendant, 5 descendant-or-self, 7
     * following-sibling, 9 parent, 11 preceding-sibling, 12 self (every predicate) */
    int32_t axis = 3;
    int32_t index = -1;            /* of a numeric step or predicate; 0 for ..; -1 when there is none */
    char* name = nullptr;          /* element name */
    char* attributeName = nullptr; /* of @name and [@name ...] */
    char* value = nullptr;         /* literal of a predicate, without its quotes */
    /* 1 *, 2 ancestor::, 3 ancestor-or-self::, 6 @, 14 descendant::, 16 //, 20 [... = ...], 22
     * following-sibling::, 25 name, 32 [... != ...], 33 number, 36 [...], 38 .., 40 preceding-sibling::. A //
     * behind a step has the kind of the token before it. */
    int32_t tokenKind = 0;

    XPathAction() = default;
    KALTO_API ~XPathAction();
    XPathAction(const XPathAction&) = delete;
    XPathAction& operator=(const XPathAction&) = delete;
};

/* One cell of a parse list. */
struct CVurlXPNode {
    CVurlXPNode* next = nullptr;
    CVurlXPNode* previous = nullptr;
    void* data = nullptr; /* an XPathAction */
};

/* The records of an expression in order, with a current position. A copy has a position of its own over the
 * same cells; cells are released by Pop alone. */
class CVurlXPParseList {
  public:
    CVurlXPNode* head = nullptr;
    CVurlXPNode* tail = nullptr;
    CVurlXPNode* current = nullptr;
    int32_t count = 0;

    /* Appends; the first entry becomes current. 0 when memory runs out: data stays the caller's. */
    KALTO_API int Push(void* data);
    /* Removes the oldest entry and returns its data, null when empty. The position moves off a removed entry.
     */
    KALTO_API void* Pop();
    /* Move the position one entry: 1, or 0 (it stays) at the end, at the beginning, and in an empty list. */
    KALTO_API int Next();
    KALTO_API int Prev();
    /* Move the position to the first and the last entry. */
    KALTO_API void Head();
    KALTO_API void Tail();
    /* The data of the current and of the last entry, null when empty. */
    KALTO_API void* PeekCurrent() const;
    KALTO_API void* PeekTail() const;
};

/* A query. Constructing one runs it: the expression is parsed and, if that succeeds, every element that it
 * selects is added to *results, in the order in which the walk described at each operation meets them.
 *
 * The context element is the cursor of the walk and is left moved: at the root for an absolute path, at the
 * topmost ancestor by ancestor:: and ancestor-or-self::, at the last child by descendant::, at the last
 * sibling by following-sibling::. A CVurlIterator that is passed as one keeps its depth in step, as the
 * depths of the results do; a plain element is only moved, and the depths of its results count from the root.
 *
 * m_nError tells the outcome: 0 something was selected, 1 a name or number with a character it may not hold,
 * 3 malformed expression, or memory ran out, 4 no match, 5 an unsupported form: following::, preceding::,
 * [n]. CVurlDOM::GetXPathErrorDescription has the texts. Stacks stay small for any expression and any
 * document, and no element is examined twice by the same step in a way that could add up. */
class KALTO_API CVurlXpath {
  public:
    unsigned char m_bFirstStep;   /* no slash was met yet where a step could begin */
    CVurlXPParseList m_parseList; /* XPathAction records */
    char* m_pszExpression;        /* without the white space outside its literals */
    int32_t m_nError;
    int32_t m_nTokenKind; /* of the token last read */
    CVurlElement* m_pContext;
    CVurlElementList* m_pResults;
    CVurlDOM* m_pDOM;           /* the document of the results */
    CVurlIterator* m_pIterator; /* the library's own: the context when it came as an iterator */
    unsigned char m_bFirstOnly; /* the library's own: one result is enough */

    /* context and results must live as long as the engine; a null expression is malformed. */
    CVurlXpath(const char* expression, CVurlElement* context, CVurlElementList* results);
    CVurlXpath(const char* expression, CVurlIterator* context, CVurlElementList* results);
    ~CVurlXpath();
    CVurlXpath(const CVurlXpath&) = delete;
    CVurlXpath& operator=(const CVurlXpath&) = delete;

    /* Parsing. */

    /* Parses m_pszExpression into m_parseList; whether m_nError is 0 afterwards. */
    bool LexAnalysis();
    /* Removes the white space outside literals. Error 3 when nothing is left. */
    void removeWhiteSpace();
    /* Parses a path and pushes its records: 52 at its end, -1 on an error. *rest (if given) receives where
     * parsing stopped. *pending is a record that waits for its step: the caller deletes what is left there.
     */
    int tokenize(const char* text, char** rest, XPathAction** pending);
    /* Parses one predicate, *rest being the text after its opening bracket, and moves *rest behind it. 10
     * when its record was pushed, -1 on an error. */
    int tokenizePredicate(XPathAction** pending, char** rest);
    /* The name, number or quoted literal (without its quotes) that text starts with, as a new array for the
     * caller to delete[]; null with m_nError set when there is none. */
    char* tokenizeNameNumber(char* text);
    /* The kind of the token that *text starts with, 0 for anything that is no reserved word, 52 for null. */
    int checkReservedWords(char** text);

    /* Evaluation. list is a parse list whose current record is the step to match; *cursor is the element to
     * match it at and is where it was on return. Results are 1 when an element was added, else 0. */

    /* Runs the whole parse list at the context. */
    int populateList();
    /* The current step, and those after it, at the cursor's element. */
    int findPathMatch(CVurlXPParseList list, CVurlIterator* cursor);
    /* The same at each child of the cursor's element. */
    int findNodes(CVurlXPParseList list, CVurlIterator* cursor);
    /* The current attribute step at the cursor's element. */
    int findAttribMatch(CVurlXPParseList list, CVurlIterator* cursor);
    /* findPathMatch at the cursor's element and all its descendants, in document order. */
    int DescSearch(CVurlXPParseList list, CVurlIterator* cursor);
    /* Whether element lies below the cursor's element, or is it when orSelf is set. */
    bool IsDescendant(CVurlIterator* cursor, const CVurlElement* element, bool orSelf);
    /* Whether the cursor's element passes the current predicate. */
    bool filterOnPredicateEqual(CVurlXPParseList list, CVurlIterator* cursor);
    bool filterOnPredicateNotEqual(CVurlXPParseList list, CVurlIterator* cursor);
    /* Leaves in the results only the entry at the record's 1-based index; whether one is left. */
    bool findIndexedNode(const XPathAction* record);
    /* Whether a predicate follows the current record. */
    bool nextActionIsPredicate(CVurlXPParseList list);

  private:
    friend struct kalto::Selection;
    CVurlXpath(const char* expression, CVurlElement* context, CVurlIterator* iterator,
               CVurlElementList* results, bool firstOnly);
};

#endif
