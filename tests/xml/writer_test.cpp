#include "tests/xml/tree_text.h"
#include <cstring>
#include <gtest/gtest.h>

TEST(Writer, KeepsTheLayoutOfEachDocument) {
    const struct {
        const char* text;
        const char* written;
    } cases[] = {
        {"<r a='1'><x>1</x><y/></r>", "<r a=\"1\"><x>1</x><y/></r>"},
        {"<r v='a&lt;b'>\n\t<x>1</x>\n\n<y/></r>\n", "\n<r v=\"a&lt;b\">\n\t<x>1</x>\n\t<y/>\n</r>"},
        {"<r>\r\n  <x><y><z/></y></x><w/></r>",
         "\r\n<r>\r\n <x>\r\n  <y>\r\n   <z/>\r\n  </y>\r\n </x>\r\n <w/>\r\n</r>"},
        {"<r><x><y>\n\t</y></x></r>", "<r><x><y>\n\t</y></x></r>"}, // the third tag ends the search
        {"<?p?><?p?><?p?><!--\n--><r><x/></r>", "\n<r>\n<x/>\n</r>"},
        {"<\n\t/>", "< />"},                           // the line feed is the tag's first byte
        {"<r>\n \n\t<x/></r>", "\n<r>\n\t<x/>\n</r>"}, // tabs win
        {"<r>x & \"y\" 'z' ></r>", "<r>x &amp; &quot;y&quot; &apos;z&apos; &gt;</r>"},
        {"<r>a<![CDATA[<\"&>]]>b&gt;<![CDATA[]]></r>", "<r>a<![CDATA[<\"&>]]>b&gt;<![CDATA[]]></r>"},
        {"<r>&lt;![CDATA[x]]</r>", "<r>&lt;![CDATA[x]]</r>"},
        {"<r a='<![CDATA[<>]]><'/>", "<r a=\"<![CDATA[<>]]>&lt;\"/>"},
        {"<r a='<![CDATA[\"]]>'/>", "<r a=\"&lt;![CDATA[&quot;]]&gt;\"/>"},
        {"<r a='<![CDATA[&lt;]]>' b='<![CDATA[&amp;lt;]]>'/>",
         "<r a=\"<![CDATA[<]]>\" b=\"&lt;![CDATA[&amp;lt;]]&gt;\"/>"},
        {"< />", "< />"},
        {"< a=''/>", "< a=\"\"/>"},
    };
    for (const auto& c : cases) {
        Document first(c.text);
        EXPECT_EQ(written(&first), c.written) << c.text;
        CVurlDOM second;
        EXPECT_EQ(second.ReadDoc(first.m_pDocBuffer), 1) << c.text;
        EXPECT_EQ(tree_text(second), tree_text(first)) << c.text;
    }
}

TEST(Writer, ObeysTheStyleReservesRoomAndWritesNothingForAnEmptyDocument) {
    Document dom("\xEF\xBB\xBF<r/>");
    unsigned size = 0;
    const char* buffer = dom.WriteDoc(&size, 4);
    EXPECT_EQ(buffer, dom.m_pDocBuffer);
    EXPECT_EQ(buffer + 4, std::string("\xEF\xBB\xBF") + kDeclaration + "<r/>");
    EXPECT_TRUE(size == std::strlen(buffer + 4) && dom.m_nDocSize == size);
    dom.m_nDocStyle |= DOCSTYLE_NO_DECL;
    EXPECT_STREQ(dom.WriteDoc(nullptr, 0), "\xEF\xBB\xBF<r/>");
    dom.m_pRoot = nullptr;
    EXPECT_EQ(dom.WriteDoc(&size, 8), nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(dom.m_pDocBuffer, nullptr);
}

TEST(Writer, SendsPiecesToTheSelectedSink) {
    CVurlDOM dom;
    dom.Output("lost: no sink is selected");
    dom.m_pfnOutput = &CVurlDOM::AccumulateDocSize;
    dom.OutputWithEntityConversion("a<b");
    EXPECT_EQ(dom.m_nDocSize, 6u);
    dom.AccumulateDocSize("", 0xFFFFFFFFu);
    EXPECT_EQ(dom.m_nDocSize, 0xFFFFFFFFu);
    char buffer[64] = {};
    dom.m_pOutputCursor = buffer;
    dom.m_pfnOutput = &CVurlDOM::SendOutputToDocBuffer;
    dom.OutputWithEntityConversion("<![CDATA[\"]]>&");
    EXPECT_STREQ(buffer, "<![CDATA[\"]]>&amp;");
}
