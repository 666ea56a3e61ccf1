#include "xml/xpath_match.h"

#include "xml/depth.h"
#include "xml/xpath_predicate.h"
#include "xml/xpath_token.h"

#include <cstdlib>

namespace kalto {
namespace {

// A walk that has looked at this many elements begins to remember, if its form can repeat itself.
constexpr unsigned kLongWalk = 4096;
// Many elements can lead to one parent, and to all its children again.
constexpr unsigned kParentWork = 256;

const XPathAction& record_of(const CVurlXPNode& cell) {
    return *static_cast<const XPathAction*>(cell.data);
}

bool is_predicate(const XPathAction& record) {
    return record.tokenKind == kTokenBracket || record.tokenKind == kTokenEqual ||
           record.tokenKind == kTokenNotEqual;
}

} // namespace

PathMatcher::Op PathMatcher::op_of(const XPathAction& record) {
    if (record.axis == kAxisParent)
        return Op::kParent;
    if (record.axis == kAxisDescendantOrSelf)
        return Op::kSubtree;
    if (record.axis == kAxisAttribute)
        return record.attributeName ? Op::kAttribute : Op::kNothing;
    switch (record.tokenKind) {
    case kTokenBracket:
    case kTokenEqual:
        return Op::kEqual;
    case kTokenNotEqual:
        return Op::kNotEqual;
    case kTokenName:
        return Op::kName;
    case kTokenAny:
        return Op::kAny;
    default:
        return Op::kNothing; // an axis behind the first step, or a number
    }
}

PathMatcher::Fan PathMatcher::fan_of(const XPathAction& record, bool last) {
    if (record.axis == kAxisAttribute || record.axis == kAxisSelf)
        return Fan::kNone;
    // Deliberate: the step behind * is tested at the children themselves, so that */a is a. It is what gives
    // * its predicate, and applications write */ to mean "the children that are".
    if (record.tokenKind == kTokenAny)
        return last ? Fan::kAddAll : Fan::kNextStep;
    return record.index == 0 ? Fan::kNone : Fan::kThisStep;
}

PathMatcher::PathMatcher(const CVurlXPNode* first, CVurlDOM* dom, CVurlElementList* results)
    : m_results(results) {
    m_hit.m_pDOM = dom;
    for (const CVurlXPNode* cell = first; cell; cell = cell->next)
        ++m_count;
    if (m_count > kInlineSteps && !allocate()) {
        m_good = false;
        return;
    }
    Step* step = m_steps;
    for (const CVurlXPNode* cell = first; cell; cell = cell->next, ++step) {
        const XPathAction& record = record_of(*cell);
        const bool before_predicate = cell->next && is_predicate(record_of(*cell->next));
        *step = {&record, record.name, op_of(record), fan_of(record, !cell->next), before_predicate};
    }
    *step = {nullptr, nullptr, Op::kNothing, Fan::kNone, false};
}

PathMatcher::~PathMatcher() {
    if (m_steps != m_inline_steps)
        free(m_steps);
    if (m_sets != m_inline_sets)
        free(m_sets);
}

bool PathMatcher::allocate() {
    m_steps = static_cast<Step*>(calloc(m_count + size_t{1}, sizeof(Step)));
    m_sets = static_cast<Set*>(calloc(m_count + size_t{1}, sizeof(Set)));
    return m_steps && m_sets;
}

// Whether a walk from a step on may match one step at one element more than a few times. nested: it begins at
// elements of which some lie below others.
bool PathMatcher::can_repeat(unsigned from, bool nested) const {
    unsigned forks = 0;
    for (unsigned step = from; step + 1 < m_count; ++step) {
        const Op op = m_steps[step].op;
        if (op == Op::kParent || (op == Op::kSubtree && nested))
            return true;
        nested = nested || op == Op::kSubtree;
        forks += op == Op::kName || op == Op::kAny;
    }
    return forks > 3;
}

bool PathMatcher::at(unsigned step, Place place) {
    m_can_repeat = can_repeat(step, false);
    push(SetKind::kSingle, step, place);
    return run();
}

bool PathMatcher::at_children(unsigned step, Place place) {
    m_can_repeat = can_repeat(step, false);
    return run(fan_out(step, {step, place, false}, Resume::kNever) == Outcome::kYes);
}

bool PathMatcher::at_subtree(unsigned step, Place place) {
    m_can_repeat = can_repeat(step, true);
    push(SetKind::kSubtree, step, place).end = place.element;
    return run();
}

bool PathMatcher::below(unsigned step, Place place) {
    m_can_repeat = can_repeat(step, true);
    push(SetKind::kSubtree, step, {place.element->pFirstChild, place.depth + 1}).end = place.element;
    return run();
}

bool PathMatcher::at_siblings(unsigned step, Place first, const CVurlNode* end) {
    m_can_repeat = can_repeat(step, false);
    push(SetKind::kSiblings, step, first).end = end;
    return run();
}

bool PathMatcher::at_ancestors(unsigned step, Place place) {
    m_can_repeat = can_repeat(step, true);
    push(SetKind::kAncestors, step, {place.element->pParent, place.depth - 1});
    return run();
}

bool PathMatcher::at_attribute(unsigned step, Place place) {
    return m_steps[step].op == Op::kAttribute && at(step, place);
}

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
        set.at = next_element(set);
        if (!set.at)
            finish_set();
        else if (worth_matching(set))
            settle(match({set.step, {set.at, set.depth}, false}));
    }
    m_set_count = 0;
    return m_matched;
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

// Whether the element that a set has come to must be looked at; if not, the set has its outcome.
bool PathMatcher::worth_matching(Set& set) {
    const Step& step = m_steps[set.step];
    if (!m_visits.started()) {
        m_work += m_can_repeat;
        if (step.op == Op::kName && !same_text(set.at->pszTagName, step.name))
            return false;
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

// Matches the path from a step on at one element, as far as that is possible without a new set.
PathMatcher::Outcome PathMatcher::match(State state) {
    Outcome outcome = match_step(state);
    while (outcome == Outcome::kGoesOn && !m_visits.started())
        outcome = match_step(state);
    return outcome == Outcome::kGoesOn ? go_on(state) : outcome;
}

// Once outcomes are remembered, every step at every element passes through a set, which looks them up.
PathMatcher::Outcome PathMatcher::go_on(const State& state) {
    if (!m_visits.started())
        return match(state);
    push(SetKind::kSingle, state.step, state.place).matched_before = state.matched;
    return Outcome::kWaits;
}

PathMatcher::Outcome PathMatcher::match_step(State& state) {
    const Step& step = m_steps[state.step];
    const CVurlNode& element = *state.place.element;
    bool passes = false;
    switch (step.op) {
    case Op::kParent:
        return match_parent(state);
    case Op::kSubtree:
        return match_subtree(state);
    case Op::kAttribute:
        return match_attribute(state);
    case Op::kName:
        return match_name(state);
    case Op::kAny:
        return match_any(state);
    // Deliberate: a predicate ends its path, so that a[x]/b selects each such a, and a[x][y] looks at x
    // alone. Lists that applications work on were made that way.
    case Op::kEqual:
        passes = passes_equal(element, *step.record);
        break;
    case Op::kNotEqual:
        passes = passes_not_equal(element, *step.record);
        break;
    case Op::kNothing:
        break;
    }
    if (passes)
        add(state.place);
    return passes || state.matched ? Outcome::kYes : Outcome::kNo;
}

// Deliberate: the step behind .. is tested at the parent itself, not at its children; a/../b asks whether the
// parent is named b.
PathMatcher::Outcome PathMatcher::match_parent(State& state) {
    const Place parent{state.place.element->pParent, state.place.depth - 1};
    if (!parent.element)
        return state.matched ? Outcome::kYes : Outcome::kNo;
    if (state.step + 1 == m_count)
        return add(parent);
    m_work += kParentWork;
    state = {state.step + 1, parent, state.matched};
    return Outcome::kGoesOn;
}

PathMatcher::Outcome PathMatcher::match_subtree(const State& state) {
    if (state.step + 1 == m_count)
        return state.matched ? Outcome::kYes : Outcome::kNo;
    Set& set = push(SetKind::kSubtree, state.step + 1, state.place);
    set.end = state.place.element;
    set.matched_before = state.matched;
    return Outcome::kWaits;
}

PathMatcher::Outcome PathMatcher::match_attribute(const State& state) {
    const XPathAction& record = *m_steps[state.step].record;
    CVurlAttribute* found = find_attribute(*state.place.element, record.attributeName, record.value);
    if (!found)
        return state.matched ? Outcome::kYes : Outcome::kNo;
    if (state.step + 1 == m_count)
        return add(state.place, found);
    return fan_out(state.step + 1, state, Resume::kNever);
}

// Deliberate: where the rest of the path finds nothing below an element, it is tried at the element itself.
// That is how a predicate comes to filter the element in front of it; it also makes a/a select an a that has
// no child a.
PathMatcher::Outcome PathMatcher::match_name(State& state) {
    const Step& step = m_steps[state.step];
    if (!same_text(state.place.element->pszTagName, step.name))
        return state.matched ? Outcome::kYes : Outcome::kNo;
    if (state.step + 1 == m_count)
        return add(state.place);
    const Outcome below = fan_out(state.step + 1, state, Resume::kUnlessMatched);
    if (below != Outcome::kNo)
        return below;
    ++state.step;
    return Outcome::kGoesOn;
}

// Deliberate: reached by a walk, * stands for the children of the element, so that //* and descendant::*
// leave out the element that the walk starts at; before a predicate it stands for the element.
PathMatcher::Outcome PathMatcher::match_any(State& state) {
    const Step& step = m_steps[state.step];
    if (step.before_predicate) {
        ++state.step;
        return Outcome::kGoesOn;
    }
    const Outcome below = fan_out(state.step, state, Resume::kIfMatched);
    return below == Outcome::kNo && state.matched ? Outcome::kYes : below;
}

// Applies a step to the children of the owner's element. When that takes a set, matching goes on at the
// element itself as resume says, from the step behind the owner's.
PathMatcher::Outcome PathMatcher::fan_out(unsigned step, const State& owner, Resume resume) {
    const Place place = owner.place;
    const Fan fan = m_steps[step].fan;
    if (fan == Fan::kNone || !place.element->pFirstChild)
        return owner.matched && resume == Resume::kNever ? Outcome::kYes : Outcome::kNo;
    if (fan == Fan::kAddAll)
        return add_children(place);
    Set& set = push(SetKind::kSiblings, fan == Fan::kNextStep ? step + 1 : step,
                    {place.element->pFirstChild, place.depth + 1});
    set.owner = place;
    set.resume = resume;
    set.resume_step = owner.step + 1;
    set.matched_before = owner.matched;
    return Outcome::kWaits;
}

PathMatcher::Outcome PathMatcher::add(Place place, CVurlAttribute* attribute) {
    m_hit.m_pNode = place.element;
    m_hit.m_pCurAttribute = attribute;
    set_depth(&m_hit, place.depth);
    if (!m_results->Add(&m_hit))
        fail();
    m_stopped = m_stopped || m_first_only;
    return Outcome::kYes;
}

PathMatcher::Outcome PathMatcher::add_children(Place place) {
    for (CVurlNode* child = place.element->pFirstChild; child && !m_stopped; child = child->pNextSibling) {
        add({child, place.depth + 1});
        ++m_work;
    }
    return Outcome::kYes;
}

void PathMatcher::fail() {
    m_good = false;
    m_stopped = true;
}

} // namespace kalto
