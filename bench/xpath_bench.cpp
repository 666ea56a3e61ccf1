// Selecting elements of a document of about 1 MB, expression and evaluation together as an application calls
// it, beside pugixml and beside a walk written by hand for the one purpose.
#include <benchmark/benchmark.h>
#include <cstring>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace {

// Keys of 7 values each, as a registry of 20,000 elements would have them, below two levels of grouping.
std::string registry_text() {
    std::string text = "<?xml version=\"1.0\"?><root>";
    int number = 0;
    for (int group = 0; group < 40; ++group) {
        text += "<group><k><name>Group" + std::to_string(group) + "</name>";
        for (int key = 0; key < 50; ++key) {
            text += "<k><name>Key" + std::to_string(group * 50 + key) + "</name>";
            for (int value = 0; value < 7; ++value, ++number)
                text += "<v Name='Value" + std::to_string(number) + "' type='string'>some text " +
                        std::to_string(number) + "</v>";
            text += "</k>";
        }
        text += "</k></group>";
    }
    return text + "<last><k><v Name='X'>found</v></k></last></root>";
}

std::string siblings_text() {
    std::string text = "<root><first/>";
    for (int i = 0; i < 20000; ++i)
        text += "<v n='" + std::to_string(i) + "'/>";
    return text + "</root>";
}

struct Fixture {
    CVurlDOM dom;
    pugi::xml_document peer;
    explicit Fixture(const std::string& text) {
        if (dom.ReadDoc(text.c_str()) != 1 || !peer.load_string(text.c_str()))
            abort();
    }
};

Fixture& registry() {
    static Fixture fixture(registry_text());
    return fixture;
}

Fixture& siblings() {
    static Fixture fixture(siblings_text());
    return fixture;
}

void kalto_select(benchmark::State& state, Fixture& fixture, const char* expression, bool from_child) {
    unsigned count = 0;
    for (auto _ : state) {
        CVurlElement context(&fixture.dom);
        if (from_child)
            context.m_pNode = context.m_pNode->pFirstChild;
        CVurlElementList* list = context.selectNodes(expression);
        count = list->m_nCount;
        delete list;
    }
    state.counters["found"] = count;
}

void pugi_select(benchmark::State& state, Fixture& fixture, const char* expression, bool from_child) {
    size_t count = 0;
    for (auto _ : state) {
        pugi::xml_node context = fixture.peer.document_element();
        if (from_child)
            context = context.first_child();
        const pugi::xpath_node_set set = context.select_nodes(expression);
        count = set.size();
    }
    state.counters["found"] = static_cast<double>(count);
}

CVurlNode* next_in_document(CVurlNode* at) {
    if (at->pFirstChild)
        return at->pFirstChild;
    while (at && !at->pNextSibling)
        at = at->pParent;
    return at ? at->pNextSibling : nullptr;
}

bool has_attribute(const CVurlNode* node, const char* name, const char* value) {
    for (const CVurlAttribute* a = node->pFirstAttribute; a; a = a->pNext) {
        if (strcmp(a->pszName, name) == 0 && strcmp(a->pszValue, value) == 0)
            return true;
    }
    return false;
}

void hand_name_anywhere(benchmark::State& state) {
    for (auto _ : state) {
        const CVurlNode* found = nullptr;
        for (CVurlNode* at = registry().dom.m_pRoot; at; at = next_in_document(at)) {
            if (strcmp(at->pszTagName, "v") == 0 && has_attribute(at, "Name", "X"))
                found = at;
        }
        benchmark::DoNotOptimize(found);
    }
}

// Collects into the list that the application would be given.
void hand_all_of_a_name(benchmark::State& state) {
    for (auto _ : state) {
        CVurlElementList list(&registry().dom);
        CVurlIterator hit;
        hit.m_pDOM = &registry().dom;
        for (CVurlNode* at = registry().dom.m_pRoot; at; at = next_in_document(at)) {
            if (strcmp(at->pszTagName, "v") == 0) {
                hit.m_pNode = at;
                list.Add(&hit);
            }
        }
        benchmark::DoNotOptimize(list.m_nCount);
    }
}

void hand_following_siblings(benchmark::State& state) {
    for (auto _ : state) {
        CVurlElementList list(&siblings().dom);
        CVurlIterator hit;
        hit.m_pDOM = &siblings().dom;
        for (CVurlNode* at = siblings().dom.m_pRoot->pFirstChild->pNextSibling; at; at = at->pNextSibling) {
            if (strcmp(at->pszTagName, "v") == 0) {
                hit.m_pNode = at;
                list.Add(&hit);
            }
        }
        benchmark::DoNotOptimize(list.m_nCount);
    }
}

void hand_child_text(benchmark::State& state) {
    for (auto _ : state) {
        const CVurlNode* found = nullptr;
        for (CVurlNode* at = registry().dom.m_pRoot; at; at = next_in_document(at)) {
            if (strcmp(at->pszTagName, "k") != 0)
                continue;
            for (const CVurlNode* child = at->pFirstChild; child; child = child->pNextSibling) {
                if (strcmp(child->pszTagName, "name") == 0 && strcmp(child->pszData, "Key1900") == 0)
                    found = at;
            }
        }
        benchmark::DoNotOptimize(found);
    }
}

void add_pair(const std::string& name, Fixture& (*fixture)(), const char* ours, const char* theirs,
              bool from_child) {
    benchmark::RegisterBenchmark((name + "/kalto").c_str(), [=](benchmark::State& state) {
        kalto_select(state, fixture(), ours, from_child);
    });
    benchmark::RegisterBenchmark((name + "/pugixml").c_str(), [=](benchmark::State& state) {
        pugi_select(state, fixture(), theirs, from_child);
    });
}

} // namespace

int main(int argc, char** argv) {
    add_pair("name_anywhere", registry, "//v[@Name='X']", "//v[@Name='X']", false);
    benchmark::RegisterBenchmark("name_anywhere/by_hand", hand_name_anywhere);
    // An absolute path leaves the root out.
    add_pair("absolute_path", registry, "/last/k/v", "/root/last/k/v", false);
    add_pair("child_text", registry, "//k[name='Key1900']", "//k[name='Key1900']", false);
    benchmark::RegisterBenchmark("child_text/by_hand", hand_child_text);
    add_pair("all_of_a_name", registry, "//v", "//v", false);
    benchmark::RegisterBenchmark("all_of_a_name/by_hand", hand_all_of_a_name);
    add_pair("following_siblings", siblings, "following-sibling::v", "following-sibling::v", true);
    benchmark::RegisterBenchmark("following_siblings/by_hand", hand_following_siblings);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
