// Documents that are parsed, searched, edited, merged and written, and faulty ones that are refused.
#include "station.h"

#include <kalto/xml.h>
#include <memory>

namespace {

std::string Shelf(Station& station) {
    std::string text = "<?xml version=\"1.0\"?>\n<shelf>\n";
    const DWORD count = 1 + station.Random(200);
    for (DWORD i = 0; i < count; ++i)
        text += "\t<item code=\"" + std::to_string(i) + "\"><name>number &lt;" + std::to_string(i) +
                "&gt;</name></item>\n";
    return text + "</shelf>";
}

void SearchAndEdit(Station& station, const std::string& text) {
    CVurlDOM document;
    station.Expect(document.ReadDoc(text.c_str()) != 0, "ReadDoc");
    const std::unique_ptr<CVurlElementList> items(CVurlElement(&document).selectNodes("//item"));
    station.Expect(items != nullptr && items->m_nCount > 0, "selectNodes");
    CVurlIterator item = CVurlElement(&document).selectSingleNode("/item[@code='0']");
    station.Expect(item.m_pNode != nullptr, "selectSingleNode");
    for (int i = 0; i < 20; ++i)
        item.SetAttribute("edited", std::to_string(station.Random(1000)).c_str());
    item.InsertElement("note", VURL_LAST_CHILD);
    item.SetData("<a & b>");
    document.Clean();
    unsigned size = 0;
    const char* written = document.WriteDoc(&size, 0);
    station.Expect(written != nullptr && strlen(written) == size, "WriteDoc");
    CVurlDOM again;
    station.Expect(written != nullptr && again.ReadDoc(written) != 0, "what was written can be read");
    station.Expect(CVurlElement(&document).selectNodes("//item[") == nullptr, "a wrong expression");
}

void Refuse(Station& station, std::string text) {
    CVurlDOM document;
    text.resize(text.size() - 1 - station.Random(7)); // within the last end tag
    station.Expect(document.ReadDoc(text.c_str()) == 0, "a document that is cut");
    station.Expect(document.ReadDoc("<whole/>") != 0, "the next one");
}

} // namespace

void DocumentsStep(Station& station) {
    const std::string text = Shelf(station);
    SearchAndEdit(station, text);
    Refuse(station, text);
}
