#include "web/DeviationReport.h"

#include <fmt/core.h>

#include <cmath>

#include "models/Block.h"
#include "models/DeviationTexts.h"
#include "web/DeviationPage.h"
#include "web/Origin.h"

namespace queltool {

namespace {

std::string signedLength(double millimetres) {
  const SiteUnit unit = siteUnit();
  return std::isnan(millimetres) ? "none, of one point alone"
                                 : fmt::format("{:+.6g} {}", unit.perMillimetre * millimetres, unit.name);
}

std::string length(double millimetres) {
  const std::string text = signedLength(millimetres);
  return text.front() == '+' ? text.substr(1) : text;
}

std::string percentText(double share) { return fmt::format("{:.2f} %", 100.0 * share); }

std::vector<PageRow> figuresOf(const DeviationRun& run) {
  const DeviationFigures& f = run.figures;
  const auto captions = captionsOf(run.tolerance);
  std::vector<PageRow> rows = {{"Points with a deviation", fmt::format("{}", f.count)},
                               {"Mean", signedLength(f.mean)},
                               {"RMS", length(f.rms)},
                               {"Standard deviation (n \xE2\x88\x92 1)", length(f.standardDeviation)},
                               {"Smallest", signedLength(f.smallest)},
                               {"Largest", signedLength(f.largest)},
                               {"95 % are off by at most", length(f.quantile95)},
                               {"99 % are off by at most", length(f.quantile99)},
                               {"Within tolerance", percentText(f.shareWithin())},
                               {captions[0], shareText(f.below, f.count)},
                               {captions[1], shareText(f.within, f.count)},
                               {captions[2], shareText(f.above, f.count)},
                               {"Not finite, left out", fmt::format("{}", run.off.notFinite)},
                               {"Nearest to an open border, not judged", fmt::format("{}", run.off.atBorder)},
                               {"Without a side, not judged", fmt::format("{}", run.off.withoutSide)}};
  return rows;
}

std::string alignmentText(const Alignment& alignment) {
  return fmt::format("turned by {:.6g} degrees, moved by {}; {} RMS before, {} after", alignment.degrees,
                     length(alignment.shift), length(alignment.before.rms), length(alignment.after.rms));
}

std::vector<PageRow> originOf(const DeviationRun& run, const std::filesystem::path& block) {
  std::vector<PageRow> rows = {{"Cloud", run.cloud}};
  rows.push_back({"Compared with", run.plane ? run.nominal : run.reference + ", " + run.nominal});
  if (!run.transform.empty()) rows.push_back({"Moved by", run.transform.string()});
  if (run.alignment) rows.push_back({"Aligned", alignmentText(*run.alignment)});
  if (!block.empty()) {
    const std::vector<PageRow> head = identityOf(block, loadHead(block).record());
    rows.insert(rows.end(), head.begin(), head.end());
  }
  const std::vector<PageRow> making = originOfPage();
  rows.insert(rows.end(), making.begin(), making.end());
  return rows;
}

std::vector<std::string> notesOf(const DeviationRun& run) {
  std::vector<std::string> notes = run.remarks;
  if (!run.alignment) return notes;
  for (const FreeMotion& motion : run.alignment->held) {
    notes.push_back("The shape leaves a " + nameOf(motion) + " free; the alignment made none.");
  }
  if (!run.alignment->converged) {
    notes.push_back("The alignment did not come to rest: its last round moved a point by " +
                    length(run.alignment->lastStep) + ".");
  }
  return notes;
}

}  // namespace

void writeDeviationReport(const std::filesystem::path& file, const DeviationRun& run,
                          const std::filesystem::path& block, const std::vector<std::string>& notes) {
  std::vector<std::string> allNotes = notesOf(run);
  allNotes.insert(allNotes.end(), notes.begin(), notes.end());
  writeDeviationPage(file, {.title = "Deviations of " + run.cloud,
                            .points = run.off.points,
                            .deviations = run.off.each,
                            .lower = run.tolerance.lower,
                            .upper = run.tolerance.upper,
                            .oneSided = run.tolerance.oneSided,
                            .table = readColourTable(),
                            .unit = siteUnit(),
                            .figures = figuresOf(run),
                            .origin = originOf(run, block),
                            .notes = std::move(allNotes),
                            .json = jsonOf(run)});
}

}  // namespace queltool
