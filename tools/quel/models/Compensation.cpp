#include "models/Compensation.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/Texts.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr const qmWChar* kRates[] = {u"ax",  u"ay",  u"skew", u"xp", u"yp", u"rx", u"ry", u"rz",
                                     u"D01", u"D02", u"D12",  u"k1", u"k2", u"k3", u"p1", u"p2"};

QmBlockCorrectionParameters readTable(const fs::path& file) {
  if (fs::exists(file) && !fs::is_regular_file(file)) throw Failure(file.string() + ": is no regular file");
  const Reasons reasons;
  QmBlockCorrectionParameters table;
  if (!table.Initialize(widePath(file))) throw Failure(std::string(unreadable(file).what()) + reasons.text());
  const std::vector<std::string> remarks = lastRemarks();
  if (!remarks.empty()) throw Failure(remarks.front());
  return table;
}

bool isKnown(const std::string& name) {
  return std::any_of(std::begin(kRates), std::end(kRates),
                     [&](const qmWChar* each) { return lowerCase(toNarrow(each)) == lowerCase(name); });
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
    const double number = numberOf(camera).value_or(-1.0);
    if (isKnown(name) && number >= 0.0 && number <= 2.0) continue;
    others.push_back(fmt::format("{} of camera {}", name, camera));
  }
  return others;
}

std::size_t countRates(QmBlockCorrectionParameters& table) {
  std::size_t count = 0;
  for (const qmWChar* each : kRates) {
    for (std::uint32_t camera = 0; camera < 3; ++camera) {
      qmWString name = each;
      double rate = 0.0;
      if (table.GetParameter(name, camera, rate)) ++count;
    }
  }
  return count;
}

bool isFinite(const tag_qmDistortParams& p) {
  const double values[] = {p.k1, p.k2, p.k3, p.p1, p.p2, p.xp, p.yp};
  return std::all_of(std::begin(values), std::end(values), [](double value) { return std::isfinite(value); });
}

bool isFinite(const double (&projection)[4][4]) {
  return std::all_of(std::begin(projection), std::end(projection), [](const double(&row)[4]) {
    return std::all_of(std::begin(row), std::end(row), [](double value) { return std::isfinite(value); });
  });
}

bool isFinite(const tag_qmReconsTensorData& head) {
  for (int camera = 0; camera < 3; ++camera) {
    if (!isFinite(head.projections[camera]) || !isFinite(head.projectionsInLutFrame[camera]) ||
        !isFinite(head.distortParams[camera]) || !isFinite(head.distortParams2[camera])) {
      return false;
    }
  }
  return true;
}

// A file older than this version holds one temperature, which serves as all three.
constexpr std::int32_t kThreeTemperatures = -10;

void setReference(tag_qmReconsTensorData& head, double temperature) {
  head.temperature[TEMPERATURE_REFERENCE] = temperature;
  if (head.version <= kThreeTemperatures) return;
  head.temperature[TEMPERATURE_FIRST] = head.temperature[TEMPERATURE_SECOND] = temperature;
}

}  // namespace

Compensated compensate(const QmReconsTensor& block, const fs::path& file, double temperature) {
  QmBlockCorrectionParameters table = readTable(file);
  Compensated result{std::make_unique<QmReconsTensor>(), countRates(table), leftOutOf(file)};
  if (result.rates == 0) {
    throw Failure(file.string() +
                  ": holds no rate of camera 0, 1 or 2; known are ax, ay, skew, xp, yp, rx, ry, rz, D01, D02, D12, k1, "
                  "k2, k3, p1 and p2");
  }
  if (!block.BuildCorrectedTensor(temperature, table, *result.block) || !isFinite(*result.block)) {
    throw Failure(file.string() + ": a camera that is compensated by these rates is no camera any more");
  }
  setReference(*result.block, temperature);
  return result;
}

}  // namespace queltool
