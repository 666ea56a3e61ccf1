// The articles that there are, from a document like this one:
//
//   <catalogue>
//       <article code="2000010000016" price="1.49"><name>Roll</name></article>
//   </catalogue>
//
// A document is for one thread at a time, so each worker has a catalogue of its own.
#ifndef STOCKSCAN_CATALOGUE_H
#define STOCKSCAN_CATALOGUE_H

#include <kalto/xml.h>
#include <string>
#include <windows.h>

struct Article {
    std::string name;
    DWORD price; // in cents
};

class Catalogue {
  public:
    Catalogue() = default;
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;

    // Reads a document; false when it is faulty.
    bool Read(const std::string& text);
    // What was wrong with it.
    const char* Fault() const { return document_.GetErrorDescription(); }
    // How many articles there are.
    DWORD Count();
    // Looks an article up by its code; false when there is none.
    bool Find(const std::string& code, Article& article);

  private:
    CVurlDOM document_;
};

#endif
