#include "quel/base/Readings.h"

#include "quelcore/base/QmProblem.h"

namespace quel {

namespace {

constexpr std::int32_t kLowestLevel = 3;

std::string lineOf(const QmProblem& problem) {
  char line[sizeof(QmProblem) + 128];
  qmProblemText(problem, line, sizeof line);
  return line;
}

QmProblem withoutPlace(QmProblem problem) {
  problem.file[0] = problem.part[0] = '\0';
  problem.line = problem.column = 0;
  problem.offset = -1;
  return problem;
}

// What stands in the line before the colon, but for the file.
std::string placeOf(QmProblem problem) {
  problem.file[0] = problem.found[0] = problem.expected[0] = '\0';
  std::string line = lineOf(problem);
  if (line.ends_with(": ")) line.resize(line.size() - 2);
  return line;
}

Error errorOf(const QmProblem& problem) { return {lineOf(withoutPlace(problem)), problem.file, placeOf(problem)}; }

}  // namespace

// Receivers run on the thread that logs, one at a time.
Reasons::Reasons()
    : receiver_(quelplatform::addLogReceiver([this, own = std::this_thread::get_id()](const auto& record) {
        if (record.bare || record.level < kLowestLevel || std::this_thread::get_id() != own) return;
        text_ += "\n  " + record.message;
      })) {}

Reasons::~Reasons() { quelplatform::removeLogReceiver(receiver_); }

std::string Reasons::text() const { return text_; }

Error unreadable(const std::filesystem::path& file, const Reasons& reasons) {
  const QmProblem* problem = qmLastProblem();
  Error error = problem == nullptr ? Error{"cannot be read", file.string()} : errorOf(*problem);
  error.cause += reasons.text();
  return error;
}

Error firstRemark() {
  const QmProblem* remark = qmLastRemark(0);
  return remark == nullptr ? Error{} : errorOf(*remark);
}

}  // namespace quel
