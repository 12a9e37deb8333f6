#include "demo/ScanDeviations.h"

#include "demo/ScanNominal.h"
#include "files/Files.h"
#include "nominal/NominalFile.h"

namespace queltool {

namespace {

constexpr std::size_t kColumns = 90;
constexpr Tolerance kTolerance = {-1.0, 1.0};

}  // namespace

DeviationRun runDeviations(const std::vector<Vec3>& scan, const std::filesystem::path& file,
                           const std::filesystem::path& nominal) {
  writeWholeFile(nominal, plyOf(nominalOf(scan, kColumns)));
  const auto mesh = readNominal({.file = nominal.string()});
  DeviationRun run;
  run.cloud = file.filename().string();
  run.reference = nominal.filename().string();
  run.nominal = mesh->title();
  run.remarks = mesh->remarks();
  run.tolerance = kTolerance;
  run.off = deviationsFrom(*mesh, scan, 0, 0);
  run.figures = figuresOf(run.off.each, run.tolerance);
  return run;
}

std::vector<std::string> notesOnNominal() {
  return {
      "The nominal was made by the demonstration: it is a mesh of a smoothed, thinned copy of the scan itself. What is "
      "shown is what smoothing takes away, and not how well a part was made."};
}

}  // namespace queltool
