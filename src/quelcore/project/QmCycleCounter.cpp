#include "quelcore/project/QmCycleCounter.h"

#include <ctime>
#include <optional>

#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelplatform/qmEnv/QmRegKey.h"

using quelcore::Presence;
using quelcore::presenceByLastError;

namespace {

constexpr const qmWChar* kMeasurement = u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement";
constexpr const qmWChar* kAutoMeasurement = u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Quelauto Measurement";

/// A value of the store.
struct Place {
  const qmWChar* key;
  const qmWChar* name;
};

constexpr Place kCurrent{kMeasurement, u"CurrentCycleCounterValue"};
constexpr Place kLastOhc{kMeasurement, u"LastOHCCycleCounterValue"};
constexpr Place kLastMeasure{kAutoMeasurement, u"QmQAM.LastMeasure"};

void open(QmRegKey& key, const qmWChar* path, std::uint32_t access) {
  qmWChar file[quelcore::kPathSize] = {};
  QmWorkPlace::getQmIniFilePath(file, quelcore::kPathSize);
  key.AttachIniFile(file);
  key.Branch(path, true, access);
}

/// What the store holds, so far as that is known: a value or that there is none, or neither.
template <typename Value>
struct Stored {
  std::optional<Value> value;
  bool known = false;
};

template <typename Value>
Stored<Value> read(const Place& place) {
  QmRegKey key;
  open(key, place.key, QmRegKey::kRead);
  if (!key.IsValid()) return {};
  if (!key.IsValue(place.name)) return {std::nullopt, presenceByLastError() != Presence::Unknown};
  const auto value = static_cast<Value>(key[place.name]);
  if (presenceByLastError() == Presence::Unknown) return {};
  return {value, true};
}

template <typename Value>
void write(const Place& place, Value value) {
  QmRegKey key;
  open(key, place.key, QmRegKey::kReadWrite);
  if (key.IsValid()) key[place.name] = value;
}

}  // namespace

std::uint32_t QmCycleCounter::getCurrentValue() { return read<std::uint32_t>(kCurrent).value.value_or(0); }

std::uint32_t QmCycleCounter::incCurrentValue() {
  const auto stored = read<std::uint32_t>(kCurrent);
  const std::uint32_t value = stored.value.value_or(0) + 1;
  if (stored.known) write(kCurrent, value);
  return value;
}

std::uint32_t QmCycleCounter::getLastOHCValue() { return read<std::uint32_t>(kLastOhc).value.value_or(0); }

void QmCycleCounter::setLastOHCValue() {
  const auto stored = read<std::uint32_t>(kCurrent);
  if (stored.known) write(kLastOhc, stored.value.value_or(0));
}

bool QmCycleCounter::getLastMeasure(std::int32_t& time) {
  const std::optional<std::int32_t> stored = read<std::int32_t>(kLastMeasure).value;
  if (stored) time = *stored;
  return stored.has_value();
}

void QmCycleCounter::setLastMeasure() { write(kLastMeasure, static_cast<std::int32_t>(std::time(nullptr))); }
