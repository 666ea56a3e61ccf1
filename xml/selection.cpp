// The two ways to select elements by an expression.
#include <kalto/xml.h>
#include <kalto/xpath.h>

#include "xml/xpath_token.h"

#include <new>

// iterator is the context once more when it is an iterator, else null.
struct kalto::Selection {
    // Runs the query at the context, which is moved, and keeps its outcome in the document.
    static int32_t run(const char* xpath, CVurlElement* context, CVurlIterator* iterator,
                       CVurlElementList* results, bool first_only) {
        if (!context->m_pDOM)
            return kXPathNoMatch;
        const int32_t error = CVurlXpath(xpath, context, iterator, results, first_only).m_nError;
        context->m_pDOM->m_nXPathError = static_cast<unsigned>(error);
        return error;
    }

    static CVurlElementList* nodes(const char* xpath, CVurlElement* context, CVurlIterator* iterator) {
        CVurlElementList* results = new (std::nothrow) CVurlElementList(context->m_pDOM);
        if (!results) {
            if (context->m_pDOM)
                context->m_pDOM->m_nXPathError = kXPathMalformed;
            return nullptr;
        }
        const int32_t error = run(xpath, context, iterator, results, false);
        if (error == kXPathNoError || error == kXPathNoMatch) {
            results->Head();
            return results;
        }
        delete results;
        return nullptr;
    }

    static CVurlIterator single_node(const char* xpath, CVurlElement* context, CVurlIterator* iterator) {
        CVurlElementList results(context->m_pDOM);
        CVurlIterator found;
        if (run(xpath, context, iterator, &results, true) == kXPathNoError) {
            results.Head();
            results.peekNode(&found);
        }
        return found;
    }
};

CVurlElementList* CVurlElement::selectNodes(const char* xpath) {
    return kalto::Selection::nodes(xpath, this, nullptr);
}

CVurlIterator CVurlElement::selectSingleNode(const char* xpath) {
    return kalto::Selection::single_node(xpath, this, nullptr);
}

CVurlElementList* CVurlIterator::selectNodes(const char* xpath) {
    return kalto::Selection::nodes(xpath, this, this);
}

CVurlIterator CVurlIterator::selectSingleNode(const char* xpath) {
    return kalto::Selection::single_node(xpath, this, this);
}
