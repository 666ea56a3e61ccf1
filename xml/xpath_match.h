// The walk that matches the records of a parsed expression at the elements of a tree.
#ifndef KALTO_XML_XPATH_MATCH_H
#define KALTO_XML_XPATH_MATCH_H

#include "xml/xpath_visits.h"
#include <kalto/xml.h>
#include <kalto/xpath.h>

namespace kalto {

// An element and its depth (as an iterator counts it).
struct Place {
    CVurlNode* element;
    int depth;
};

// Matches the records from one on, and adds the elements that it finds to a list. The position of a record
// among them is its step, from 0.
//
// Matching a step at an element leads to matching later steps at other elements: sets of them, such as its
// children. The sets that are being gone through lie on a stack of the walk's own:
//   1. The steps of the sets on the stack grow strictly from bottom to top, so there are never more of them
//   than steps.
//   2. A set keeps the place in the tree by pointers to elements, so that its size does not depend on the
//   tree's.
//   3. The outcome for a step and an element depends on nothing else. Adding the elements that it led to
//   again changes
//      nothing, so it need be found only once: when a walk gets long and its form could repeat itself, it
//      begins to remember outcomes (Visits), which bounds the work by steps times elements.
class PathMatcher {
  public:
    PathMatcher(const CVurlXPNode* first, CVurlDOM* dom, CVurlElementList* results);
    ~PathMatcher();
    PathMatcher(const PathMatcher&) = delete;
    PathMatcher& operator=(const PathMatcher&) = delete;

    // False when memory ran out: nothing may be matched then, or not everything was.
    bool good() const { return m_good; }
    // The last of the elements that the walk was to match the path at; null if there was none, or unknown.
    CVurlNode* last() const { return m_last; }
    // Ends every walk at its first result.
    void stop_at_first() { m_first_only = true; }

    // Each matches the path from a step on at some elements, in document order (ancestors: nearest first),
    // and returns whether anything was added.
    bool at(unsigned step, Place place);
    bool at_children(unsigned step, Place place); // "*" included
    bool at_subtree(unsigned step, Place place);
    bool below(unsigned step, Place place); // the subtree without its top
    bool at_siblings(unsigned step, Place first, const CVurlNode* end);
    bool at_ancestors(unsigned step, Place place);
    // The @name step at one element.
    bool at_attribute(unsigned step, Place place);

  private:
    // What a step does at an element.
    enum class Op : unsigned char { kNothing, kParent, kSubtree, kAttribute, kEqual, kNotEqual, kName, kAny };
    // What it does at the children of an element.
    enum class Fan : unsigned char { kNone, kAddAll, kNextStep, kThisStep };
    struct Step {
        const XPathAction* record;
        const char* name;
        Op op;
        Fan fan;
        bool before_predicate;
        bool leaf; // a name whose elements lead to no others
    };

    enum class SetKind : unsigned char { kSingle, kSiblings, kSubtree, kAncestors };
    // How matching goes on at the owner of a set, from resume_step, when the set is done.
    enum class Resume : unsigned char { kNever, kUnlessMatched, kIfMatched };
    struct Set {
        CVurlNode* first;
        CVurlNode* at;        // the element being matched, null before the first one
        const CVurlNode* end; // siblings: not visited any more; subtree: its top
        Place owner;          // the element whose matching led here
        int depth;            // of at
        unsigned step;
        unsigned resume_step;
        SetKind kind;
        Resume resume;
        bool matched_before; // the owner, before this set
        bool matched;
        bool skip; // subtree: leave out what is below at
    };
    // A step to be matched at an element; matched: something was added on the way there.
    struct State {
        unsigned step;
        Place place;
        bool matched;
    };
    // kWaits: a new set decides. kGoesOn: the state was moved, to be matched there.
    enum class Outcome : unsigned char { kNo, kYes, kWaits, kGoesOn };

    static Op op_of(const XPathAction& record);
    static Fan fan_of(const XPathAction& record, bool last);
    bool allocate();
    bool can_repeat(unsigned from, bool nested) const;
    bool is_distinct(unsigned from, bool nested) const;
    void prepare(unsigned step, bool nested);

    Set& push(SetKind kind, unsigned step, Place first);
    bool run(bool matched = false);
    void finish_set();
    void settle(Outcome outcome);
    static CVurlNode* next_element(Set& set);
    static CVurlNode* next_in_subtree(Set& set);
    template <typename Next> void to_next_named(Set& set, const char* name, Next next);
    bool next_candidate(Set& set);
    void match_leaves(Set& set);
    bool worth_matching(Set& set);
    void remember_match(const Set& set);

    Outcome match(State state, bool named);
    Outcome go_on(const State& state);
    Outcome match_step(State& state);
    Outcome match_parent(State& state);
    Outcome match_subtree(const State& state);
    Outcome match_attribute(const State& state);
    Outcome match_named(State& state);
    Outcome match_predicate(unsigned step, const State& state);
    Outcome match_any(State& state);
    Outcome fan_out(unsigned step, const State& owner, Resume resume);
    Outcome add(Place place, CVurlAttribute* attribute = nullptr);
    Outcome add_children(Place place);
    void fail();

    static constexpr unsigned kInlineSteps = 8;
    Step m_inline_steps[kInlineSteps + 1];
    Set m_inline_sets[kInlineSteps + 1];
    Step* m_steps = m_inline_steps; // one more than there are, an end that matches nothing
    Set* m_sets = m_inline_sets;
    unsigned m_count = 0;     // steps
    unsigned m_set_count = 0; // on the stack
    unsigned m_work = 0;      // elements looked at, while it matters
    CVurlElementList* const m_results;
    CVurlIterator m_hit; // what is added
    CVurlNode* m_last = nullptr;
    Visits m_visits;
    const bool m_list_was_empty;
    bool m_can_repeat = false;
    bool m_distinct = false; // nothing is added twice, so that nobody need look
    bool m_matched = false;  // the outcome of a walk
    bool m_first_only = false;
    bool m_stopped = false;
    bool m_good = true;
};

} // namespace kalto

#endif
