// Matching a step at one element. The sets of elements that this leads to are gone through in xpath_walk.cpp.
#include "xml/xpath_match.h"

#include "xml/xpath_predicate.h"
#include "xml/xpath_token.h"

#include <cstdlib>

namespace kalto {
namespace {

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
    : m_results(results), m_list_was_empty(results->m_nCount == 0) {
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
        const Op op = op_of(record);
        *step = {&record,
                 record.name,
                 op,
                 fan_of(record, !cell->next),
                 before_predicate,
                 op == Op::kName && (!cell->next || before_predicate)};
    }
    *step = {nullptr, nullptr, Op::kNothing, Fan::kNone, false, false};
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

// Whether a walk from a step on comes to each of its results once. That is so when every element of the sets
// it goes through decides about itself alone, or about its own children; and for one step more where these
// lie a level below.
bool PathMatcher::is_distinct(unsigned from, bool nested) const {
    unsigned step = from;
    if (!nested && step + 1 < m_count && m_steps[step].op == Op::kName && m_steps[step + 1].op == Op::kName)
        ++step;
    if (step + 1 < m_count && m_steps[step].before_predicate)
        return m_steps[step].op == Op::kName || m_steps[step].op == Op::kAny;
    return step + 1 == m_count && m_steps[step].op != Op::kParent;
}

void PathMatcher::prepare(unsigned step, bool nested) {
    m_can_repeat = can_repeat(step, nested);
    m_distinct = m_list_was_empty && is_distinct(step, nested);
}

bool PathMatcher::at(unsigned step, Place place) {
    prepare(step, false);
    push(SetKind::kSingle, step, place);
    return run();
}

bool PathMatcher::at_children(unsigned step, Place place) {
    prepare(step, false);
    return run(fan_out(step, {step, place, false}, Resume::kNever) == Outcome::kYes);
}

bool PathMatcher::at_subtree(unsigned step, Place place) {
    prepare(step, true);
    push(SetKind::kSubtree, step, place).end = place.element;
    return run();
}

bool PathMatcher::below(unsigned step, Place place) {
    prepare(step, true);
    push(SetKind::kSubtree, step, {place.element->pFirstChild, place.depth + 1}).end = place.element;
    return run();
}

bool PathMatcher::at_siblings(unsigned step, Place first, const CVurlNode* end) {
    prepare(step, false);
    push(SetKind::kSiblings, step, first).end = end;
    return run();
}

bool PathMatcher::at_ancestors(unsigned step, Place place) {
    prepare(step, true);
    push(SetKind::kAncestors, step, {place.element->pParent, place.depth - 1});
    return run();
}

bool PathMatcher::at_attribute(unsigned step, Place place) {
    return m_steps[step].op == Op::kAttribute && at(step, place);
}

// Matches the path from a step on at one element, as far as that is possible without a new set. named: the
// element is known to have the name that the step asks for, if it does.
PathMatcher::Outcome PathMatcher::match(State state, bool named) {
    Outcome outcome = named && m_steps[state.step].op == Op::kName ? match_named(state) : match_step(state);
    while (outcome == Outcome::kGoesOn && !m_visits.started())
        outcome = match_step(state);
    return outcome == Outcome::kGoesOn ? go_on(state) : outcome;
}

// Once outcomes are remembered, every step at every element passes through a set, which looks them up.
PathMatcher::Outcome PathMatcher::go_on(const State& state) {
    if (!m_visits.started())
        return match(state, false);
    push(SetKind::kSingle, state.step, state.place).matched_before = state.matched;
    return Outcome::kWaits;
}

PathMatcher::Outcome PathMatcher::match_step(State& state) {
    const Step& step = m_steps[state.step];
    switch (step.op) {
    case Op::kParent:
        return match_parent(state);
    case Op::kSubtree:
        return match_subtree(state);
    case Op::kAttribute:
        return match_attribute(state);
    case Op::kName:
        if (same_name(state.place.element->pszTagName, step.name))
            return match_named(state);
        break;
    case Op::kAny:
        return match_any(state);
    case Op::kEqual:
    case Op::kNotEqual:
        return match_predicate(state.step, state);
    case Op::kNothing:
        break;
    }
    return state.matched ? Outcome::kYes : Outcome::kNo;
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
PathMatcher::Outcome PathMatcher::match_named(State& state) {
    if (state.step + 1 == m_count)
        return add(state.place);
    if (m_steps[state.step].before_predicate)
        return match_predicate(state.step + 1, state);
    const Outcome below = fan_out(state.step + 1, state, Resume::kUnlessMatched);
    if (below != Outcome::kNo)
        return below;
    ++state.step;
    return Outcome::kGoesOn;
}

// Deliberate: reached by a walk, * stands for the children of the element, so that //* and descendant::*
// leave out the element that the walk starts at; before a predicate it stands for the element.
PathMatcher::Outcome PathMatcher::match_any(State& state) {
    if (m_steps[state.step].before_predicate)
        return match_predicate(state.step + 1, state);
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
