// XML documents and the cursor on them. Input: a file, which is taken as a file and as text.
//
// Losses: a mark, another encoding than UTF-8 and its name in the declaration; in what is written again also how a
// character was spelt, which blanks stood inside a tag, and how an attribute was quoted.
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

struct Element {
  qmWString name;
  qmWString text;
  std::size_t depth;

  bool operator==(const Element&) const = default;
};

/// All elements in document order, found by the cursor alone.
std::vector<Element> elementsOf(CMarkupSTL& xml) {
  std::vector<Element> elements;
  std::size_t depth = 0;
  xml.ResetPos();
  while (true) {
    if (xml.FindElem(nullptr)) {
      elements.push_back({xml.GetTagName(), xml.GetData(), depth});
      xml.IntoElem();
      ++depth;
    } else if (depth-- == 0 || !xml.OutOfElem()) {
      return elements;
    }
  }
}

/// What is written again must read as what was read.
void requireTrip(CMarkupSTL& xml) {
  const qmWString document = xml.GetDoc();
  const std::vector<Element> elements = elementsOf(xml);
  CMarkupSTL again;
  quelfuzz::require(again.SetDoc(document.c_str()), "the text of a document is one");
  quelfuzz::require(again.GetDoc() == document, "the text of a document stays");
  quelfuzz::require(elementsOf(again) == elements, "the elements of a document stay");
  if (elements.empty()) return;
  const qmWString path = quelfuzz::pathOf("again.xml");
  quelfuzz::require(xml.Save(path.c_str()), "a document can be saved");
  quelfuzz::require(quelfuzz::contentOf("again.xml") == toNarrow(document), "a saved document is its text in UTF-8");
  quelfuzz::require(again.Load(path.c_str()) && again.GetDoc() == document, "a saved document can be loaded");
}

/// Puts an element with the text and an attribute of that value behind the first child of the root, and takes it away.
void requireEdits(CMarkupSTL& xml, const Element& model) {
  const std::size_t count = elementsOf(xml).size();
  xml.ResetPos();
  if (!xml.FindElem(nullptr) || !xml.IntoElem()) return;
  xml.FindElem(nullptr);
  quelfuzz::require(xml.AddElem(model.name.c_str(), model.text.c_str()), "an element's name and text can be another's");
  quelfuzz::require(xml.AddAttrib(u"added", model.text.c_str()), "an element's text can be an attribute");
  quelfuzz::require(xml.AddAttrib(u"number", std::int32_t{-7}), "an attribute can be added");
  quelfuzz::require(xml.GetData() == model.text && xml.GetAttrib(u"added") == model.text, "what was added is there");
  requireTrip(xml);
  quelfuzz::require(elementsOf(xml).size() == count + 1, "one element was added");
  xml.ResetPos();
  xml.FindElem(nullptr);
  xml.IntoElem();
  while (xml.FindElem(model.name.c_str()) && xml.GetAttrib(u"number") != u"-7") continue;
  quelfuzz::require(xml.GetAttrib(u"number") == u"-7" && xml.RemoveElem(), "what was added is found and removed");
  quelfuzz::require(elementsOf(xml).size() == count, "one element was removed");
  requireTrip(xml);
}

/// Of text without references, remarks and the like, how many elements and how much text there must be.
void requirePlain(CMarkupSTL& xml, std::string_view bytes) {
  const auto count = [&](std::string_view text) {
    std::size_t number = 0;
    for (std::size_t at = bytes.find(text); at != bytes.npos; at = bytes.find(text, at + 1)) ++number;
    return number;
  };
  if (count("&") + count("<!") + count("<?") + count("\r") != 0 || count("<") != count(">")) return;
  const std::vector<Element> elements = elementsOf(xml);
  quelfuzz::require(elements.size() == count("<") - count("</"), "each tag that begins an element makes one");
  qmWString inside;
  const std::size_t last = bytes.rfind('<');
  for (std::size_t end = bytes.find('>'); end < last;) {
    const std::size_t begin = bytes.find('<', end);
    inside += toWide(bytes.substr(end + 1, begin - end - 1));
    end = bytes.find('>', begin);
  }
  std::size_t length = 0;
  for (const Element& element : elements) length += element.text.size();
  quelfuzz::require(length == inside.size(), "all text between tags is the elements'");
}

void tryDocument(CMarkupSTL& xml) {
  requireTrip(xml);
  const std::vector<Element> elements = elementsOf(xml);
  if (elements.empty() || elements.size() > 200) return;
  requireEdits(xml, elements[elements.size() / 2]);
}

/// Documents large enough for their memory to be one of proportions.
void requireProportions() {
  for (const char* element : {"<a/>", "<a b=\"c\" d='e'>text</a>\n", "<!-- a remark -->", "text &amp; more"}) {
    std::string document = "<r>";
    while (document.size() < (std::size_t{1} << 20)) document += element;
    document += "</r>";
    const qmWString path = quelfuzz::makeFile("large.xml", document);
    CMarkupSTL xml;
    const quelfuzz::MemoryWatch watch;
    quelfuzz::require(xml.Load(path.c_str()), "a large document is loaded");
    watch.requireAtMost(quelfuzz::kTimesXml, 0, document.size());
  }
  quelfuzz::removeFile("large.xml");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireProportions);
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const qmWString path = quelfuzz::makeFile("input.xml", bytes);
  CMarkupSTL xml;
  quelfuzz::require(xml.SetDoc(u"<before/>"), "a document can be made of text");
  bool loaded = false;
  {
    const quelfuzz::MemoryWatch watch;
    loaded = xml.Load(path.c_str());
    watch.requireAtMost(quelfuzz::kTimesXml, 0, size);
  }
  quelfuzz::require(loaded == xml.GetError().empty(), "a refused document says why, a good one nothing");
  quelfuzz::require(loaded || xml.GetDoc().empty(), "a refused file leaves no document");
  if (loaded) {
    const bool isUtf8 = !bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF");
    if (isUtf8) requirePlain(xml, bytes.starts_with("\xEF\xBB\xBF") ? bytes.substr(3) : bytes);
    tryDocument(xml);
  } else if (xml.SetDoc(toWide(std::string(bytes).c_str()).c_str())) {
    tryDocument(xml);
  }
  return 0;
}
