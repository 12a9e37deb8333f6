#include "quel/head/CorrectionTable.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <system_error>

#include "quel/base/Letters.h"
#include "quel/base/Paths.h"
#include "quel/base/Readings.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"

namespace quel {

namespace fs = std::filesystem;

namespace {

constexpr const char* kRates[] = {"ax",  "ay",  "skew", "xp", "yp", "rx", "ry", "rz",
                                  "d01", "d02", "d12",  "k1", "k2", "k3", "p1", "p2"};

bool isKnown(const std::string& name) {
  return std::find(std::begin(kRates), std::end(kRates), lowerCase(name)) != std::end(kRates);
}

// The whole text as a number; -1 where it is none.
double numberOr(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return text.empty() || end != text.c_str() + text.size() ? -1.0 : value;
}

// Rates that nobody asks the table for.
std::vector<std::string> leftOutOf(const fs::path& file) {
  std::vector<std::string> others;
  CMarkupSTL xml;
  if (!xml.Load(widePath(file).c_str()) || !xml.FindElem(u"BlockCorrectionParameters")) return others;
  xml.IntoElem();
  while (xml.FindElem(u"BlockParameter")) {
    const std::string name = toNarrow(xml.GetAttrib(u"Name"));
    const std::string camera = toNarrow(xml.GetAttrib(u"CameraId"));
    const double number = numberOr(camera);
    if (isKnown(name) && number >= 0.0 && number <= 2.0) continue;
    others.push_back(name + " of camera " + camera);
  }
  return others;
}

std::size_t countRates(QmBlockCorrectionParameters& table) {
  std::size_t count = 0;
  for (const char* each : kRates) {
    for (std::uint32_t camera = 0; camera < 3; ++camera) {
      qmWString name = toWide(each);
      double rate = 0.0;
      if (table.GetParameter(name, camera, rate)) ++count;
    }
  }
  return count;
}

}  // namespace

Result<CorrectionTable> CorrectionTable::load(const fs::path& file) {
  std::error_code unknown;
  if (fs::exists(file, unknown) && !fs::is_regular_file(file, unknown)) {
    return Error{"is no regular file", file.string()};
  }
  const Reasons reasons;
  auto parameters = std::make_shared<QmBlockCorrectionParameters>();
  if (!parameters->Initialize(widePath(file))) return unreadable(file, reasons);
  const Error remark = firstRemark();
  if (!remark.cause.empty()) return remark;
  CorrectionTable table;
  table.file_ = file;
  table.rates_ = countRates(*parameters);
  table.leftOut_ = leftOutOf(file);
  table.parameters_ = std::move(parameters);
  if (table.rates_ != 0) return table;
  return Error{
      "holds no rate of camera 0, 1 or 2; known are ax, ay, skew, xp, yp, rx, ry, rz, D01, D02, D12, k1, k2, k3, p1 "
      "and p2",
      file.string()};
}

}  // namespace quel
