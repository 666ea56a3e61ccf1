// Documents that are parsed, searched, edited and written, and faulty ones that are refused.
#include "soak.h"

#include <kalto/xml.h>
#include <memory>

namespace {

std::string Shelf() {
    std::string text = "<?xml version=\"1.0\"?>\n<shelf>\n";
    for (DWORD i = Random(200) + 1; i-- > 0;)
        text += "\t<item code=\"" + std::to_string(i) + "\"><name>number &lt;x&gt;</name></item>\n";
    return text + "</shelf>";
}

void SearchAndEdit(const std::string& text) {
    CVurlDOM document;
    document.ReadDoc(text.c_str());
    const std::unique_ptr<CVurlElementList> items(CVurlElement(&document).selectNodes("//item"));
    Expect(items != nullptr && items->m_nCount > 0, "selectNodes");
    CVurlIterator item = CVurlElement(&document).selectSingleNode("/item[@code='0']");
    for (int i = 0; i < 20; ++i)
        item.SetAttribute("edited", std::to_string(Random(1000)).c_str());
    item.InsertElement("note", VURL_LAST_CHILD);
    item.SetData("<a & b>");
    document.Clean();
    unsigned size = 0;
    const char* written = document.WriteDoc(&size, 0);
    CVurlDOM again;
    Expect(written != nullptr && again.ReadDoc(written) != 0, "what was written can be read");
    Expect(CVurlElement(&document).selectNodes("//item[") == nullptr, "a wrong expression");
}

} // namespace

void DocumentsStep(const std::wstring&) {
    std::string text = Shelf();
    SearchAndEdit(text);
    CVurlDOM document;
    text.resize(text.size() - 1 - Random(7)); // within the last end tag
    Expect(document.ReadDoc(text.c_str()) == 0, "a document that is cut");
}
