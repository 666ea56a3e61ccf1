// xmltool FILE               prints the tree of an XML document
// xmltool --format FILE OUT  reads a document and writes it in its own layout, one element a line
// xmltool --select EXPRESSION FILE
//                            prints each element that the expression selects, seen from the root, with its
//                            path
//
// A document that cannot be read is reported with line, column and reason, a wrong expression with its
// reason. The exit status is 0, 1 after any failure, or 2 when nothing was selected. Names and expressions
// that hold blanks are put in double quotes (which the shell must be kept from taking away).
#include <windows.h>

#include <clocale>
#include <cstdio>
#include <kalto/xml.h>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

const int kFailed = 1;
const int kNothingSelected = 2;

int ReportFailure(const char* name) {
    fprintf(stderr, "xmltool: %s: %s\n", name, strerror(errno));
    return kFailed;
}

std::vector<std::string> Arguments() {
    std::vector<std::string> arguments;
    const char* text = GetCommandLineA();
    while (*(text += strspn(text, " ")) != '\0') {
        bool quoted = *text == '"';
        text += quoted ? 1 : 0;
        size_t length = strcspn(text, quoted ? "\"" : " ");
        arguments.push_back(std::string(text, length));
        text += length;
        text += quoted && *text == '"' ? 1 : 0;
    }
    return arguments;
}

long SizeOf(FILE* file) {
    if (fseek(file, 0, SEEK_END) != 0)
        return -1;
    long size = ftell(file);
    return fseek(file, 0, SEEK_SET) == 0 ? size : -1;
}

// The document reads its text where the file put it.
bool FillBuffer(FILE* file, CVurlDOM& dom) {
    long size = SizeOf(file);
    if (size < 0)
        return false;
    char* buffer = dom.CreateDocBuffer(static_cast<unsigned>(size));
    return buffer != nullptr &&
           fread(buffer, 1, static_cast<size_t>(size), file) == static_cast<size_t>(size);
}

// Parsing changes the text, so the lines before the fault are counted in the file.
void ReportFault(const char* name, FILE* file, const CVurlDOM& dom) {
    unsigned line = 1;
    unsigned column = 1;
    rewind(file);
    for (unsigned offset = 0; offset < dom.m_nDocSize; ++offset) {
        bool ends = fgetc(file) == '\n';
        line += ends ? 1 : 0;
        column = ends ? 1 : column + 1;
    }
    fprintf(stderr, "%s:%u:%u: %s\n", name, line, column, dom.GetErrorDescription());
}

bool ReadDocument(const char* name, CVurlDOM& dom) {
    FILE* file = KaltoFopen(name, "rb");
    bool filled = file != nullptr && FillBuffer(file, dom);
    bool parsed = filled && dom.ReadDoc() != 0;
    if (!filled)
        ReportFailure(name);
    else if (!parsed)
        ReportFault(name, file, dom);
    if (file != nullptr)
        fclose(file);
    return parsed;
}

void PrintElement(CVurlIterator& it, const std::string& title) {
    fputs(title.c_str(), stdout);
    const char* name = nullptr;
    const char* value = nullptr;
    for (int more = it.GetFirstAttribute(&name, &value); more; more = it.GetNextAttribute(&name, &value))
        printf(" %s=\"%s\"", name, value);
    if (it.GetData() != nullptr)
        printf(": %s", it.GetData());
    putchar('\n');
}

std::string Indented(const CVurlIterator& it) {
    return std::string(2 * static_cast<size_t>(it.m_nDepth), ' ') + it.GetTagName();
}

// The way to an element by names, with a number where the parent has several children of that name. Brothers
// and sisters are numbered together, once.
class Paths {
  public:
    std::string To(CVurlIterator it) {
        std::string path;
        do {
            if (m_steps.count(it.m_pNode) == 0)
                NumberSiblings(it);
            path = m_steps[it.m_pNode] + path;
        } while (it.ToParentElement() != 0);
        return path;
    }

  private:
    void NumberSiblings(CVurlIterator it) {
        std::unordered_map<std::string, std::vector<CVurlNode*>> named;
        it.ToFirstElement();
        do {
            named[it.GetTagName()].push_back(it.m_pNode);
        } while (it.ToNextElement() != 0);
        for (const auto& [name, nodes] : named) {
            for (size_t i = 0; i < nodes.size(); ++i)
                m_steps[nodes[i]] = "/" + name + (nodes.size() > 1 ? "[" + std::to_string(i + 1) + "]" : "");
        }
    }

    std::unordered_map<CVurlNode*, std::string> m_steps;
};

int Select(const char* expression, const char* name) {
    CVurlDOM dom;
    if (!ReadDocument(name, dom))
        return kFailed;
    std::unique_ptr<CVurlElementList> found(CVurlElement(&dom).selectNodes(expression));
    if (found == nullptr) {
        fprintf(stderr, "xmltool: %s: %s\n", expression, dom.GetXPathErrorDescription());
        return kFailed;
    }
    Paths paths;
    CVurlIterator it;
    while (found->nextNode(&it) != 0)
        PrintElement(it, paths.To(it));
    return found->m_nCount == 0 ? kNothingSelected : 0;
}

int PrintTree(const char* name) {
    CVurlDOM dom;
    if (!ReadDocument(name, dom))
        return kFailed;
    CVurlIterator it;
    it.BindToDOM(&dom);
    PrintElement(it, Indented(it));
    for (int step = it.BeginTraverseHere(); step != 0; step = it.ContinueTraverse()) {
        if (step == 1)
            PrintElement(it, Indented(it));
    }
    return 0;
}

int Format(const char* name, const char* out) {
    CVurlDOM dom;
    if (!ReadDocument(name, dom))
        return kFailed;
    unsigned size = 0;
    const char* text = dom.WriteDoc(&size, 0);
    FILE* file = text == nullptr ? nullptr : KaltoFopen(out, "wb");
    if (file == nullptr)
        return ReportFailure(out);
    bool whole = fwrite(text, 1, size, file) == size;
    bool closed = fclose(file) == 0;
    return whole && closed ? 0 : ReportFailure(out);
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    setlocale(LC_CTYPE, "");
    std::vector<std::string> arguments = Arguments();
    if (arguments.size() == 1)
        return PrintTree(arguments[0].c_str());
    if (arguments.size() == 3 && arguments[0] == "--format")
        return Format(arguments[1].c_str(), arguments[2].c_str());
    if (arguments.size() == 3 && arguments[0] == "--select")
        return Select(arguments[1].c_str(), arguments[2].c_str());
    fprintf(stderr, "usage: xmltool FILE\n       xmltool --format FILE OUT\n"
                    "       xmltool --select EXPRESSION FILE\n");
    return kFailed;
}
