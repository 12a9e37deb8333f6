// The global materials. Input: a file, read for every head.
//
// Losses: what is left out of the table (QmXmlMaterialIO.h), and all elements and attributes beside it.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/operations/QmXmlMaterialIO.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

namespace {

qmWString decimal(double value) {
  char digits[32];
  return toWide(std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr).c_str());
}

void add(CMarkupSTL& xml, const qmWChar* element, const qmWChar* attribute, const qmWString& value) {
  quelfuzz::require(xml.AddElem(element) && xml.AddAttrib(attribute, value.c_str()), "a table can be written");
}

void writeProcesses(CMarkupSTL& xml, const std::map<qmWString, QmMaterialParams>& processes) {
  for (const auto& [name, params] : processes) {
    add(xml, u"Process", u"Name", name);
    xml.AddAttrib(u"Param1", decimal(params.Param1).c_str());
    xml.AddAttrib(u"Param2", decimal(params.Param2).c_str());
    xml.AddAttrib(u"Param3", decimal(params.Param3).c_str());
  }
}

qmWString write(const QmGlobalMaterialTable& table) {
  CMarkupSTL xml;
  add(xml, u"QuelmetraDataFile", u"VersionFile", u"1.0");
  xml.IntoElem();
  add(xml, u"ConfigTable", u"Type", u"GLOBAL_MATERIALS");
  xml.IntoElem();
  add(xml, u"OpticalHeadModel", u"Type", u"OH2002");
  xml.IntoElem();
  for (const auto& [lens, materials] : table) {
    add(xml, u"Lens", u"Type", decimal(static_cast<double>(lens)));
    xml.IntoElem();
    for (const auto& [name, processes] : materials) {
      add(xml, u"Material", u"Name", name);
      xml.IntoElem();
      writeProcesses(xml, processes);
      xml.OutOfElem();
    }
    xml.OutOfElem();
  }
  const qmWString path = quelfuzz::pathOf("again.xml");
  quelfuzz::require(xml.Save(path.c_str()), "a table can be saved");
  return path;
}

bool isSame(const QmMaterialParams& a, const QmMaterialParams& b) {
  return a.Param1 == b.Param1 && a.Param2 == b.Param2 && a.Param3 == b.Param3;
}

bool isSame(const QmGlobalMaterialTable& a, const QmGlobalMaterialTable& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& left, const auto& right) {
    const auto sameProcess = [](const auto& x, const auto& y) {
      return x.first == y.first && isSame(x.second, y.second);
    };
    const auto sameMaterial = [&](const auto& x, const auto& y) {
      return x.first == y.first &&
             std::equal(x.second.begin(), x.second.end(), y.second.begin(), y.second.end(), sameProcess);
    };
    return left.first == right.first &&
           std::equal(left.second.begin(), left.second.end(), right.second.begin(), right.second.end(), sameMaterial);
  });
}

/// The numbers of every Process in the document, wherever it stands.
std::vector<QmMaterialParams> processesIn(const qmWString& path) {
  std::vector<QmMaterialParams> found;
  CMarkupSTL xml;
  xml.Load(path.c_str());
  const auto number = [&](const qmWChar* name) { return _wtof(xml.GetAttrib(name).c_str()); };
  for (std::size_t depth = 0;;) {
    if (xml.FindElem(nullptr)) {
      if (xml.GetTagName() == u"Process") found.push_back({number(u"Param1"), number(u"Param2"), number(u"Param3")});
      xml.IntoElem();
      ++depth;
    } else if (depth-- == 0 || !xml.OutOfElem()) {
      return found;
    }
  }
}

void requireProcesses(const QmGlobalMaterialTable& table, const qmWString& path) {
  const std::vector<QmMaterialParams> given = processesIn(path);
  for (const auto& [lens, materials] : table) {
    for (const auto& [material, processes] : materials) {
      for (const auto& [process, params] : processes) {
        const QmMaterialParams& own = params;
        const auto same = [&own](const QmMaterialParams& other) { return isSame(own, other); };
        quelfuzz::require(std::any_of(given.begin(), given.end(), same), "a process is one of the document");
      }
    }
  }
}

bool isFinite(const QmGlobalMaterialTable& table) {
  for (const auto& [lens, materials] : table) {
    for (const auto& [material, processes] : materials) {
      for (const auto& [process, params] : processes) {
        if (!std::isfinite(params.Param1) || !std::isfinite(params.Param2) || !std::isfinite(params.Param3))
          return false;
      }
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    quelfuzz::require(!QmXmlGlobalMaterialIO().Open(nullptr) && !QmXmlGlobalMaterialIO().Open(u""),
                      "no file, no table");
  });
  const qmWString path = quelfuzz::makeFile("materials.xml", quelfuzz::bytesOf(data, size));
  QmXmlGlobalMaterialIO io;
  QmGlobalMaterialTable table;
  {
    const quelfuzz::MemoryWatch watch;
    const bool opened = io.Open(path.c_str());
    const bool read = opened && io.Read(OPTICAL_HEAD_2002_C, table);
    // The section of the head is a document of its own, beside the whole one.
    watch.requireAtMost(2 * quelfuzz::kTimesXml, 20, size);
    quelfuzz::require(read == !table.empty(), "a table was read when there is one");
    qmWString text;
    quelfuzz::require(io.ReadAllToStream(text) == opened, "a document has a text");
  }
  QmGlobalMaterialTable none;
  for (const OPTICAL_HEAD head : {OPTICAL_HEAD_UNKNOWN, OPTICAL_HEAD_100, static_cast<OPTICAL_HEAD>(size)}) {
    if (head < OPTICAL_HEAD_2002_A || head > OPTICAL_HEAD_2002_D) {
      quelfuzz::require(!io.Read(head, none) && none.empty(), "other heads have no materials");
    }
  }
  requireProcesses(table, path);
  if (table.empty() || !isFinite(table)) return 0;
  QmXmlGlobalMaterialIO again;
  QmGlobalMaterialTable second;
  quelfuzz::require(again.Open(write(table).c_str()) && again.Read(OPTICAL_HEAD_2002_A, second),
                    "a written table can be read");
  quelfuzz::require(isSame(table, second), "a table stays what it was");
  return 0;
}
