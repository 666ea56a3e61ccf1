// Long texts are scanned and written many bytes at a time. Whatever is where in them, the results are those
// of the ways that go byte by byte: CVurlDOM::ParseXMLData, and a sink that an application has selected.
#include "tests/xml/tree_text.h"
#include "xml/text_stream.h"
#include <random>
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
        const std::string name(1 + random() % 40, 'n');
        std::string document = "<" + name + " " + name + "=\"" + value + "\">" + text + "</" + name + ">";
        // The text fills its block of memory, or what follows keeps the end of that, which is scanned byte by
        // byte, away from it.
        const bool fills = random() % 2 == 0;
        if (fills)
            document.insert(0, (510 - document.size() % 256) % 256, ' ');
        else
            document += std::string(200, ' ');
        const Document dom(document);
        ASSERT_TRUE(!fills || dom.m_pStringPool->Remaining() == 0) << document;
        const std::string data = decoded_by_bytes(text, '<');
        ASSERT_EQ(tree_text(dom), name + "[" + name + "=" + decoded_by_bytes(value, '"') + "]" +
                                      (data.empty() ? "" : "'" + data + "'"));
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
        Document dom(document);
        const char* const data = dom.m_pRoot->pszData;
        const std::string element = data == nullptr ? "<a/>" : "<a>" + collector.written(data) + "</a>";
        ASSERT_EQ(written(&dom), element) << document;
    }
}

class Pieces : public kalto::TextReceiver {
  public:
    explicit Pieces(size_t most) : most_(most) {}
    virtual ~Pieces() = default;
    bool take(const char* text, size_t length) override {
        whole_.append(text, length);
        return most_-- > 0;
    }
    const std::string& whole() const { return whole_; }

  private:
    size_t most_;
    std::string whole_;
};

// Wherever the end of the window falls, and also for strings that do not lie in the document's memory.
TEST(LongText, IsHandedOnInPiecesAsItIsWritten) {
    std::mt19937 random(9);
    const std::vector<std::string> pieces = {"&lt;", "&gt;",  "&amp;",        "&quot;",
                                             "'",    "&lt;!", "<![CDATA[x]]>"};
    const std::string outside(3000, 'o');
    for (int round = 0; round < 1000; ++round) {
        std::string document = "\n<r>";
        for (auto count = random() % 40; count > 0; --count)
            document += "\n <e v=\"" + random_text(random, {"&amp;", "&quot;", "&lt;"}) + "\"><x>" +
                        random_text(random, pieces) + "</x>\n</e>";
        Document dom(document + "</r>");
        if (round % 2 != 0)
            dom.m_pRoot->pszTagName = outside.c_str() + random() % outside.size();
        const std::vector<char>::size_type size = kalto::kLeastWindow + random() % 100;
        std::vector<char> window(size); // of its own, so that a step beyond its end is seen
        Pieces all(SIZE_MAX);
        ASSERT_TRUE(kalto::stream_text(&dom, all, window.data(), size));
        ASSERT_EQ(all.whole(), dom.WriteDoc(nullptr, 0)) << document;
        Pieces none(0);
        ASSERT_FALSE(kalto::stream_text(&dom, none, window.data(), size));
        ASSERT_LE(none.whole().size(), size) << "went on after a refusal";
    }
}

} // namespace
