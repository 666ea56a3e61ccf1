// What a walk remembers about pairs of a step and an element, so that it never does the same twice.
#ifndef KALTO_XML_XPATH_VISITS_H
#define KALTO_XML_XPATH_VISITS_H

#include <kalto/xml.h>

namespace kalto {

// Flags of one pair.
constexpr unsigned kTried = 1;        // the path from the step on was matched at the element
constexpr unsigned kTriedMatched = 2; // ... and selected something
constexpr unsigned kWalked = 4;       // ... at the element and all its descendants
constexpr unsigned kWalkMatched = 8;  // ... and selected something

// A hash table from elements to rows of four bits for each step. A row is made when the first flag is set.
class Visits {
  public:
    Visits() = default;
    ~Visits();
    Visits(const Visits&) = delete;
    Visits& operator=(const Visits&) = delete;

    // Begins to remember, for steps numbered below steps. False when memory runs out.
    bool start(unsigned steps);
    bool started() const { return m_slots != nullptr; }
    unsigned get(const CVurlNode* element, unsigned step) const;
    // Adds flags. False when memory runs out.
    bool set(const CVurlNode* element, unsigned step, unsigned flags);

  private:
    struct Slot {
        const CVurlNode* element;
        unsigned row;
    };

    Slot& slot_of(const CVurlNode* element) const;
    bool grow();
    void add_row(Slot& slot, const CVurlNode* element);

    Slot* m_slots = nullptr;         // open addressing; a slot without element is free
    unsigned m_capacity = 0;         // slots, a power of two
    unsigned m_count = 0;            // rows, each with a slot
    size_t m_row_size = 0;           // bytes
    unsigned char* m_rows = nullptr; // room for half as many rows as there are slots
};

} // namespace kalto

#endif
