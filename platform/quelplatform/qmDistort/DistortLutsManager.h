// The owner of all distortion look-up tables of a process.
//
// A set of tables is loaded once, however many tensors use it. References belong to sets; identifiers are names of a
// set, and one set may have several. A name belongs to one set at a time and may move to another, so whoever was handed
// a set keeps it by that pointer and gives it back by that pointer: a name may by then mean another set. A set lives
// while it has references; without any it stays, as long as it has a name, until `removeUnusedDistortLuts`. The table
// is guarded: every call may be made from several threads. Identifiers have 1 to 23 characters. Log lines bear the name
// "DistortLutsManager" and level 5.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmDistort/qmDistort.h"
#include "quelplatform/qmEnv/qmTypes.h"

class QUELPLATFORM_API DistortLutsManager {
 public:
  /// Identifier to tables.
  using LutMap = std::map<std::string, const tag_qmDistortLuts*>;
  /// Identifiers with the tables to store under them.
  using LutList = std::vector<std::pair<std::string, const tag_qmDistortLuts*>>;

  /// The one manager of the process.
  static DistortLutsManager& getManager();

  /// Reads the LUT file `path` and sets the value of each identifier of `luts` that the file holds; the others keep
  /// their value. Takes one reference per identifier that it delivers. What it delivers is what the file holds: the set
  /// that the identifier names, if it has references and the same content (told by a checksum of shape, depths and
  /// cells); otherwise a new set, which takes over the name. The earlier set then lives on with its holders. False,
  /// with `luts` unchanged and one log line that names file, place and cause, when the file cannot be read or is
  /// damaged anywhere.
  bool loadLutsFile(LutMap& luts, const qmWChar* path);

  /// Writes `luts` to the new LUT file `path`; the file is complete or the old one stays. False, with one log line, for
  /// a null set, a set that no file may hold (one without cells, as `addDistortLuts` creates it), an identifier that is
  /// empty, too long or twice in the list, or a failed write. The last argument is not used. An empty list makes a file
  /// without sets.
  static bool storeLutsFile(const LutList& luts, const qmWChar* path, bool unused);

  /// Finds the set of `id`, or creates one without tables under that name, adds a reference, and hands the set out.
  /// False for an identifier that is null, empty or too long, or when memory is exhausted; `*out` is then null. A null
  /// `out` gives false.
  bool addDistortLuts(const char* id, const tag_qmDistortLuts** out);

  /// Registers `newId` as a further name of the set of `oldId` and adds a reference. False for an unknown `oldId`, a
  /// `newId` that is null, empty or too long, or when memory is exhausted. A `newId` that names another set moves to
  /// this one; the other keeps its references.
  bool addDistortLuts(const char* newId, const char* oldId);

  /// Hands out the set of `id`, adding a reference if `addReference`. False, with `*out` null, for null and for an
  /// unknown identifier. A null `out` gives false.
  bool getExistDistortLuts(const char* id, const tag_qmDistortLuts** out, bool addReference);

  /// Adds a reference. Unknown identifiers and sets, and null, are ignored.
  void distortLutsAddRef(const char* id);
  void distortLutsAddRef(const tag_qmDistortLuts* luts);

  /// Drops a reference; nothing for null, an unknown set or identifier, or a count of 0. By identifier, the set that it
  /// names now loses one: that is for holders that asked by identifier and know that nobody moved the name since.
  void distortLutsReleaseRef(const tag_qmDistortLuts* luts);
  void removeDistortLuts(const char* id);

  /// Frees all sets without references, with their names. Returns the number of sets.
  std::int32_t removeUnusedDistortLuts();

  /// Frees everything, whatever references are left.
  void releaseAllDistortLuts();

  DistortLutsManager(const DistortLutsManager&) = delete;
  DistortLutsManager& operator=(const DistortLutsManager&) = delete;

 private:
  // The table itself stands behind the library's boundary.
  DistortLutsManager() = default;
};
