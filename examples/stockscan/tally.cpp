#include "tally.h"

void Tally::AddArticle(const std::string& code, const Article& article, DWORD count) {
    articles_.insert({code, {article, 0}}).first->second.count += count;
}

void Tally::AddUnknown(const std::string& code, DWORD count) {
    unknown_[code] += count;
}

void Tally::AddBad(const std::string& code, DWORD reason, DWORD count) {
    bad_.insert({code, {reason, 0}}).first->second.count += count;
}

void Tally::Add(const Tally& other) {
    for (const auto& [code, counted] : other.articles_)
        AddArticle(code, counted.article, counted.count);
    for (const auto& [code, count] : other.unknown_)
        AddUnknown(code, count);
    for (const auto& [code, counted] : other.bad_)
        AddBad(code, counted.reason, counted.count);
}
