#include "catalogue.h"

#include <memory>

namespace {

// The number of cents of "12.34" or "12"; digits behind the second place are dropped.
DWORD Cents(const char* price) {
    DWORD cents = 0;
    int places = -1; // behind the point; -1 before it
    for (; price != nullptr && *price != '\0' && places < 2; ++price) {
        if (*price == '.')
            places = 0;
        else if (*price >= '0' && *price <= '9') {
            cents = cents * 10 + static_cast<DWORD>(*price - '0');
            places += places < 0 ? 0 : 1;
        }
    }
    for (places = places < 0 ? 0 : places; places < 2; ++places)
        cents *= 10;
    return cents;
}

} // namespace

bool Catalogue::Read(const std::string& text) {
    return document_.ReadDoc(text.c_str()) != 0;
}

DWORD Catalogue::Count() {
    const std::unique_ptr<CVurlElementList> articles(CVurlElement(&document_).selectNodes("/article"));
    return articles == nullptr ? 0 : articles->m_nCount;
}

bool Catalogue::Find(const std::string& code, Article& article) {
    if (code.find_first_not_of("0123456789") != std::string::npos)
        return false; // what an expression could not hold is no code either
    CVurlElement root(&document_);
    CVurlIterator found = root.selectSingleNode(("/article[@code='" + code + "']").c_str());
    if (found.m_pNode == nullptr)
        return false;
    article.price = Cents(found.GetAttribute("price"));
    const char* name = found.selectSingleNode("name").GetData();
    article.name = name == nullptr ? "(no name)" : name;
    return true;
}
