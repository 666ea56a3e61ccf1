// Going through the sets of elements at which a path is matched.
#include "xml/xpath_match.h"

#include "xml/depth.h"
#include "xml/element_list.h"
#include "xml/xpath_predicate.h"

namespace kalto {
namespace {

// A walk that has looked at this many elements begins to remember, if its form can repeat itself.
constexpr unsigned kLongWalk = 4096;

} // namespace

PathMatcher::Set& PathMatcher::push(SetKind kind, unsigned step, Place first) {
    Set& set = m_sets[m_set_count++];
    set = {first.element, nullptr, nullptr,        first, first.depth, step,
           step,          kind,    Resume::kNever, false, false,       false};
    return set;
}

// Goes through the sets on the stack. matched: whether something was added before.
bool PathMatcher::run(bool matched) {
    m_matched = matched;
    while (m_set_count > 0 && !m_stopped) {
        Set& set = m_sets[m_set_count - 1];
        if (m_steps[set.step].leaf && !m_visits.started())
            match_leaves(set);
        else if (!next_candidate(set))
            finish_set();
        else if (worth_matching(set))
            settle(match({set.step, {set.at, set.depth}, false}, true));
    }
    m_set_count = 0;
    if (m_stopped)
        m_last = nullptr;
    return m_matched || m_stopped; // at the first result, or for want of memory (see good)
}

// The set on top has no more elements: goes on at the element that led to it.
void PathMatcher::finish_set() {
    const Set set = m_sets[--m_set_count];
    const bool goes_on = set.resume != Resume::kNever && set.matched == (set.resume == Resume::kIfMatched);
    const bool matched = set.matched || set.matched_before;
    settle(goes_on ? go_on({set.resume_step, set.owner, matched}) : matched ? Outcome::kYes : Outcome::kNo);
}

// The element of the set on top is done, unless a new set lies on top of that.
void PathMatcher::settle(Outcome outcome) {
    if (outcome == Outcome::kWaits)
        return;
    const bool matched = outcome == Outcome::kYes;
    if (m_set_count == 0) {
        m_matched = m_matched || matched;
        return;
    }
    Set& set = m_sets[m_set_count - 1];
    set.matched = set.matched || matched;
    if (m_visits.started()) {
        if (!m_visits.set(set.at, set.step, matched ? kTried | kTriedMatched : kTried))
            fail();
        else if (matched && set.kind == SetKind::kSubtree)
            remember_match(set);
    }
}

CVurlNode* PathMatcher::next_element(Set& set) {
    switch (set.kind) {
    case SetKind::kSubtree:
        return next_in_subtree(set);
    case SetKind::kSiblings: {
        CVurlNode* next = set.at ? set.at->pNextSibling : set.first;
        return next == set.end ? nullptr : next;
    }
    case SetKind::kAncestors:
        if (!set.at)
            return set.first;
        --set.depth;
        return set.at->pParent;
    default:
        return set.at ? nullptr : set.first;
    }
}

CVurlNode* PathMatcher::next_in_subtree(Set& set) {
    CVurlNode* at = set.at;
    if (!at)
        return set.first;
    if (at->pFirstChild && !set.skip) {
        ++set.depth;
        return at->pFirstChild;
    }
    set.skip = false;
    while (at != set.end && !at->pNextSibling) {
        at = at->pParent;
        --set.depth;
    }
    return at == set.end ? nullptr : at->pNextSibling;
}

// Moves a set to its next element that has the name, if there is one.
template <typename Next> void PathMatcher::to_next_named(Set& set, const char* name, Next next) {
    do {
        ++m_work;
        m_last = set.at;
        set.at = next(set);
    } while (set.at && !same_name(set.at->pszTagName, name));
}

// Moves a set to its next element, past those that a name rules out. False at its end.
bool PathMatcher::next_candidate(Set& set) {
    const Step& step = m_steps[set.step];
    if (step.op != Op::kName || m_visits.started()) {
        ++m_work;
        m_last = set.at;
        set.at = next_element(set);
    } else if (set.kind == SetKind::kSubtree) {
        to_next_named(set, step.name, next_in_subtree);
    } else {
        to_next_named(set, step.name, next_element);
    }
    return set.at != nullptr;
}

PathMatcher::Outcome PathMatcher::add(Place place, CVurlAttribute* attribute) {
    m_hit.m_pNode = place.element;
    m_hit.m_pCurAttribute = attribute;
    set_depth(&m_hit, place.depth);
    if (!(m_distinct ? append(m_results, m_hit) : m_results->Add(&m_hit) != 0))
        fail();
    m_stopped = m_stopped || m_first_only;
    return Outcome::kYes;
}

// Deliberate: a predicate ends its path, so that a[x]/b selects each such a, and a[x][y] looks at x alone.
// Lists that applications work on were made that way.
PathMatcher::Outcome PathMatcher::match_predicate(unsigned step, const State& state) {
    const XPathAction& record = *m_steps[step].record;
    const CVurlNode& element = *state.place.element;
    if (m_steps[step].op == Op::kEqual ? passes_equal(element, record) : passes_not_equal(element, record))
        return add(state.place);
    return state.matched ? Outcome::kYes : Outcome::kNo;
}

// The short way through a set whose elements need none of their own.
void PathMatcher::match_leaves(Set& set) {
    const bool last = set.step + 1 == m_count;
    while (!m_stopped && next_candidate(set)) {
        const State state{set.step, {set.at, set.depth}, false};
        if ((last ? add(state.place) : match_predicate(set.step + 1, state)) == Outcome::kYes)
            set.matched = true;
    }
    if (!set.at)
        finish_set();
}

// Whether the element that a set has come to must be looked at; if not, the set has its outcome.
bool PathMatcher::worth_matching(Set& set) {
    if (!m_visits.started()) {
        if (!m_can_repeat || m_work < kLongWalk)
            return true;
        if (!m_visits.start(m_count))
            fail();
        return m_good;
    }
    const unsigned flags = m_visits.get(set.at, set.step);
    if (set.kind == SetKind::kSubtree) {
        if ((flags & kWalked) != 0) {
            set.skip = true;
            set.matched = set.matched || (flags & kWalkMatched) != 0;
            if ((flags & kWalkMatched) != 0)
                remember_match(set);
            return false;
        }
        if (!m_visits.set(set.at, set.step, kWalked))
            fail();
    }
    const Step& step = m_steps[set.step];
    if (step.op == Op::kName && !same_name(set.at->pszTagName, step.name))
        return false;
    if ((flags & kTried) == 0)
        return m_good;
    if ((flags & kTriedMatched) != 0) {
        set.matched = true;
        if (set.kind == SetKind::kSubtree)
            remember_match(set);
    }
    return false;
}

// Something matched in the subtree of set.at: notes it there and at every element above, up to the set's top
// or to one that has the note (and, with it, all above).
void PathMatcher::remember_match(const Set& set) {
    for (const CVurlNode* at = set.at; at; at = at->pParent) {
        if (at != set.at && (m_visits.get(at, set.step) & kWalkMatched) != 0)
            return;
        if (!m_visits.set(at, set.step, kWalkMatched))
            fail();
        if (at == set.end)
            return;
    }
}

} // namespace kalto
