// The two ways to select elements by an expression.
#include <kalto/xml.h>
#include <kalto/xpath.h>

#include "xml/xpath_token.h"

#include <new>

namespace {

// Runs the query at the context, which is moved, and keeps its outcome in the document.
template <typename Context> int32_t select(const char* xpath, Context* context, CVurlElementList* results) {
    if (!context->m_pDOM)
        return kalto::kXPathNoMatch;
    const int32_t error = CVurlXpath(xpath, context, results).m_nError;
    context->m_pDOM->m_nXPathError = static_cast<unsigned>(error);
    return error;
}

template <typename Context> CVurlElementList* select_nodes(const char* xpath, Context* context) {
    CVurlElementList* results = new (std::nothrow) CVurlElementList(context->m_pDOM);
    if (!results) {
        if (context->m_pDOM)
            context->m_pDOM->m_nXPathError = kalto::kXPathMalformed;
        return nullptr;
    }
    const int32_t error = select(xpath, context, results);
    if (error == kalto::kXPathNoError || error == kalto::kXPathNoMatch) {
        results->Head();
        return results;
    }
    delete results;
    return nullptr;
}

template <typename Context> CVurlIterator select_single_node(const char* xpath, Context* context) {
    CVurlElementList results(context->m_pDOM);
    CVurlIterator found;
    if (select(xpath, context, &results) == kalto::kXPathNoError) {
        results.Head();
        results.peekNode(&found);
    }
    return found;
}

} // namespace

CVurlElementList* CVurlElement::selectNodes(const char* xpath) {
    return select_nodes(xpath, this);
}

CVurlIterator CVurlElement::selectSingleNode(const char* xpath) {
    return select_single_node(xpath, this);
}

CVurlElementList* CVurlIterator::selectNodes(const char* xpath) {
    return select_nodes(xpath, this);
}

CVurlIterator CVurlIterator::selectSingleNode(const char* xpath) {
    return select_single_node(xpath, this);
}
