#include "models/Compensation.h"

#include "files/Failure.h"
#include "quel/head/Head.h"

namespace queltool {

Compensated compensate(const QmReconsTensor& block, const std::filesystem::path& file, double temperature) {
  const auto table = quel::CorrectionTable::load(file);
  if (!table) throw Failure(table.error().message());
  const auto head = quel::Head::fromRecord(block).compensated(table.value(), temperature);
  if (!head) throw Failure(head.error().message());
  return {std::make_unique<QmReconsTensor>(head.value().record()), table.value().rates(), table.value().leftOut()};
}

}  // namespace queltool
