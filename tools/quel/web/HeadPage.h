// A head as one page for a browser, which needs no network and nothing beside it: where its cameras stand and what they
// see, how well it measures, what its lenses do, and whether it is sound.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "files/Json.h"
#include "models/Health.h"
#include "models/SiteUnit.h"
#include "models/Uncertainty.h"
#include "quel/head/Head.h"
#include "web/Html.h"

namespace queltool {

/// Rows under a caption.
struct PageSheet {
  std::string caption;
  std::vector<PageRow> rows;
};

struct HeadPage {
  std::string title;      ///< "Head of QUEL0001-1.tns"
  std::string lead = {};  ///< What is said of it below that.
  quel::Head head;
  std::optional<Volume> volume = {};  ///< In which it measures, where that is known.
  std::optional<Uncertainty> uncertainty = {};
  std::string measuredWith = {};    ///< "0.05 px of noise in each coordinate, linear fit"
  std::string whyNotMeasured = {};  ///< Where there is no uncertainty.
  std::vector<Check> checks = {};
  SiteUnit unit;                       ///< In which lengths are shown.
  std::vector<PageSheet> sheets = {};  ///< What the block says, and what is behind the page.
  std::vector<std::string> notes = {};
  Json json = {};  ///< Every figure, for other programs.
};

/// Throws `Failure` when the file cannot be written.
void writeHeadPage(const OutputFile& file, const HeadPage& page);

}  // namespace queltool
