/* The XML document model: documents, their records and pools, and the handles that read and edit a tree.
 *
 * A document is read in place: its text goes into one pool block, and names, texts and values of the tree are
 * pointers into it. Records (nodes, attributes, list entries) come from a second pool. Nothing is released
 * one by one: a replaced string stays as dead space until Clean or FreeDOM, and removed records wait on free
 * lists for their next use.
 *
 * Everything here reports failure by a zero or null result and throws nothing. Nothing here blocks. A
 * document and everything reached from it is for one thread at a time; different documents are independent.
 */
#ifndef KALTO_XML_H
#define KALTO_XML_H

#include <kalto/types.h>

class CVurlDOM;
class CVurlElementList;
class CVurlIterator;

/* Where InsertNode puts a new element, seen from the iterator's current element. */
enum VURL_LOCATION : int {
    VURL_NEXT_SIBLING = 0,  /* right after it */
    VURL_FIRST_SIBLING = 1, /* first child of its parent */
    VURL_LAST_SIBLING = 2,  /* after its last sibling */
    VURL_FIRST_CHILD = 3,   /* its first child */
    VURL_LAST_CHILD = 4     /* its last child */
};

/* The layout of a document's text, found by the parser and reproduced by the writer (m_nDocStyle). */
#define DOCSTYLE_LF 0x01u      /* lines end in a line feed */
#define DOCSTYLE_CRLF 0x02u    /* ... which follows a carriage return */
#define DOCSTYLE_TABS 0x04u    /* lines are indented with tabs */
#define DOCSTYLE_SPACES 0x08u  /* lines are indented with blanks */
#define DOCSTYLE_BOM 0x10u     /* the text begins with a byte-order mark */
#define DOCSTYLE_NO_DECL 0x20u /* write no XML declaration; only an application sets this */

/* What the decision callback of CVurlIterator::Apply returns, OR-ed together. */
#define APPLY_MATCH 0x001ul           /* the elements correspond: act on them and descend */
#define APPLY_COPY 0x002ul            /* run the copier from the source to the matched target element */
#define APPLY_SKIP_CHILDREN 0x004ul   /* do not descend into the source element */
#define APPLY_CREATE_PATH 0x008ul     /* create target elements for source levels that the target lacks */
#define APPLY_IGNORE 0x010ul          /* this reference element does not count */
#define APPLY_DELETE 0x020ul          /* delete the matched target element */
#define APPLY_DELETE_CHILDREN 0x040ul /* delete the matched target element's children */
#define APPLY_STOP 0x080ul            /* end the walk */
#define APPLY_KEEP_SOURCE 0x100ul     /* leave the source iterator where the walk ended */
#define APPLY_KEEP_REFERENCE 0x200ul  /* leave the reference iterator where the walk ended */
#define APPLY_KEEP_TARGET 0x400ul     /* leave the target iterator where the walk ended */

/* One attribute. On the free list pNext links the list. */
struct CVurlAttribute {
    const char* pszName;
    const char* pszValue;
    CVurlAttribute* pNext; /* next attribute of the same element, in document order */
};

/* One element, followed by the document's user-data area (CVurlElement::UserData). On the free list
 * pNextSibling links the list. */
struct CVurlNode {
    const char* pszTagName; /* never null in a tree */
    const char* pszData;    /* text, or null; an element with children has none */
    CVurlAttribute* pFirstAttribute;
    CVurlNode* pFirstChild;
    CVurlNode* pNextSibling; /* never looked at for the root */
    CVurlNode* pParent;      /* null for the root */
};

/* One entry of a CVurlElementList. On the free list pNext links the list. */
struct CVurlListNode {
    CVurlListNode* pNext;
    CVurlListNode* pPrev;
    CVurlIterator* pIterator; /* one for each entry; those of a list live as long as the list */
};

/* One block of a pool: this header, directly followed by nSize bytes of data. */
struct KALTO_API CVurlMemPool {
    unsigned nSize;      /* bytes of data, a multiple of 256 */
    unsigned nUsed;      /* bytes handed out, from the start */
    CVurlMemPool* pNext; /* next older block */

    /* A new block of n bytes raised to a multiple of 256, with nothing used, from the heap (release it with
     * free). Null when the heap is exhausted or the size cannot be expressed. */
    static CVurlMemPool* Create(unsigned n);
    /* Bytes not handed out yet. */
    unsigned Remaining() const;
};

/* An XML document. Owns its pools, with every record and string in them, and the buffer of WriteDoc. */
class KALTO_API CVurlDOM {
  public:
    void (CVurlDOM::*m_pfnOutput)(const char* text, unsigned length); /* the writer's sink */
    CVurlNode* m_pRoot;                                               /* null when the document is empty */
    char* m_pDocBuffer;          /* text made by WriteDoc (heap), or null */
    char* m_pOutputCursor;       /* where WriteDoc writes next */
    unsigned m_nDocSize;         /* where a failed ReadDoc stopped (0 after success); the writer's count */
    unsigned short m_nDocStyle;  /* DOCSTYLE_... */
    unsigned short m_nNodeSize;  /* bytes of a node record */
    CVurlMemPool* m_pStringPool; /* newest block first */
    CVurlMemPool* m_pObjectPool; /* newest block first */
    CVurlNode* m_pFreeNodes;     /* linked through pNextSibling */
    CVurlListNode* m_pFreeListNodes;   /* linked through pNext */
    CVurlAttribute* m_pFreeAttributes; /* linked through pNext */
    unsigned m_nError;                 /* code of the last failed parse; success does not clear it */
    unsigned m_nXPathError;            /* code of the last selection */
    unsigned m_nNodeReleases;          /* the library's own: how often nodes went to the free list */
    CVurlNode* m_pBeforeDeleted; /* the library's own: the element before the last deleted one, or null */

    /* An empty document without user data. */
    CVurlDOM();
    /* An empty document with userDataSize bytes of user data in each node, raised so that records stay
     * aligned (to a multiple of 4 on the 32-bit target, of the pointer size elsewhere). The size must fit
     * m_nNodeSize together with the node. With 0 m_nNodeSize stays 0, and nodes have no user data. */
    explicit CVurlDOM(unsigned short userDataSize);
    ~CVurlDOM();
    CVurlDOM(const CVurlDOM&) = delete;
    CVurlDOM& operator=(const CVurlDOM&) = delete;

    /* Reading. The readers empty the document first. */

    /* Makes room for a text of n bytes and returns its address: fill in n bytes, then call ReadDoc(). A zero
     * byte follows the room. Null when memory runs out. The buffer belongs to the document. */
    char* CreateDocBuffer(unsigned n);
    /* Parses, in place, the text that lies at the start of the newest string block. Returns 1, with the tree
     * in m_pRoot, or 0: m_nError says why (GetErrorDescription) and m_nDocSize at which byte parsing stopped.
     * Text after the root element is not read. */
    int ReadDoc();
    /* Copies the zero-terminated text into the document and parses it as ReadDoc() does. */
    int ReadDoc(const char* text);
    /* Makes a document of one empty element. Returns the document's copy of the name, or null. */
    char* CreateDOM(const char* rootName);
    /* Sets m_nDocStyle from the text up to its third element tag. */
    void ScanForDocStyle(const char* text);
    /* The parser's scanners, over zero-terminated text that they modify. ParseXMLToken ends a name at *pos
     * with a zero byte and skips blanks after it; ParseXMLData ends a text at the stop byte and decodes the
     * predefined entities on the way. Both move *pos and return the byte they stopped at, read as signed. */
    signed char ParseXMLToken(char** pos);
    signed char ParseXMLData(char** pos, char stop);
    /* The root's name, or null. */
    const char* GetRootTagName() const;
    /* The text of m_nError and m_nXPathError; "Unknown error" for a code without text. Static strings. */
    const char* GetErrorDescription() const;
    const char* GetXPathErrorDescription() const;

    /* Writing. */

    /* The document's text, in its layout, reserve bytes into a new buffer and with a zero byte behind it.
     * *pSize (if given) receives the length of the text alone, also on failure. Null when memory runs out or
     * the document is empty (size 0). The document owns the buffer until the next WriteDoc or FreeDOM. */
    char* WriteDoc(unsigned* pSize, unsigned reserve);
    /* Sends the whole document to the sink that m_pfnOutput selects. */
    void GenerateDoc();
    void Output(const char* text, unsigned length);
    void Output(const char* text);
    /* Output with markup characters replaced by entities; complete CDATA sections pass unchanged. */
    void OutputWithEntityConversion(const char* text);
    /* The two sinks: counting into m_nDocSize (stays at the largest count when it would overflow), and
     * copying to m_pOutputCursor. */
    void AccumulateDocSize(const char* text, unsigned length);
    void SendOutputToDocBuffer(const char* text, unsigned length);

    /* Records and strings. Each returns null when memory runs out, and leaves the pools as they were. */

    /* Carves exactly n bytes from a pool. */
    void* Alloc(unsigned n, CVurlMemPool** pool);
    /* A copy of s (null gives null), or n bytes left as they are. */
    char* AllocString(const char* s);
    char* AllocString(unsigned n);
    char* AllocTagName(const char* name);
    char* AllocAttributeName(const char* name);
    /* Zeroed records. */
    CVurlNode* AllocNode();
    CVurlAttribute* AllocAttribute();
    /* A list entry with a new iterator, which the caller deletes. */
    CVurlListNode* AllocListNode();
    /* Put one record on its free list; what it points to is not touched. */
    void FreeNode(CVurlNode* node);
    void FreeListNode(CVurlListNode* entry);
    void FreeAttribute(CVurlAttribute* attribute);
    /* Releases all attributes of a node. */
    void FreeAttributes(CVurlNode* node);
    /* Releases all descendants of a node, with their attributes, at any depth. */
    void DeleteChildren(CVurlNode* node);
    /* Copies one node, or a node with its subtree, into this document; src may belong to another one. Without
     * copyStrings the copy shares the strings of src. Null when memory runs out; nothing is left behind then.
     * Links of the copy are null, its user data is zero. */
    CVurlNode* CopyNode(CVurlNode* src, bool copyStrings);
    CVurlNode* CopyNodeTree(CVurlNode* src, bool copyStrings);
    /* Rewrites the string pool so that it holds the strings of the tree alone. Pointers to strings taken
     * earlier become invalid. When memory runs out the old strings stay. */
    void Clean();
    /* Releases everything and empties the document; style, node size and error codes stay. With log, notes
     * the steps in /var/log/messages. Iterators, elements and pointers into the document become invalid;
     * lists on it must be destroyed before. */
    void FreeDOM(bool log);
};

/* A handle on one element. Owns nothing; valid while the element stays in its tree. A null element (m_pNode
 * is null) answers each query with an empty result, but where a line says otherwise. */
class KALTO_API CVurlElement {
  public:
    CVurlDOM* m_pDOM;
    CVurlNode* m_pNode;

    CVurlElement();
    /* On the root of dom (which may be null), whose m_nXPathError is reset. */
    CVurlElement(CVurlDOM* dom);

    KALTO_API inline const char* GetTagName() const; /* the empty string for a null element */
    KALTO_API inline const char* GetData() const;    /* the text, or null */
    int HasChild() const;
    void* UserData() const; /* not for a null element */
    void DeleteData();      /* not for a null element */
    /* The value of the first attribute of that name (case-sensitive), or null. */
    const char* GetAttribute(const char* name) const;
    /* Stores a copy of text and returns it (null when memory runs out: nothing changed). Empty or null text
     * removes the text and returns the empty string; so does, changing nothing, a call on a null element or
     * one with children. Text that is there already is returned as it is. */
    const char* SetData(const char* text);
    /* SetData with the text of src. Null when either element is null; the same element: its text. */
    const char* CopyData(const CVurlElement* src);
    /* Stores a copy of name and returns it (null when memory runs out). Null name or null element: returns
     * name; empty name: changes nothing, returns the empty string; the name that it has: returns that. */
    const char* SetTagName(const char* name);
    void DeleteAttribute(const char* name);
    /* Sets or adds (at the end) an attribute and returns the stored value; 0 for a null element and when
     * memory runs out. A null value deletes the attribute and returns the empty string. Without copy the
     * given pointers are stored: they must live as long as the document. */
    const char* SetAttribute(const char* name, const char* value, bool copy);
    const char* SetAttribute(const char* name, const char* value);
    /* Sets the attribute as src has it. Where src lacks it: within one document nothing changes and the
     * result is 0; from another document the attribute is deleted here. */
    const char* CopyAttribute(const CVurlElement* src, const char* name);

    /* Select elements by an expression (<kalto/xpath.h> says which there are), starting from this element,
     * and leave the outcome in the document's m_nXPathError: 0, or 4 for no match, or what was wrong with the
     * expression. This element is the cursor of the selection and is left moved: at the root by an absolute
     * path, at the topmost ancestor by ancestor:: and ancestor-or-self::, at the last child by descendant::,
     * at the last sibling by following-sibling::. Select with a copy to keep the place. An iterator that
     * selects through a pointer to an element is moved, but its depth stays as it was. */

    /* A new list, at its head and possibly empty, for the caller to delete; null for a wrong expression. */
    CVurlElementList* selectNodes(const char* xpath);
    /* The first element that selectNodes would list, or an iterator with all fields zero. */
    CVurlIterator selectSingleNode(const char* xpath);
};

/* An element handle that moves through the tree and edits it. Moving results are 1, or 0 when there is
 * nowhere to move to (the iterator stays). */
class KALTO_API CVurlIterator : public CVurlElement {
  public:
    short m_nDepth;            /* below the element where the iterator was bound; negative above it */
    short m_nTraverseBase;     /* depth at which BeginTraverseHere was called */
    unsigned short m_bDescend; /* the next traversal step tries the first child */
    signed char m_nDepthHigh; /* the library's own: carry of m_nDepth, for trees of more than 32,767 levels */
    signed char m_nTraverseHigh;     /* the library's own: the same for m_nTraverseBase */
    CVurlAttribute* m_pCurAttribute; /* cursor of GetFirstAttribute and GetNextAttribute */

    /* Copying an iterator copies all of it; assigning leaves the traversal fields as they are. */
    CVurlIterator();
    CVurlIterator(const CVurlIterator&) = default;
    CVurlIterator& operator=(const CVurlIterator& other);
    /* Whether both are on the same element. */
    bool operator==(CVurlIterator other) const;

    int BindToDOM(CVurlDOM* dom); /* to its root, at depth 0; 0 when it is empty */
    void SetSubRoot(CVurlDOM* dom, CVurlNode* node);
    bool IsRoot() const;  /* whether the depth is 0 */
    int ToRootElement();  /* the document's root; the depth becomes 0 in any case */
    int ToFirstElement(); /* first sibling; always 1 */
    KALTO_API inline int ToNextElement();
    KALTO_API inline int ToChildElement();
    KALTO_API inline int ToParentElement(); /* climbing above the bound element is allowed */

    /* Attributes in document order; 0 at the end. name and value belong to the document. */
    int GetFirstAttribute(const char** name, const char** value);
    int GetCurrentAttribute(const char** name, const char** value);
    int GetNextAttribute(const char** name, const char** value);
    /* The value on this element or on the nearest ancestor that has it, or null. */
    const char* GetAttributeInherit(const char* name) const;

    /* As those of the element; the depth goes with the moves. */
    CVurlElementList* selectNodes(const char* xpath);
    CVurlIterator selectSingleNode(const char* xpath);

    /* A pre-order walk of the current element's descendants. BeginTraverseHere moves to the first one and
     * returns 1, or 0 when there is none. ContinueTraverse returns 1 when it has moved to the next one, 2
     * when it has not (call again), and 0 at the end, back on the element where the walk began. The element
     * that the walk stands on may be deleted with DeleteElement. */
    int BeginTraverseHere();
    int ContinueTraverse();

    /* Inserts a node, a new element, or a copy of src and its subtree, and moves to it. 0 when memory runs
     * out, when there is no current element, and for a sibling of the bound element (depth 0). An element
     * that receives a child loses its text. InsertNode returns 1 without inserting when node is null or there
     * is no parent to be first child of. */
    int InsertNode(CVurlNode* node, VURL_LOCATION where);
    int InsertElement(const char* name, VURL_LOCATION where);
    int InsertCopyOfElement(const CVurlElement& src, VURL_LOCATION where);
    void DeleteChildren();
    /* Removes the current element with its subtree. Nothing happens at depth 0. The iterator stays on the
     * removed element and moves on from it as if it were still in place. */
    void DeleteElement();

    /* Copies text and attributes of src onto dst; attributes that only dst has stay. False when memory runs
     * out. */
    static bool DefaultCopier(const CVurlElement* src, CVurlElement* dst);
    /* Merges: walks the descendants of *source in pre-order, asks decide how each corresponds to the children
     * of the element at the same place below this iterator (and, when reference is given, below *reference),
     * and does what the APPLY_ bits say. A null copier is DefaultCopier. context goes to the decisions about
     * the reference; those about the target get null. Returns 1; 0 when the arguments allow no walk or memory
     * ran out on the last creation. The callbacks may delete any element but those the three iterators start
     * on: a walk whose element is gone goes on after the nearest ancestor that is left. */
    int Apply(CVurlIterator* source, CVurlIterator* reference,
              unsigned long (*decide)(const CVurlElement*, const CVurlElement*, void*),
              bool (*copier)(const CVurlElement*, CVurlElement*), void* context);
};

/* What walks are made of is inline; the library exports it as well. */
inline const char* CVurlElement::GetTagName() const {
    return m_pNode == nullptr || m_pNode->pszTagName == nullptr ? "" : m_pNode->pszTagName;
}

inline const char* CVurlElement::GetData() const {
    return m_pNode == nullptr ? nullptr : m_pNode->pszData;
}

inline int CVurlIterator::ToNextElement() {
    if (m_pNode == nullptr || m_pNode->pNextSibling == nullptr)
        return 0;
    m_pNode = m_pNode->pNextSibling;
    return 1;
}

inline int CVurlIterator::ToChildElement() {
    if (m_pNode == nullptr || m_pNode->pFirstChild == nullptr)
        return 0;
    m_pNode = m_pNode->pFirstChild;
    if (m_nDepth == 0x7FFF)
        ++m_nDepthHigh;
    m_nDepth = static_cast<short>(m_nDepth + 1);
    return 1;
}

inline int CVurlIterator::ToParentElement() {
    if (m_pNode == nullptr || m_pNode->pParent == nullptr)
        return 0;
    m_pNode = m_pNode->pParent;
    if (m_nDepth == -0x8000)
        --m_nDepthHigh;
    m_nDepth = static_cast<short>(m_nDepth - 1);
    return 1;
}

/* The ordered result of a selection: every element once, in the order of adding. The entries hold copies of
 * iterators. Destroy a list before its document is freed. */
class KALTO_API CVurlElementList {
  public:
    CVurlDOM* m_pDOM;
    CVurlListNode* m_pHead;
    CVurlListNode* m_pTail;
    CVurlListNode* m_pCurrent;
    unsigned m_nCount;
    void* m_pIndex;  /* the library's own: the elements of a long list by address, or null */
    void* m_pBlocks; /* the library's own: memory of the entries' iterators */

    explicit CVurlElementList(CVurlDOM* dom);
    ~CVurlElementList();
    CVurlElementList(const CVurlElementList&) = delete;
    CVurlElementList& operator=(const CVurlElementList&) = delete;

    /* Appends a copy of *it unless its element is in the list already. The current entry does not move, but
     * the first entry becomes current. 0 when memory runs out. */
    int Add(CVurlIterator* it);
    void Head(); /* makes the first entry current */
    int Next();  /* makes the next one current; 0 when there is none, and no entry is current then */
    int AtHead() const;
    int Previous(); /* 0, staying, at the head and in a list of fewer than two entries */
    /* Copies the current entry's iterator and advances; 0 when there is no current entry. */
    int nextNode(CVurlIterator* out);
    /* Copies the current entry's iterator; there must be one. The result says whether out is null, so it is 0
     * for every real destination. */
    int peekNode(CVurlIterator* out) const;
    /* Removes the current entry. Its predecessor becomes current, or the new head when it was the head. 0
     * when there is no current entry. */
    int Delete();
};

#endif
