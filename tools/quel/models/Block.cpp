#include "models/Block.h"

#include "files/Failure.h"
#include "files/Temporaries.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

void refuseToOverwrite(const fs::path& file) {
  std::error_code unknown;
  if (!fs::exists(file, unknown)) return;
  throw Failure(file.string() +
                ": this block is there already and stays; give another --number or --out, or --force to replace it");
}

}  // namespace

fs::path storeBlock(const quel::Head& head, const fs::path& folder, bool overwrite) {
  const quel::HeadIdentity identity = head.identity();
  const quel::BlockFiles files = quel::filesOfBlock(folder, identity.machineId, identity.blockNumber);
  if (!overwrite) {
    refuseToOverwrite(files.tensor);
    if (usesLuts(head.record())) refuseToOverwrite(files.luts);
  }
  const Undisturbed storing;
  const auto stored = head.store(folder, overwrite);
  if (!stored) throw Failure(stored.error().message());
  return stored.value();
}

void replaceBlock(const quel::BlockFiles& from, const quel::BlockFiles& to) {
  const Undisturbed storing;
  const auto done = quel::replaceBlock(from, to);
  if (!done) throw Failure(done.error().message());
}

quel::Head loadHead(const fs::path& file) {
  const auto head = quel::Head::load(file);
  if (!head) throw Failure(head.error().message());
  return head.value();
}

std::unique_ptr<QmReconsTensor> loadBlock(const fs::path& file) {
  return std::make_unique<QmReconsTensor>(loadHead(file).record());
}

}  // namespace queltool
