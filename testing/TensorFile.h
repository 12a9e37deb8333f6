// Tensor files as bytes, written field by field from their description: the other opinion that reader and writer of the
// library are tested against.
#pragma once

#include <cstdint>
#include <string>

#include "quelcore/records/qmReconsTensorData.h"

namespace quel::testing {

/// The file of `version` (0 to -17) with the contents of `tensor`, whatever its own version. `optionWord` appends
/// `distortOption` to a file of -17, as a complete one has it.
std::string tensorFileBytes(const tag_qmReconsTensorData& tensor, std::int32_t version, bool optionWord = true);

/// The same contents as a legacy file, which begins with the number of cameras.
std::string legacyTensorFileBytes(const tag_qmReconsTensorData& tensor);

/// A LUT identifier entry of a file: its length and `text` as it stands.
std::string lutEntry(std::uint16_t length, const std::string& text);

/// Fills every field of `tensor` that nothing computes with, and the identity, each with numbers of its own.
void fillPreservedFields(tag_qmReconsTensorData& tensor);

/// Names of the fields in which two records differ, LUT pointers and distortion images apart; empty when none does.
std::string differingFields(const tag_qmReconsTensorData& a, const tag_qmReconsTensorData& b);

}  // namespace quel::testing
