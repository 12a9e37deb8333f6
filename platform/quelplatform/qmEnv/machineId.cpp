#include "quelplatform/qmEnv/machineId.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/text/blanks.h"
#include "quelplatform/qmEnv/HomeTable.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace quelplatform {

namespace {

constexpr std::size_t kLength = 8;
constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool fitsFileNames(char c) { return c > ' ' && c <= '~' && c != '/' && c != '\\'; }

/// The identifier that quelmetra.ini sets; empty when it sets none.
class ChosenMachineId {
 public:
  explicit ChosenMachineId(IniFile& file) {
    const IniSection* section = file.find("Machine");
    const IniEntry* entry = section == nullptr ? nullptr : section->find("MachineID");
    if (entry == nullptr || entry->value.empty()) return;
    if (std::all_of(entry->value.begin(), entry->value.end(), fitsFileNames)) {
      id_ = fittedMachineId(entry->value);
    } else {
      file.report(entry->line, "MachineID may hold printable ASCII characters other than blanks, '/' and '\\' only");
    }
  }

  const std::string& id() const { return id_; }

 private:
  std::string id_;
};

std::string firstLineOf(const char* path) {
  const Descriptor descriptor(openFile(path, O_RDONLY));
  std::array<char, 256> bytes{};
  if (!descriptor.isOpen() || read(descriptor.get(), bytes.data(), bytes.size() - 1) <= 0) return {};
  const std::string_view text(bytes.data());
  return std::string(trimmed(text.substr(0, text.find('\n'))));
}

std::string hostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? std::string(name.data()) : std::string();
}

std::string derivedId() {
  const std::string line = firstLineOf("/etc/machine-id");
  return machineIdFrom(line.empty() || line == "uninitialized" ? hostName() : line);
}

}  // namespace

std::string fittedMachineId(std::string_view text) {
  text = text.substr(0, kLength);
  return std::string(kLength - text.size(), '0') + std::string(text);
}

// FNV-1a, then the finish of splitmix64, so that names that differ in one character differ everywhere.
std::string machineIdFrom(std::string_view machine) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : machine) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  hash = (hash ^ (hash >> 30)) * 0xBF58476D1CE4E5B9ULL;
  hash = (hash ^ (hash >> 27)) * 0x94D049BB133111EBULL;
  hash ^= hash >> 31;
  std::string id(kLength, '0');
  for (char& c : id) {
    c = kDigits[hash % kDigits.size()];
    hash /= kDigits.size();
  }
  return id;
}

std::string machineId() {
  static auto& chosen = *new HomeTable<ChosenMachineId>("quelmetra.ini", "qmCamera");
  static const std::string& derived = *new std::string(derivedId());
  const std::shared_ptr<const ChosenMachineId> table = chosen.get();
  return table->id().empty() ? derived : table->id();
}

}  // namespace quelplatform

std::int32_t qmEnvMachineID(char* buffer, std::int32_t size) noexcept try {
  if (buffer == nullptr || size <= 0) return 0;
  const std::string id = quelplatform::machineId();
  const std::size_t length = std::min(id.size(), static_cast<std::size_t>(size));
  std::copy_n(id.begin(), length, buffer);
  return static_cast<std::int32_t>(length);
} catch (const std::exception&) {
  return 0;
}
