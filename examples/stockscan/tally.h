// What was scanned, counted by code. Each worker has a tally of its own; the sum of them does not depend on
// which worker had which code.
#ifndef STOCKSCAN_TALLY_H
#define STOCKSCAN_TALLY_H

#include "catalogue.h"

#include <map>

struct ArticleCount {
    Article article;
    DWORD count;

    ULONGLONG Amount() const { return static_cast<ULONGLONG>(article.price) * count; }
};

struct BadCount {
    DWORD reason; // a result of CheckCode
    DWORD count;
};

class Tally {
  public:
    void AddArticle(const std::string& code, const Article& article, DWORD count = 1);
    void AddUnknown(const std::string& code, DWORD count = 1);
    void AddBad(const std::string& code, DWORD reason, DWORD count = 1);
    void Add(const Tally& other);

    const std::map<std::string, ArticleCount>& Articles() const { return articles_; }
    const std::map<std::string, DWORD>& Unknown() const { return unknown_; }
    const std::map<std::string, BadCount>& Bad() const { return bad_; }

  private:
    std::map<std::string, ArticleCount> articles_;
    std::map<std::string, DWORD> unknown_;
    std::map<std::string, BadCount> bad_;
};

#endif
