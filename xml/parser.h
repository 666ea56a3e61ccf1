// Parses a document's text in place: one pass, no copy, no recursion.
//
// Invariants while parsing:
// 1. The text ends in a zero byte, which is never overwritten by another; the position never passes it.
// 2. open_[0 .. depth_ - 1] are the open elements; last_ is the last element closed among the current
//    siblings, or null.
// 3. node_ and attribute_ belong to no element yet. Either is null when it could not be allocated, which is
//    reported when it is needed.
#ifndef KALTO_XML_PARSER_H
#define KALTO_XML_PARSER_H

#include "xml/chunk.h"
#include "xml/parser_guesses.h"
#include "xml/record_carver.h"

namespace kalto {

class Parser {
  public:
    // block_end is null when there is no text. Without keeping, records are used again and no tree comes out.
    Parser(CVurlDOM* dom, const char* block_end, bool keeps)
        : keeps_(keeps), records_(dom), node_(records_.node()), attribute_(records_.attribute()),
          block_end_(block_end), last_chunk_(block_end == nullptr ? nullptr : block_end - 16) {}
    // 0, or the code of the first fault; *stopped is where it was found.
    unsigned parse(char* text, char** stopped);
    CVurlNode* root() const { return last_; }
    CVurlNode* spare_node() const { return node_; }
    CVurlAttribute* spare_attribute() const { return attribute_; }

  private:
    static constexpr unsigned kMaxDepth = 64;

    KALTO_HOT bool text(char*& p);
    KALTO_HOT bool skip_markup(char*& p, unsigned& error);
    bool no_element(char** position, unsigned* error);
    bool cdata(char** position, unsigned* error);
    KALTO_HOT unsigned end_tag(char*& p);
    KALTO_HOT unsigned start_tag(char*& p);
    KALTO_HOT unsigned attributes(char*& p, signed char& stopped);
    KALTO_HOT unsigned one_attribute(char*& p, Opening& usual);
    [[gnu::noinline]] unsigned unusual_opening(char** position, char* quote, Opening* usual) const;
    KALTO_HOT unsigned add_element(const char* data);
    template <char quote> KALTO_HOT bool value(char*& p);
    KALTO_HOT bool slow_text(char*& p, char stop, size_t* shift) const;
    KALTO_HOT signed char name(char*& p) const;

    bool keeps_;
    RecordCarver records_;
    CVurlNode* node_;
    CVurlAttribute* attribute_;
    const char* block_end_;
    const char* last_chunk_; // where the last sixteen bytes of the text's block begin
    Repeated gap_{'<'};
    Opening openings_[8]; // of the first attribute, the second ... of the elements before
    size_t shift_ = 0;    // how far the current text has moved left
    unsigned depth_ = 0;
    unsigned pending_ = 0;
    CVurlNode* last_ = nullptr;
    CVurlNode* open_[kMaxDepth] = {};
};

} // namespace kalto

#endif
