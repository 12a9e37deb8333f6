// The two ini files that keep what the block table holds, reached by the names of their values.
#pragma once

#include <cstdint>
#include <optional>

#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelplatform/qmEnv/QmRegKey.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

/// A value that a store could not take: the operating-system code of the failure.
using WriteFailure = std::optional<std::uint32_t>;

/// blocks.ini of the home directory.
class BlocksIni {
 public:
  static constexpr const qmWChar* kGeneral = u"General";

  BlocksIni();

  const qmWChar* path() const { return path_; }
  Presence presence() const { return presenceOf(path_); }
  bool exists() const { return presence() == Presence::Present; }

  /// Makes the file, UTF-16 with its mark and nothing else, where there is none.
  void createIfMissing() const;

  /// Name of the section of the block at `index`, which counts from 0.
  static qmWString sectionOf(std::int64_t index);

  int readInt(const qmWString& section, const qmWChar* key, int byDefault) const;
  /// At most 259 units.
  qmWString readText(const qmWString& section, const qmWChar* key) const;
  WriteFailure write(const qmWString& section, const qmWChar* key, const qmWString& value) const;
  WriteFailure write(const qmWString& section, const qmWChar* key, std::int64_t value) const;

 private:
  qmWChar path_[kPathSize] = {};
};

/// The measurement section of quelmetra.ini.
class MeasurementSettings {
 public:
  MeasurementSettings();

  Presence presence() const { return presenceOf(path_); }
  bool exists() const { return presence() == Presence::Present; }
  QmRegKey& key() { return key_; }
  template <typename Value>
  WriteFailure write(const qmWChar* name, const Value& value) {
    key_[name] = value;
    const std::uint32_t error = key_.LastError();
    return error == 0 ? WriteFailure() : WriteFailure(error);
  }

 private:
  qmWChar path_[kPathSize] = {};
  QmRegKey key_;
};

}  // namespace quelcore
