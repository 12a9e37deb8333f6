#include "models/Problems.h"

#include <fmt/core.h>

#include "quelcore/base/QmProblem.h"

namespace queltool {
namespace {

std::string lineOf(const QmProblem& problem) {
  char line[sizeof(QmProblem) + 128];
  qmProblemText(problem, line, sizeof line);
  return line;
}

}  // namespace

std::string lastProblem() {
  const QmProblem* problem = qmLastProblem();
  return problem == nullptr ? std::string() : lineOf(*problem);
}

std::vector<std::string> lastRemarks() {
  std::vector<std::string> lines;
  while (const QmProblem* remark = qmLastRemark(static_cast<std::int32_t>(lines.size()))) {
    lines.push_back(lineOf(*remark));
  }
  return lines;
}

void tellRemarks() {
  for (const std::string& remark : lastRemarks()) fmt::print(stderr, "quel: warning: {}\n", remark);
}

Failure unreadable(const std::filesystem::path& file) {
  const std::string problem = lastProblem();
  return Failure(problem.empty() ? file.string() + ": cannot be read" : problem);
}

}  // namespace queltool
