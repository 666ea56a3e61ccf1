#include "tests/xml/tree_text.h"
#include <functional>
#include <gtest/gtest.h>

namespace {

using Decision =
    std::function<unsigned long(const std::string& source, const std::string& other, bool has_context)>;

Decision g_decision;
bool g_copies; // what the copier reports
std::string g_trace;

unsigned long decide(const CVurlElement* source, const CVurlElement* other, void* context) {
    const std::string name = other == nullptr ? "-" : other->GetTagName();
    g_trace += std::string(source->GetTagName()) + (context == nullptr ? "=" : "~") + name + " ";
    return g_decision(source->GetTagName(), name, context != nullptr);
}

bool copier(const CVurlElement* source, CVurlElement* target) {
    g_trace += std::string(source->GetTagName()) + ">" + target->GetTagName() + " ";
    return CVurlIterator::DefaultCopier(source, target) && g_copies;
}

struct Merging {
    Document source, target, reference;
    CVurlIterator s = at(&source);
    CVurlIterator t = at(&target);
    CVurlIterator r = at(&reference);

    Merging(const char* source_text, const char* target_text, const char* reference_text = "<r/>")
        : source(source_text), target(target_text), reference(reference_text) {
        g_trace.clear();
        g_copies = true;
    }
    int apply(bool with_reference, const Decision& decision) {
        g_decision = decision;
        return t.Apply(&s, with_reference ? &r : nullptr, decide, copier, this);
    }
};

// Matches elements of equal names, with these bits about the source (or reference), and these about the
// target.
Decision by_name(unsigned long source_bits, unsigned long target_bits) {
    return [=](const std::string& source, const std::string& other, bool has_context) {
        if (has_context && other == "-")
            return source_bits;
        return source == other ? (has_context ? source_bits : target_bits) : 0ul;
    };
}

} // namespace

TEST(Apply, ActsOnEachResultBit) {
    constexpr unsigned long kPath = APPLY_MATCH | APPLY_CREATE_PATH;
    const char* const source = "<r><a n='1'><b><c>u</c></b></a><b n='2'>t</b></r>";
    const char* const old = "<r><b>old</b><x><y/></x></r>";
    const char* const unchanged = "r(b'old',x(y))";
    const struct {
        unsigned long source_bits, target_bits;
        const char *source, *target, *merged, *trace;
    } cases[] = {
        {APPLY_MATCH, 0, source, old, unchanged, "a~- a=b a=x b~- c~- b~- b=b b=x "},
        {APPLY_MATCH, APPLY_MATCH | APPLY_COPY, source, old, "r(b[n=2]'t',x(y))",
         "a~- a=b a=x b~- c~- b~- b=b b>b "},
        {APPLY_MATCH, APPLY_MATCH | APPLY_DELETE, source, old, "r(x(y))", "a~- a=b a=x b~- c~- b~- b=b "},
        {APPLY_MATCH, APPLY_MATCH | APPLY_DELETE_CHILDREN, "<r><x/></r>", "<r><x a='1'><y/><z/></x></r>",
         "r(x[a=1])", "x~- x=x "},
        {APPLY_MATCH, APPLY_MATCH | APPLY_DELETE, "<r><b/><c/></r>", "<r><b/></r>", "r", "b~- b=b c~- "},
        {APPLY_MATCH | APPLY_SKIP_CHILDREN, 0, source, old, unchanged, "a~- a=b a=x b~- b=b b=x "},
        {APPLY_MATCH | APPLY_STOP, APPLY_MATCH, source, old, unchanged, "a~- a=b a=x "},
        {APPLY_MATCH, APPLY_MATCH | APPLY_STOP, "<r><b/><x/></r>", old, unchanged, "b~- b=b "},
        {kPath, APPLY_MATCH, source, old, "r(b'old',x(y),a[n=1](b(c'u')))",
         "a~- a=b a=x a>a b~- b>b c~- c>c b~- b=b "},
        {APPLY_STOP, APPLY_MATCH, source, old, unchanged, "a~- "},
        {0, APPLY_MATCH, source, old, unchanged, "a~- b~- "},
    };
    for (const auto& c : cases) {
        Merging run(c.source, c.target);
        EXPECT_EQ(run.apply(false, by_name(c.source_bits, c.target_bits)), 1) << c.trace;
        EXPECT_EQ(tree_text(run.target), c.merged);
        EXPECT_EQ(g_trace, c.trace);
        EXPECT_TRUE(run.s.m_pNode == run.source.m_pRoot && run.t.m_pNode == run.target.m_pRoot);
    }
}

// The result is that of the last creation; the levels in between are created for the sake of the deepest.
TEST(Apply, CreatesEveryMissingLevelBelowAMatch) {
    const auto decision = [](const std::string& source, const std::string&, bool) {
        return source == "c" ? APPLY_MATCH | APPLY_CREATE_PATH : APPLY_MATCH;
    };
    Merging run("<r><a><b><c n='1'/></b></a></r>", "<r/>");
    g_copies = false;
    EXPECT_EQ(run.apply(false, decision), 0);
    EXPECT_EQ(g_trace, "a~- b~- c~- a>a b>b c>c ");
    run.source.FreeDOM(false);
    EXPECT_EQ(tree_text(run.target), "r(a(b(c[n=1])))") << "names are the target's own";
}

TEST(Apply, LeavesTheIteratorsWhereItEndedOnRequest) {
    constexpr unsigned long kKeep[] = {APPLY_KEEP_SOURCE, APPLY_KEEP_REFERENCE, APPLY_KEEP_TARGET};
    for (int kept = 0; kept < 3; ++kept) {
        Merging run("<r><a><b/></a></r>", "<r><a><b/></a></r>", "<r><a><b/></a></r>");
        run.apply(true, [&](const std::string& source, const std::string& other, bool) {
            return source != other ? 0 : source == "b" ? APPLY_MATCH | APPLY_STOP | kKeep[kept] : APPLY_MATCH;
        });
        const CVurlIterator* const iterators[] = {&run.s, &run.r, &run.t};
        for (int i = 0; i < 3; ++i) {
            EXPECT_STREQ(iterators[i]->GetTagName(), i == kept ? "b" : "r");
            EXPECT_EQ(iterators[i]->m_nDepth, i == kept ? 2 : 0);
        }
    }
}

// The reference filters; decisions about the target come without the context. A match that is ignored is
// none.
TEST(Apply, DecidesByTheReferenceAndItsIgnoredElements) {
    Merging run("<r><a><x/></a><b/><c/></r>", "<r/>", "<r><i/><a><x/></a><b/></r>");
    EXPECT_EQ(run.apply(true,
                        [](const std::string& source, const std::string& other, bool) -> unsigned long {
                            if (other == "i")
                                return APPLY_IGNORE | APPLY_MATCH | (source == "c" ? APPLY_STOP : 0ul);
                            return source == other ? APPLY_MATCH | APPLY_CREATE_PATH : 0ul;
                        }),
              1);
    EXPECT_EQ(g_trace, "a~i a~a a>a x~x x>x b~i b~a b~b b=a b>b c~i c~a c~b ");
    EXPECT_EQ(tree_text(run.target), "r(a(x),b)");
}

TEST(Apply, RefusesWhatItCannotWalk) {
    Merging run("<r><a/><b/></r>", "<r/>");
    CVurlIterator none, inside = at(&run.source, {0}), reference = run.s;
    g_decision = [](const std::string&, const std::string&, bool) { return APPLY_MATCH; };
    EXPECT_EQ(run.t.Apply(&none, nullptr, decide, copier, nullptr), 0);
    EXPECT_EQ(run.t.Apply(nullptr, nullptr, decide, copier, nullptr), 0);
    EXPECT_EQ(run.t.Apply(&run.s, &none, decide, copier, nullptr), 0);
    EXPECT_EQ(run.t.Apply(&run.s, nullptr, nullptr, copier, nullptr), 0);
    EXPECT_EQ(none.Apply(&run.s, nullptr, decide, copier, nullptr), 0);
    EXPECT_EQ(inside.Apply(&run.s, &reference, decide, copier, nullptr), 0);
    EXPECT_EQ(g_trace, "");
    EXPECT_EQ(run.s.Apply(&run.s, nullptr, decide, copier, nullptr), 1) << "one iterator in two roles";
    EXPECT_EQ(g_trace, "a=- a=a b=- b=a ");
}

// The walk goes on after the nearest ancestor that is left, whichever tree the callback takes an element
// from.
TEST(Apply, SurvivesCallbacksThatDeleteWhatItStandsOn) {
    constexpr char kText[] = "<r><a><b><c/><d/></b><e/></a><f/></r>";
    constexpr unsigned long kMerge = APPLY_MATCH | APPLY_COPY | APPLY_CREATE_PATH;
    const char* const expected[] = {"abcf", "abcef", "abcf"}; // where the source loses an element
    for (int number = 0; number < 18; ++number) {
        const int deletion = number / 3 % 3;
        const bool reuse = number >= 9; // of the records
        Merging run(kText, kText, kText);
        CVurlDOM* const doms[] = {&run.source, &run.reference, &run.target};
        std::string visited;
        const auto decision = [&](const std::string& source, const std::string& other, bool) {
            const bool first_c = source == "c" && visited == "ab";
            if (visited.empty() || visited.back() != source[0])
                visited += source;
            if (first_c) {
                CVurlIterator it = at(doms[number % 3]);
                for (int level = 0; level < (deletion == 1 ? 2 : 1); ++level)
                    it.ToChildElement();
                deletion == 0 ? it.DeleteChildren() : it.DeleteElement();
                it.ToRootElement();
                for (int i = 0; reuse && i < 4; ++i)
                    it.InsertElement("n", VURL_LAST_CHILD);
            }
            return source == other || other == "-" ? kMerge : 0;
        };
        EXPECT_EQ(run.apply(true, decision), 1);
        EXPECT_TRUE(number % 3 != 0 || reuse || visited == expected[deletion]) << visited;
        EXPECT_TRUE(run.s.m_pNode == run.source.m_pRoot && run.t.m_pNode == run.target.m_pRoot);
    }
}

TEST(Apply, DeletesTheSourceItMergesFrom) {
    Merging run("<r><a><b/></a><c/></r>", "<r/>");
    CVurlIterator target(run.s);
    g_decision = by_name(APPLY_MATCH, APPLY_MATCH | APPLY_DELETE);
    EXPECT_EQ(target.Apply(&run.s, nullptr, decide, nullptr, &run), 1);
    EXPECT_EQ(tree_text(run.source), "r");
    EXPECT_EQ(g_trace, "a~- a=a c~- c=c ");
}
