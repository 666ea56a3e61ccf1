// The merge of one subtree into another, driven by callbacks.
//
// The callbacks, and the merge itself, may delete elements that the walk stands on. An element removed with
// DeleteElement keeps its links, so the walk goes on from it. A released record has no tag name and keeps its
// parent until it is used again: after every call during which records were released, each cursor whose
// element is gone climbs to the nearest ancestor that is left, and starts over at its start when none can be
// made out.
#include "xml/depth.h"
#include <kalto/xml.h>

namespace {

using Decide = unsigned long (*)(const CVurlElement*, const CVurlElement*, void*);
using Copier = bool (*)(const CVurlElement*, CVurlElement*);

// An iterator with the place where it started. Levels are counted from there, so that equal levels
// correspond.
class Cursor {
  public:
    explicit Cursor(CVurlIterator* it)
        : it_(it), start_(it == nullptr ? nullptr : it->m_pNode),
          start_depth_(it == nullptr ? 0 : kalto::depth_of(*it)) {}
    explicit operator bool() const { return it_ != nullptr; }
    CVurlIterator* operator->() const { return it_; }
    CVurlIterator* get() const { return it_; }
    int level() const { return kalto::depth_of(*it_) - start_depth_; }
    bool start_is_gone() const { return start_->pszTagName == nullptr; }
    unsigned releases() const {
        return it_ == nullptr || it_->m_pDOM == nullptr ? 0 : it_->m_pDOM->m_nNodeReleases;
    }
    void back_to_start() const { move(start_, 0); }
    void climb_to(int level) const {
        while (this->level() > level && it_->ToParentElement() != 0) {
        }
    }
    bool climb_out_of_released() const;

  private:
    void move(CVurlNode* node, int level) const {
        it_->m_pNode = node;
        kalto::set_depth(it_, start_depth_ + level);
    }

    CVurlIterator* it_;
    CVurlNode* start_;
    int start_depth_;
};

// True when the cursor had to move.
bool Cursor::climb_out_of_released() const {
    CVurlNode* left = it_->m_pNode;
    int left_level = level();
    CVurlNode* node = left;
    for (int at = level(); at > 0 && node != nullptr; node = node->pParent, --at) {
        if (node->pszTagName == nullptr) {
            left = node->pParent;
            left_level = at - 1;
        }
    }
    if (node != start_) {
        left = start_;
        left_level = 0;
    }
    if (left == it_->m_pNode)
        return false;
    move(left, left_level);
    return true;
}

bool within(const CVurlNode* node, const CVurlNode* ancestor) {
    while (node != nullptr && node != ancestor)
        node = node->pParent;
    return node != nullptr;
}

class Merge {
  public:
    Merge(CVurlIterator* target, CVurlIterator* source, CVurlIterator* reference, Decide decide,
          Copier copier, void* context)
        : target_(target), source_(source), reference_(reference), decide_(decide), copier_(copier),
          context_(context), releases_(releases()) {}
    int run();

  private:
    bool advance();
    bool decide_source();
    bool scan_reference();
    bool merge_target();
    bool find_target(unsigned long* result);
    bool act_on_target(unsigned long result);
    bool create_path();
    bool create_level(const CVurlNode* model);
    bool source_stays();
    unsigned releases() const { return target_.releases() + source_.releases() + reference_.releases(); }

    Cursor target_;
    Cursor source_;
    Cursor reference_;
    Decide decide_;
    Copier copier_;
    void* context_;
    unsigned releases_;
    unsigned long state_ = APPLY_MATCH;
    bool target_moved_ = false; // by the last source_stays
    bool reference_moved_ = false;
    bool over_ = false;
    int result_ = 1;
};

// To be asked after each callback and deletion: false when the source's element is gone (the walk then goes
// on from where the cursor is now, without descending) or when the walk is over.
bool Merge::source_stays() {
    target_moved_ = reference_moved_ = false;
    if (releases() == releases_)
        return true;
    releases_ = releases();
    over_ = source_.start_is_gone() || target_.start_is_gone() || (reference_ && reference_.start_is_gone());
    if (over_)
        return false;
    target_moved_ = target_.climb_out_of_released();
    reference_moved_ = reference_ && reference_.climb_out_of_released();
    if (!source_.climb_out_of_released())
        return true;
    target_.climb_to(source_.level());
    if (reference_)
        reference_.climb_to(source_.level());
    state_ &= ~APPLY_MATCH;
    return false;
}

int Merge::run() {
    while (!over_ && advance()) {
        const bool matches = decide_source() && (state_ & APPLY_MATCH) != 0;
        if (matches && merge_target() && create_path() && (state_ & APPLY_SKIP_CHILDREN) != 0)
            state_ &= ~APPLY_MATCH;
        if ((state_ & APPLY_STOP) != 0)
            break;
    }
    if ((state_ & APPLY_KEEP_SOURCE) == 0)
        source_.back_to_start();
    if (reference_ && (state_ & APPLY_KEEP_REFERENCE) == 0)
        reference_.back_to_start();
    if ((state_ & APPLY_KEEP_TARGET) == 0)
        target_.back_to_start();
    return result_;
}

// Moves the source to its next element in pre-order; false at the end.
bool Merge::advance() {
    if ((state_ & APPLY_MATCH) != 0 && source_->ToChildElement() != 0) {
        if (reference_ && (state_ & APPLY_IGNORE) == 0)
            reference_->ToChildElement();
        return true;
    }
    while (source_.level() > 0) {
        if (source_->ToNextElement() != 0)
            return true;
        if (reference_ && reference_.level() == source_.level())
            reference_->ToParentElement();
        if (target_.level() == source_.level())
            target_->ToParentElement();
        state_ &= ~APPLY_MATCH;
        source_->ToParentElement();
    }
    return false;
}

bool Merge::decide_source() {
    if (reference_ && reference_.level() == source_.level())
        return scan_reference();
    state_ = decide_(source_.get(), nullptr, context_);
    return source_stays();
}

bool Merge::scan_reference() {
    unsigned long ignored = 0;
    state_ = 0;
    reference_->ToFirstElement();
    do {
        const unsigned long result = decide_(source_.get(), reference_.get(), context_);
        ((result & APPLY_IGNORE) != 0 ? ignored : state_) |= result;
        if (!source_stays())
            return false;
    } while ((state_ & APPLY_MATCH) == 0 && !reference_moved_ && reference_->ToNextElement() != 0);
    if ((state_ & APPLY_MATCH) == 0 && ignored != 0)
        state_ = ignored & ~APPLY_MATCH;
    return true;
}

// Finds the target element that corresponds, and acts on it.
bool Merge::merge_target() {
    unsigned long result = 0;
    if (target_.level() == source_.level() - 1) {
        if (target_->ToChildElement() == 0)
            return true;
    } else if (target_.level() != source_.level()) {
        return true;
    } else if (target_->m_pNode->pParent->pFirstChild == nullptr) { // an earlier match deleted the last one
        target_->ToParentElement();
        return true;
    }
    target_->ToFirstElement();
    if (!find_target(&result))
        return false;
    return (result & APPLY_MATCH) == 0 || act_on_target(result);
}

// Deliberate: decisions about the target get no context, which is how callbacks tell the two kinds apart.
bool Merge::find_target(unsigned long* result) {
    do {
        *result = decide_(source_.get(), target_.get(), nullptr);
        if (!source_stays())
            return false;
        if (target_moved_) {
            *result = 0;
            return true;
        }
        if ((*result & APPLY_MATCH) != 0)
            return true;
    } while (target_->ToNextElement() != 0);
    target_->ToParentElement();
    return true;
}

bool Merge::act_on_target(unsigned long result) {
    state_ |= result & APPLY_STOP;
    if ((result & APPLY_COPY) != 0) {
        copier_(source_.get(), target_.get());
        if (!source_stays())
            return false;
        if (target_moved_)
            return true;
    }
    if ((result & APPLY_DELETE_CHILDREN) != 0)
        target_->DeleteChildren();
    if ((result & APPLY_DELETE) != 0)
        target_->DeleteElement();
    return source_stays();
}

bool Merge::create_path() {
    if ((state_ & APPLY_CREATE_PATH) == 0)
        return true;
    while (target_.level() < source_.level()) {
        const int wanted = target_.level() + 1;
        CVurlIterator model(*source_.get());
        for (int level = source_.level(); level > wanted; --level)
            model.ToParentElement();
        if (!create_level(model.m_pNode))
            return true;
        result_ = copier_(&model, target_.get()) ? 1 : 0;
        if (!source_stays())
            return false;
        if (target_.level() < wanted)
            return true;
    }
    return true;
}

// One new last child of the target's element, named like the model.
bool Merge::create_level(const CVurlNode* model) {
    result_ = 0;
    CVurlDOM* const dom = target_->m_pDOM;
    CVurlNode* node = dom->AllocNode();
    if (node == nullptr)
        return false;
    node->pszTagName = dom == source_->m_pDOM ? model->pszTagName : dom->AllocTagName(model->pszTagName);
    if (node->pszTagName == nullptr) {
        dom->FreeNode(node);
        return false;
    }
    return target_->InsertNode(node, VURL_LAST_CHILD) != 0;
}

bool can_walk(const CVurlIterator* target, const CVurlIterator* source, const CVurlIterator* reference) {
    if (target->m_pNode == nullptr || source == nullptr || source->m_pNode == nullptr)
        return false;
    if (reference == nullptr)
        return true;
    if (reference->m_pNode == nullptr)
        return false;
    return source->m_pDOM != reference->m_pDOM ||
           (!within(target->m_pNode, source->m_pNode) && !within(source->m_pNode, target->m_pNode));
}

} // namespace

bool CVurlIterator::DefaultCopier(const CVurlElement* src, CVurlElement* dst) {
    dst->CopyData(src);
    if (src->m_pNode == nullptr)
        return true;
    const bool copy = src->m_pDOM != dst->m_pDOM;
    for (const CVurlAttribute* a = src->m_pNode->pFirstAttribute; a != nullptr; a = a->pNext) {
        if (dst->SetAttribute(a->pszName, a->pszValue, copy) == nullptr)
            return false;
    }
    return true;
}

// An iterator that is passed in two roles is walked as two.
int CVurlIterator::Apply(CVurlIterator* source, CVurlIterator* reference, Decide decide, Copier copier,
                         void* context) {
    if (decide == nullptr || !can_walk(this, source, reference))
        return 0;
    CVurlIterator source_copy(*source);
    CVurlIterator reference_copy(reference == nullptr ? *source : *reference);
    if (reference != nullptr && (reference == this || reference == source))
        reference = &reference_copy;
    if (source == this)
        source = &source_copy;
    return Merge(this, source, reference, decide, copier == nullptr ? DefaultCopier : copier, context).run();
}
