// The texts of the error codes.
#include <kalto/xml.h>

namespace {

// Code 13, an unterminated CDATA section, has no text.
constexpr const char* kParseErrors[] = {"",
                                        "Incomplete XML document",
                                        "Tree is too deep",
                                        "Unexpected end tag",
                                        "Missing root tag",
                                        "Unterminated tag",
                                        "Mismatched end tag",
                                        "Unterminated comment",
                                        "Unterminated attribute",
                                        "Missing attribute name",
                                        "Missing attribute value",
                                        "Internal memory error",
                                        "Invalid tag syntax"};

// Deliberate: the last text is misspelt, as applications compare it.
constexpr const char* kSelectionErrors[] = {"",
                                            "Invalid Character in xpath",
                                            "Reserved word in xpath",
                                            "Malformed xpath expression",
                                            "No match found",
                                            "Unsupported xpath exression"};

} // namespace

const char* CVurlDOM::GetErrorDescription() const {
    return m_nError < ARRAYSIZE(kParseErrors) ? kParseErrors[m_nError] : "Unknown error";
}

const char* CVurlDOM::GetXPathErrorDescription() const {
    return m_nXPathError < ARRAYSIZE(kSelectionErrors) ? kSelectionErrors[m_nXPathError] : "Unknown error";
}
