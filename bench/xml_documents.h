// The documents that the XML benchmarks read.
#ifndef KALTO_BENCH_XML_DOCUMENTS_H
#define KALTO_BENCH_XML_DOCUMENTS_H

#include <cstddef>
#include <random>
#include <string>

// A registry of about `size` bytes: nested keys, each with values of name, data and type.
inline std::string registry_document(size_t size) {
    static const char* const kWords[] = {"Display", "Network", "Radio",  "Scanner", "Power", "Keyboard",
                                         "Timeout", "Profile", "Server", "Printer", "Light", "Volume"};
    std::mt19937 random(1);
    const auto word = [&] { return std::string(kWords[random() % 12]); };
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Registry>\n <k Name=\"HKEY_LOCAL_MACHINE\">\n";
    for (int key = 0; text.size() < size; ++key) {
        text += "  <k Name=\"" + word() + " " + word() + " " + std::to_string(key) + "\">\n";
        for (int group = 0; group < 3; ++group) {
            text += "   <k Name=\"" + word() + "\">\n";
            for (auto values = 2 + random() % 6; values > 0; --values) {
                const unsigned long number = random();
                const char* type = number % 3 == 0 ? "REG_DWORD" : number % 3 == 1 ? "REG_SZ" : "REG_BINARY";
                const std::string data = number % 3 == 0 ? std::to_string(number)
                                         : number % 3 == 1
                                             ? "\\Program Files\\" + word() + "\\" + word() + ".dll"
                                             : "de ad 01 00 ff 7f 00 00";
                text += "    <v Name=\"" + word() + word() + "\" value=\"" + data + "\" type=\"" + type +
                        "\"/>\n";
            }
            text += "   </k>\n";
        }
        text += "  </k>\n";
    }
    return text + " </k>\n</Registry>\n";
}

// Prose of about `size` bytes: paragraphs of some hundred bytes, an entity in every fifth word or so.
inline std::string prose_document(size_t size) {
    static const char* const kWords[] = {"handheld",          "the",       "signal", "of",      "a",
                                         "scanner",           "&lt;b&gt;", "reads",  "R&amp;D", "labels",
                                         "&quot;shelf&quot;", "by",        "and",    "counts",  "it"};
    std::mt19937 random(2);
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<book>\n";
    for (int chapter = 0; text.size() < size; ++chapter) {
        text += " <chapter title=\"" + std::to_string(chapter) + "\">\n";
        for (int paragraph = 0; paragraph < 20; ++paragraph) {
            text += "  <p>";
            for (auto words = 30 + random() % 100; words > 0; --words)
                text += std::string(kWords[random() % 15]) + (words == 1 ? "" : " ");
            text += "</p>\n";
        }
        text += " </chapter>\n";
    }
    return text + "</book>\n";
}

#endif
