// The problem and the remarks of the last reading as lines, for tests of readers.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "quelcore/base/QmProblem.h"

namespace quel::testing {

/// A problem without its file as one line; "none" for null.
inline std::string lineOf(const QmProblem* problem) {
  if (problem == nullptr) return "none";
  char line[2048];
  const std::int32_t length = qmProblemText(*problem, line, sizeof(line));
  EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(line));
  const std::string file = problem->file;
  const std::string whole = line;
  if (file.empty() || !whole.starts_with(file)) return whole;
  return whole.substr(file.size() + 2);  // Behind the comma or colon.
}

inline std::string lastProblem() { return lineOf(qmLastProblem()); }

inline std::vector<std::string> lastRemarks() {
  std::vector<std::string> remarks;
  while (const QmProblem* remark = qmLastRemark(static_cast<std::int32_t>(remarks.size()))) {
    remarks.push_back(lineOf(remark));
  }
  return remarks;
}

}  // namespace quel::testing
