// One setup of the project store: a directory at its fourth level (root, project, part, setup), and a few figures about
// what it holds.
//
// A value: copies are independent, and it opens no file. "Loaded" is a flag of its owner.
//
// Operations that fill a buffer of `size` units return the size that the text takes, its NUL counted. They write all of
// it or nothing: nothing when the buffer is null or the text without its NUL is not shorter than `size` - so a buffer
// with room for exactly the text and its NUL takes it.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/windows/fileTime.h"

class QUELCORE_API QmSetupInfo {
 public:
  /// Empty texts, not loaded, no tiles and features, cycle -1, the first of all file times.
  QmSetupInfo() = default;

  const qmWChar* GetRoot() const { return root_.c_str(); }
  const qmWChar* GetProject() const { return project_.c_str(); }
  const qmWChar* GetPart() const { return part_.c_str(); }
  const qmWChar* GetSetup() const { return setup_.c_str(); }
  const qmWChar* GetFixtureID() const { return fixtureId_.c_str(); }

  /// The pointer forms take null for empty text.
  void SetRoot(const qmWString& root) { root_ = root; }
  void SetRoot(const qmWChar* root) { root_ = orEmpty(root); }
  void SetProject(const qmWString& project) { project_ = project; }
  void SetProject(const qmWChar* project) { project_ = orEmpty(project); }
  void SetPart(const qmWString& part) { part_ = part; }
  void SetPart(const qmWChar* part) { part_ = orEmpty(part); }
  void SetSetup(const qmWString& setup) { setup_ = setup; }
  void SetSetup(const qmWChar* setup) { setup_ = orEmpty(setup); }
  void SetFixtureID(const qmWString& id) { fixtureId_ = id; }
  void SetFixtureID(const qmWChar* id) { fixtureId_ = orEmpty(id); }

  bool IsRootChosen() const { return !root_.empty(); }
  bool IsProjectChosen() const { return !project_.empty(); }
  bool IsPartChosen() const { return !part_.empty(); }
  bool IsSetupChosen() const { return !setup_.empty(); }
  /// All four names are chosen.
  bool IsValid() const;

  bool IsLoaded() const { return loaded_; }
  void SetLoaded(bool loaded) { loaded_ = loaded; }
  std::int32_t GetTilesNumber() const { return tilesNumber_; }
  void SetTilesNumber(std::int32_t number) { tilesNumber_ = number; }
  std::int32_t GetFeatsNumber() const { return featsNumber_; }
  void SetFeatsNumber(std::int32_t number) { featsNumber_ = number; }
  /// The measurement cycle; -1 is none.
  std::int32_t GetCycleNumber() const { return cycleNumber_; }
  void SetCycleNumber(std::int32_t number) { cycleNumber_ = number; }
  /// When the setup's file was written last.
  const FILETIME& GetLastModified() const { return lastModified_; }
  void SetLastModified(const FILETIME& time) { lastModified_ = time; }

  /// Back to the state of a new object.
  /// Required: the time of the last modification stays.
  void Reset();

  /// The same directory: root, project, part and setup are equal, unit by unit. Nothing else counts.
  bool operator==(const QmSetupInfo& other) const;

  /// Writes project:part:setup:root, whatever the names hold; the root stands last because it may have a colon of its
  /// own, behind a drive letter. Returns the size that the line takes.
  std::int32_t SaveToStream(qmWChar* buffer, std::int32_t size) const;

  /// Reads such a line, after `Reset`. The first three names have 1 to 259 units, up to the next colon; the root
  /// reaches to the line end, and units beyond 259 do not count. A line without a root gets the current project root
  /// (`QmWorkPlace::getCurProjRoot`). Null and empty text give true and a reset object.
  ///
  /// False for a name that is empty, too long or without a colon behind it, with the names before it and the current
  /// project root kept; and when memory is exhausted. A problem (base/QmProblem.h) names the column.
  bool FillByStream(const qmWChar* line);

  /// The path of the setup, joined by `QmWorkPlace::path_separator`. Returns the size that it takes, its NUL counted; 0
  /// for a setup that is not valid.
  std::int32_t GetSetupPath(qmWChar* buffer, std::int32_t size) const;
  /// The same path as a text. Returns its length; 0 with `path` as it was when memory is exhausted.
  /// Required: counts no NUL, unlike the form above, and does not ask whether the setup is valid: an empty name leaves
  /// two separators in a row.
  std::int32_t GetSetupPath(qmWString& path) const;

  /// The path of the file `tail` of the setup. Returns the size that it takes; 0 for a setup that is not valid and for
  /// a null `tail`.
  std::int32_t MakeSetupFilePath(const qmWChar* tail, qmWChar* buffer, std::int32_t size) const;
  /// As above for the picture of the setup (`QmWorkPlace::getPreviewFileTail`).
  std::int32_t GetPreviewFilePath(qmWChar* buffer, std::int32_t size) const;
  /// As above for its notes (`QmWorkPlace::getReadmeFileTail`).
  std::int32_t GetReadmeFilePath(qmWChar* buffer, std::int32_t size) const;

 private:
  static const qmWChar* orEmpty(const qmWChar* text) { return text == nullptr ? u"" : text; }

  qmWString root_;
  qmWString project_;
  qmWString part_;
  qmWString setup_;
  qmWString reserved_[2];
  qmWString fixtureId_;
  bool loaded_ = false;
  std::int32_t tilesNumber_ = 0;
  std::int32_t featsNumber_ = 0;
  std::int32_t cycleNumber_ = -1;
  FILETIME lastModified_ = {};
};
