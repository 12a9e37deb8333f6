// Whether a loaded tensor can be trusted: what must hold of every good head, measured.
#pragma once

#include <string>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

enum class Verdict { Good, Warning, Bad };

struct Check {
  std::string key;   ///< Stable, for machines.
  std::string what;  ///< For people.
  Verdict verdict;
  std::string finding;  ///< Figures, and what a bad one means.
};

/// Runs all checks. Figures in pixels are taken over the corners of the reconstruction box and its centre.
std::vector<Check> checkHealth(const tag_qmReconsTensorData& tensor);

/// Bad when a check is bad; else a warning when there is one.
Verdict worstOf(const std::vector<Check>& checks);

const char* nameOf(Verdict verdict);

}  // namespace queltool
