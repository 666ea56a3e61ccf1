// Reading, writing, walking and cutting documents, beside pugixml, RapidXML and TinyXML-2.
//
// What is timed: parsing in place, from a buffer that holds the text already to the finished tree, with the
// memory that the tree takes (TinyXML-2 has no parse in place: its copy is timed). Writing: from the tree to
// a text in memory. Releasing is timed on its own. Run with --benchmark_repetitions=9 and compare medians;
// for a machine in use compare them within one run.
#include "bench/xml_documents.h"
#include <benchmark/benchmark.h>
#include <cstring>
#include <ctime>
#include <kalto/xml.h>
#include <malloc.h>
#include <map>
#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>
#include <rapidxml/rapidxml_print.hpp>
#include <tinyxml2.h>
#include <vector>

namespace {

enum Document { kSmall, kMedium, kLarge, kProse };

const std::string& text_of(int64_t document) {
    static std::map<int64_t, std::string> texts;
    std::string& text = texts[document];
    if (text.empty())
        text = document == kSmall    ? registry_document(20 << 10)
               : document == kMedium ? registry_document(1 << 20)
               : document == kLarge  ? registry_document(20 << 20)
                                     : prose_document(1 << 20);
    return text;
}

// Time of this thread, so that other work on the machine counts less; page faults count.
class Stopwatch {
  public:
    double seconds() const { return now() - start_; }

  private:
    static double now() {
        timespec time = {};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }
    double start_ = now();
};

// One type for each library: the same steps in the way its users write them.
struct Kalto {
    CVurlDOM dom;

    char* buffer = nullptr;
    size_t size = 0;
    void fill(const std::string& text) {
        buffer = dom.CreateDocBuffer(static_cast<unsigned>(text.size()));
        std::memcpy(buffer, text.data(), text.size());
    }
    bool parse() { return dom.ReadDoc() == 1; }
    size_t write() {
        unsigned length = 0;
        benchmark::DoNotOptimize(dom.WriteDoc(&length, 0));
        return length;
    }
    template <class Visit> void visit(Visit visit) {
        CVurlIterator it;
        it.BindToDOM(&dom);
        for (;;) {
            visit(it);
            if (it.ToChildElement() != 0)
                continue;
            while (it.ToNextElement() == 0) {
                if (it.ToParentElement() == 0)
                    return;
            }
        }
    }
    size_t walk() {
        size_t sum = 0;
        visit([&](CVurlIterator& it) { sum += static_cast<unsigned char>(*it.GetTagName()); });
        return sum;
    }
    size_t traverse() {
        CVurlIterator it;
        it.BindToDOM(&dom);
        size_t sum = 0;
        for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse()) {
            if (step == 1)
                sum += static_cast<unsigned char>(*it.GetTagName());
        }
        return sum;
    }
    size_t read_attributes() {
        size_t sum = 0;
        visit([&](CVurlIterator& it) {
            if (*it.GetTagName() == 'v')
                sum += static_cast<unsigned char>(*it.GetAttribute("value"));
        });
        return sum;
    }
    void set_attributes() {
        visit([&](CVurlIterator& it) {
            if (*it.GetTagName() == 'v')
                it.SetAttribute("value", "1");
        });
    }
    // Deletes every second key of the second level.
    void delete_half() {
        CVurlIterator it;
        it.BindToDOM(&dom);
        it.ToChildElement();
        it.ToChildElement();
        CVurlNode* next = nullptr;
        for (; it.m_pNode != nullptr; it.m_pNode = next) {
            next = it.m_pNode->pNextSibling;
            next = next == nullptr ? nullptr : next->pNextSibling;
            it.DeleteElement();
        }
    }
    void release() { dom.FreeDOM(false); }
};

struct Pugi {
    pugi::xml_document document;
    std::vector<char> buffer;

    void fill(const std::string& text) { buffer.assign(text.begin(), text.end()); }
    bool parse() { return document.load_buffer_inplace(buffer.data(), buffer.size()); }
    size_t write() {
        struct Memory : pugi::xml_writer {
            std::string text;
            void write(const void* data, size_t length) override {
                text.append(static_cast<const char*>(data), length);
            }
        } memory;
        document.save(memory, " ");
        benchmark::DoNotOptimize(memory.text.data());
        return memory.text.size();
    }
    template <class Visit> static void visit(pugi::xml_node node, Visit visit) {
        const pugi::xml_node root = node;
        for (;;) {
            visit(node);
            if (pugi::xml_node child = node.first_child()) {
                node = child;
                continue;
            }
            while (node != root && !node.next_sibling())
                node = node.parent();
            if (node == root)
                return;
            node = node.next_sibling();
        }
    }
    size_t walk() {
        size_t sum = 0;
        visit(document.document_element(),
              [&](pugi::xml_node node) { sum += static_cast<unsigned char>(*node.name()); });
        return sum;
    }
    size_t read_attributes() {
        size_t sum = 0;
        visit(document.document_element(), [&](pugi::xml_node node) {
            if (*node.name() == 'v')
                sum += static_cast<unsigned char>(*node.attribute("value").value());
        });
        return sum;
    }
    void set_attributes() {
        visit(document.document_element(), [&](pugi::xml_node node) {
            if (*node.name() == 'v')
                node.attribute("value").set_value("1");
        });
    }
    void delete_half() {
        pugi::xml_node parent = document.document_element().first_child();
        for (pugi::xml_node key = parent.first_child(); key;) {
            const pugi::xml_node next = key.next_sibling().next_sibling();
            parent.remove_child(key);
            key = next;
        }
    }
    void release() { document.reset(); }
};

struct Rapid {
    rapidxml::xml_document<> document;
    std::vector<char> buffer;

    void fill(const std::string& text) { buffer.assign(text.c_str(), text.c_str() + text.size() + 1); }
    bool parse() {
        document.parse<0>(buffer.data());
        return document.first_node() != nullptr;
    }
    size_t write() {
        std::string text;
        rapidxml::print(std::back_inserter(text), document, 0);
        benchmark::DoNotOptimize(text.data());
        return text.size();
    }
    template <class Visit> static void visit(rapidxml::xml_node<>* node, Visit visit) {
        rapidxml::xml_node<>* const root = node;
        for (;;) {
            visit(node);
            if (rapidxml::xml_node<>* child = node->first_node()) {
                node = child;
                continue;
            }
            while (node != root && node->next_sibling() == nullptr)
                node = node->parent();
            if (node == root)
                return;
            node = node->next_sibling();
        }
    }
    size_t walk() {
        size_t sum = 0;
        visit(document.first_node(),
              [&](rapidxml::xml_node<>* node) { sum += static_cast<unsigned char>(*node->name()); });
        return sum;
    }
    size_t read_attributes() {
        size_t sum = 0;
        visit(document.first_node(), [&](rapidxml::xml_node<>* node) {
            if (*node->name() == 'v')
                sum += static_cast<unsigned char>(*node->first_attribute("value")->value());
        });
        return sum;
    }
    void set_attributes() {
        visit(document.first_node(), [&](rapidxml::xml_node<>* node) {
            if (*node->name() == 'v')
                node->first_attribute("value")->value(document.allocate_string("1"));
        });
    }
    void delete_half() {
        rapidxml::xml_node<>* parent = document.first_node()->first_node();
        for (rapidxml::xml_node<>* key = parent->first_node(); key != nullptr;) {
            rapidxml::xml_node<>* next = key->next_sibling();
            next = next == nullptr ? nullptr : next->next_sibling();
            parent->remove_node(key);
            key = next;
        }
    }
    void release() { document.clear(); }
};

struct Tiny {
    tinyxml2::XMLDocument document;
    const std::string* text = nullptr;

    void fill(const std::string& source) { text = &source; }
    bool parse() { return document.Parse(text->data(), text->size()) == tinyxml2::XML_SUCCESS; }
    size_t write() {
        tinyxml2::XMLPrinter printer;
        document.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
        return static_cast<size_t>(printer.CStrSize());
    }
    template <class Visit> static void visit(tinyxml2::XMLElement* node, Visit visit) {
        tinyxml2::XMLElement* const root = node;
        for (;;) {
            visit(node);
            if (tinyxml2::XMLElement* child = node->FirstChildElement()) {
                node = child;
                continue;
            }
            while (node != root && node->NextSiblingElement() == nullptr)
                node = node->Parent()->ToElement();
            if (node == root)
                return;
            node = node->NextSiblingElement();
        }
    }
    size_t walk() {
        size_t sum = 0;
        visit(document.RootElement(),
              [&](tinyxml2::XMLElement* node) { sum += static_cast<unsigned char>(*node->Name()); });
        return sum;
    }
    size_t read_attributes() {
        size_t sum = 0;
        visit(document.RootElement(), [&](tinyxml2::XMLElement* node) {
            if (*node->Name() == 'v')
                sum += static_cast<unsigned char>(*node->Attribute("value"));
        });
        return sum;
    }
    void set_attributes() {
        visit(document.RootElement(), [&](tinyxml2::XMLElement* node) {
            if (*node->Name() == 'v')
                node->SetAttribute("value", "1");
        });
    }
    void delete_half() {
        tinyxml2::XMLElement* parent = document.RootElement()->FirstChildElement();
        for (tinyxml2::XMLElement* key = parent->FirstChildElement(); key != nullptr;) {
            tinyxml2::XMLElement* next = key->NextSiblingElement();
            next = next == nullptr ? nullptr : next->NextSiblingElement();
            parent->DeleteChild(key);
            key = next;
        }
    }
    void release() { document.Clear(); }
};

template <class Library> void fill_and_parse(Library* library, benchmark::State& state) {
    library->fill(text_of(state.range(0)));
    if (!library->parse())
        state.SkipWithError("does not parse");
}

void count_bytes(benchmark::State& state, size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * static_cast<int64_t>(state.iterations()));
}

template <class Library> void Parse(benchmark::State& state) {
    const std::string& text = text_of(state.range(0));
    for (auto _ : state) {
        Library library;
        library.fill(text);
        const Stopwatch watch;
        if (!library.parse())
            state.SkipWithError("does not parse");
        state.SetIterationTime(watch.seconds());
    }
    count_bytes(state, text.size());
}

template <class Library> void Write(benchmark::State& state) {
    Library library;
    fill_and_parse(&library, state);
    size_t size = 0;
    for (auto _ : state)
        size = library.write();
    count_bytes(state, size);
}

template <class Library> void Walk(benchmark::State& state) {
    Library library;
    fill_and_parse(&library, state);
    for (auto _ : state)
        benchmark::DoNotOptimize(library.walk());
}

void Traverse(benchmark::State& state) {
    Kalto library;
    fill_and_parse(&library, state);
    for (auto _ : state)
        benchmark::DoNotOptimize(library.traverse());
}

// Times one step on a document that has just been parsed.
template <class Library, class Step> void time_step(benchmark::State& state, Step step) {
    for (auto _ : state) {
        Library library;
        fill_and_parse(&library, state);
        const Stopwatch watch;
        step(library);
        state.SetIterationTime(watch.seconds());
    }
}

template <class Library> void ReadAttributes(benchmark::State& state) {
    time_step<Library>(state, [](Library& library) { benchmark::DoNotOptimize(library.read_attributes()); });
}

template <class Library> void SetAttributes(benchmark::State& state) {
    time_step<Library>(state, [](Library& library) { library.set_attributes(); });
}

template <class Library> void DeleteHalf(benchmark::State& state) {
    time_step<Library>(state, [](Library& library) { library.delete_half(); });
}

template <class Library> void Release(benchmark::State& state) {
    time_step<Library>(state, [](Library& library) { library.release(); });
}

size_t bytes_in_use() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

// The ends of pool blocks that no record has reached: no memory stands behind them yet.
template <class Library> size_t untouched(const Library& /*library*/) {
    return 0;
}
size_t untouched(const Kalto& library) {
    size_t bytes = 0;
    for (const CVurlMemPool* pool : {library.dom.m_pStringPool, library.dom.m_pObjectPool}) {
        for (; pool != nullptr; pool = pool->pNext)
            bytes += pool->Remaining();
    }
    return bytes;
}

// Bytes of the heap for each element, the text of the document included. The time means nothing here.
template <class Library> void Memory(benchmark::State& state) {
    Kalto counted;
    fill_and_parse(&counted, state);
    size_t elements = 0;
    counted.visit([&](CVurlIterator& /*it*/) { ++elements; });
    size_t bytes = 0;
    for (auto _ : state) {
        const size_t before = bytes_in_use();
        Library library;
        fill_and_parse(&library, state);
        bytes = bytes_in_use() - before - untouched(library);
    }
    state.counters["bytes/element"] = static_cast<double>(bytes) / static_cast<double>(elements);
}

#define FOR_EACH_LIBRARY(name)                                                                               \
    BENCHMARK_TEMPLATE(name, Kalto)->NAME_ARGUMENTS;                                                         \
    BENCHMARK_TEMPLATE(name, Pugi)->NAME_ARGUMENTS;                                                          \
    BENCHMARK_TEMPLATE(name, Rapid)->NAME_ARGUMENTS;                                                         \
    BENCHMARK_TEMPLATE(name, Tiny)->NAME_ARGUMENTS

#define NAME_ARGUMENTS DenseRange(kSmall, kProse)->UseManualTime()->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(Parse);
#undef NAME_ARGUMENTS
#define NAME_ARGUMENTS DenseRange(kSmall, kProse)->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(Write);
#undef NAME_ARGUMENTS
#define NAME_ARGUMENTS Arg(kMedium)->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(Walk);
BENCHMARK(Traverse)->NAME_ARGUMENTS;
#undef NAME_ARGUMENTS
#define NAME_ARGUMENTS DenseRange(kMedium, kProse)->Iterations(1)->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(Memory);
#undef NAME_ARGUMENTS
// A fixed number: most of the time goes into the parsing before each step, which does not count.
#define NAME_ARGUMENTS Arg(kMedium)->UseManualTime()->Iterations(60)->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(ReadAttributes);
FOR_EACH_LIBRARY(SetAttributes);
FOR_EACH_LIBRARY(DeleteHalf);
#undef NAME_ARGUMENTS
#define NAME_ARGUMENTS                                                                                       \
    DenseRange(kMedium, kLarge)->UseManualTime()->Iterations(20)->Unit(benchmark::kMicrosecond)
FOR_EACH_LIBRARY(Release);

} // namespace

// Memory that one library has freed stays in the process, so that all are measured on memory that was touched
// before, in whatever order they run. With an argument of --cold the allocator does as usual; then run one
// library at a time.
int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--cold") == 0) {
        --argc;
        ++argv;
    } else {
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
