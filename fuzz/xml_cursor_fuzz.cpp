// The cursor on an XML document, and what is done at it. Input: a document up to a zero byte, then operations, each a
// byte and the texts that it takes.
//
// The document is held against one that is read again from its text: both are one and the same at any time.
#include "fuzz/support/Fuzzing.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

constexpr int kMostSteps = 40;

qmWString textOf(quelfuzz::Input& in) { return toWide(std::string(in.text()).c_str()); }

/// What was done fails with a reason, or succeeds without one.
void requireReason(const CMarkupSTL& xml, bool done) {
  quelfuzz::require(done == xml.GetError().empty(), "what fails says why");
}

void addElement(CMarkupSTL& xml, quelfuzz::Input& in) {
  const qmWString name = textOf(in);
  const qmWString text = textOf(in);
  const qmWString before = xml.GetDoc();
  const bool added = xml.AddElem(name.c_str(), text.c_str());
  requireReason(xml, added);
  if (!added) return quelfuzz::require(xml.GetDoc() == before, "an element that is refused changes nothing");
  quelfuzz::require(xml.GetTagName() == name && xml.GetData() == text, "an element that was added is the current one");
}

void addAttribute(CMarkupSTL& xml, quelfuzz::Input& in) {
  const qmWString name = textOf(in);
  const qmWString text = textOf(in);
  const qmWString before = xml.GetDoc();
  const bool added = xml.AddAttrib(name.c_str(), text.c_str());
  requireReason(xml, added);
  if (!added) return quelfuzz::require(xml.GetDoc() == before, "an attribute that is refused changes nothing");
  quelfuzz::require(xml.GetAttrib(name.c_str()) == text, "an attribute has the text that it was given");
}

void findElement(CMarkupSTL& xml, const qmWChar* name) {
  const qmWString before = xml.GetTagName();
  const bool found = xml.FindElem(name);
  if (!found) return quelfuzz::require(xml.GetTagName() == before, "a search that fails keeps the element");
  quelfuzz::require(name == nullptr || xml.GetTagName() == name, "what is found has the name");
}

void removeElement(CMarkupSTL& xml) {
  const bool had = !xml.GetTagName().empty();
  const bool removed = xml.RemoveElem();
  requireReason(xml, removed);
  quelfuzz::require(removed == had && (!removed || xml.GetTagName().empty()), "only a current element is removed");
}

/// The current element is a document of its own.
void requireSection(const CMarkupSTL& xml) {
  const qmWString section = xml.GetSection();
  CMarkupSTL own;
  quelfuzz::require(own.SetDoc(section.c_str()), "an element is a document");
  if (section.empty()) return quelfuzz::require(xml.GetTagName().empty(), "only no element has no text");
  quelfuzz::require(own.FindElem(nullptr) && own.GetTagName() == xml.GetTagName() && own.GetData() == xml.GetData(),
                    "an element stays what it is");
}

void step(CMarkupSTL& xml, quelfuzz::Input& in) {
  switch (in.byte() % 12) {
    case 0:
      return findElement(xml, nullptr);
    case 1:
      return findElement(xml, textOf(in).c_str());
    case 2:
      return quelfuzz::require(xml.IntoElem() || xml.GetTagName().empty(), "one can go into an element");
    case 3:
      return quelfuzz::require(!xml.OutOfElem() || !xml.GetTagName().empty(), "one goes out to an element");
    case 4:
      return addElement(xml, in);
    case 5:
      return addAttribute(xml, in);
    case 6:
      return requireReason(xml, xml.AddAttrib(textOf(in).c_str(), std::uint32_t{in.byte()}));
    case 7:
      return requireReason(xml, xml.AddAttrib(textOf(in).c_str(), -std::int32_t{in.byte()}));
    case 8:
      return removeElement(xml);
    case 9:
      return xml.ResetMainPos();
    case 10:
      return xml.ResetPos();
    default:
      return requireSection(xml);
  }
}

void requireSaved(CMarkupSTL& xml) {
  const qmWString document = xml.GetDoc();
  const qmWString path = quelfuzz::pathOf("cursor.xml");
  CMarkupSTL again;
  quelfuzz::require(again.SetDoc(document.c_str()) && again.GetDoc() == document, "a document is its text");
  if (!xml.Save(path.c_str())) return quelfuzz::require(!xml.GetError().empty(), "what is not saved says why");
  quelfuzz::require(again.Load(path.c_str()) && again.GetDoc() == document, "a saved document is loaded as it was");
}

/// Files that cannot be, and elements deeper than they may lie.
void requireRefusals() {
  CMarkupSTL xml;
  const qmWString nowhere = quelfuzz::pathOf("nowhere/a.xml");
  quelfuzz::require(!xml.Load(nullptr) && !xml.Load(nowhere.c_str()) && !xml.GetError().empty(),
                    "what is no file is none");
  const qmWString folder = quelfuzz::pathOf("legends");
  quelfuzz::require(!xml.Save(folder.c_str()), "no root, no file");
  for (int level = 0; level < 256; ++level) quelfuzz::require(xml.AddElem(u"a") && xml.IntoElem(), "256 levels");
  quelfuzz::require(!xml.AddElem(u"a"), "one level too many");
  quelfuzz::require(!xml.Save(folder.c_str()) && !xml.Save(nullptr), "a folder is no file");
  const qmWString kept = quelfuzz::makeFile("kept.xml", "<kept/>");
  quelfuzz::makeReadOnly("kept.xml");
  quelfuzz::require(!xml.Save(kept.c_str()), "a read-only file stays");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  quelfuzz::Input in(quelfuzz::bytesOf(data, size));
  CMarkupSTL xml;
  xml.SetDoc(textOf(in).c_str());
  for (int steps = 0; !in.atEnd() && steps < kMostSteps; ++steps) step(xml, in);
  requireSaved(xml);
  return 0;
}
