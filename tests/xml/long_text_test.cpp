// Long texts are scanned and written many bytes at a time. Whatever is where in them, the results are those
// of the ways that go byte by byte: CVurlDOM::ParseXMLData, and a sink that an application has selected.
#include <gtest/gtest.h>
#include <kalto/xml.h>
#include <random>
#include <string>
#include <vector>

namespace {

// Up to 400 bytes of plain runs, entities, what only looks like one, and characters that end nothing here.
std::string random_text(std::mt19937& random, const std::vector<std::string>& pieces) {
    std::string text;
    for (auto count = random() % 60; count > 0; --count) {
        if (random() % 3 == 0)
            text += pieces[random() % pieces.size()];
        else
            text.append(random() % (random() % 4 == 0 ? 40 : 8), static_cast<char>('a' + random() % 26));
    }
    return text;
}

std::string decoded_by_bytes(std::string text, char stop) {
    text += stop;
    CVurlDOM dom;
    char* position = text.data();
    dom.ParseXMLData(&position, stop);
    return text.c_str();
}

class Collector : public CVurlDOM {
  public:
    std::string written(const char* text) {
        m_pfnOutput = static_cast<void (CVurlDOM::*)(const char*, unsigned)>(&Collector::collect);
        collected_.clear();
        OutputWithEntityConversion(text);
        return collected_;
    }

  private:
    void collect(const char* text, unsigned length) { collected_.append(text, length); }
    std::string collected_;
};

TEST(LongText, IsDecodedAsByteByByte) {
    std::mt19937 random(7);
    const std::vector<std::string> pieces = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;", "&",    "&&",
                                             "&lt",  "&l",   "&#65;", "'",      "=",      "\x01", "\xC3\xA9"};
    for (int round = 0; round < 3000; ++round) {
        const std::string text = random_text(random, pieces);
        const std::string value = random_text(random, pieces);
        // What follows keeps the end of the document, which is scanned byte by byte, away from the text.
        const std::string document =
            "<a v=\"" + value + "\">" + text + "</a>" + std::string(random() % 2 * 200, ' ');
        CVurlDOM dom;
        ASSERT_EQ(dom.ReadDoc(document.c_str()), 1) << document;
        ASSERT_EQ(dom.m_pRoot->pszData == nullptr ? "" : std::string(dom.m_pRoot->pszData),
                  decoded_by_bytes(text, '<'))
            << document;
        ASSERT_EQ(dom.m_pRoot->pFirstAttribute->pszValue, decoded_by_bytes(value, '"')) << document;
    }
}

TEST(LongText, IsWrittenAsToASelectedSink) {
    std::mt19937 random(8);
    const std::vector<std::string> pieces = {"&lt;", "&gt;", "&amp;", "&quot;", "'",
                                             "#",    "=",    "!",     "&lt;!",  "\xC3\xA9"};
    Collector collector;
    for (int round = 0; round < 3000; ++round) {
        const std::string text = random_text(random, pieces);
        const std::string document = "<a>" + text + "</a>" + std::string(random() % 2 * 2000, ' ');
        CVurlDOM dom;
        ASSERT_EQ(dom.ReadDoc(document.c_str()), 1) << document;
        const char* const data = dom.m_pRoot->pszData;
        const std::string element = data == nullptr ? "<a/>" : "<a>" + collector.written(data) + "</a>";
        unsigned size = 0;
        const char* const written = dom.WriteDoc(&size, 0);
        ASSERT_EQ(std::string(written, size), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + element)
            << document;
    }
}

} // namespace
