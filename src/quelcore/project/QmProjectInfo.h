// One project of the project store: its root directory, the chosen project and part, and the setups of that part.
//
//   root/project/part/setup
//
// A directory is a part or a setup by the marker files in it (`QmWorkPlace`); any directory in the root that is no
// setup may be a project. Names compare unit by unit. No setup is opened: those that a walk lists are not loaded.
//
//   QmProjectInfo info;
//   info.SetProjectName(u"doors");  // else the first project that the directory lists
//   if (info.InitFromDir(u"/data/projects", QmProjectInfo::FS_SETUP) == QmProjectInfo::RC_OK) use(info);
//
// An object is for one thread at a time. The names of the markers are asked for at the first walk and kept. Texts that
// are given as null count as empty. Nothing here logs; std::bad_alloc leaves what has no result to tell it by.
#pragma once

#include <cstdint>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/project/QmSetupInfo.h"
#include "quelplatform/qmEnv/qmTypes.h"

class QUELCORE_API QmProjectInfo {
 public:
  enum ReturnCode : std::int32_t {
    RC_OK = 0,        ///< The walk ran, whatever it found; a directory that cannot be listed counts as empty.
    RC_NULL_DIR = 1,  ///< The directory was null.
    RC_NO_DIR = 2,    ///< The root is no directory.
  };

  /// Which file makes a directory a setup.
  enum FilterSetup : std::int32_t {
    FS_SETUP = 0,       ///< `QmWorkPlace::getSetupFileTail`
    FS_AUTO_SETUP = 1,  ///< `QmWorkPlace::getAutoSetupFileTail`
    FS_NONE = 2,  ///< None, and so for any other value: a path that ends in a separator is tested, which no file has.
  };

  /// Empty texts, no setups, project size 0.
  QmProjectInfo() = default;

  /// Copies the texts, and each setup.
  /// Required: the project size of the copy is 0.
  QmProjectInfo(const QmProjectInfo& other);

  /// Copies the texts and the project size.
  /// Required: shares the setups instead of copying them, and lets its own go without destroying them. Both objects
  /// name the same setups then, and would both destroy them: take them out of one of the two first (`RemoveSetupInfo`).
  QmProjectInfo& operator=(const QmProjectInfo& other);

  /// Destroys the setups.
  virtual ~QmProjectInfo();

  /// Makes `directory` the root and adds the setups that a walk through it finds to those that there are. Null leaves
  /// the root as it was, and gives RC_NO_DIR or RC_NULL_DIR. A project or part name that is set beforehand chooses; an
  /// empty one becomes that of the first project, or part, that the listing gives.
  ///
  /// The walk looks into the root, the chosen project and the chosen part. Setups found on the way at any level count,
  /// each with the names as they stand at that moment; a setup is not looked into. Required: a directory of the root
  /// that is the chosen project and has a part's marker, too, is walked twice if it is the chosen part, and its setups
  /// are listed twice. In the root and in the project links to directories count as directories; below, they are not
  /// followed, so that links back into the tree end.
  ReturnCode InitFromDir(const qmWChar* directory, FilterSetup filter);

  /// Adds the setups that an XML text lists, whose root is in force already:
  ///
  ///       <any><dir name="project"><dir name="part"><dir name="setup"/>...</dir></dir></any>
  ///
  /// Project and part become those of the first "dir" at their levels, as far as it goes. Setups without a name are
  /// passed over. The filter is not used. Returns true. Leaves a problem (base/QmProblem.h) where the text ends short
  /// of a part; remarks are setups without a name. Required: the part of each setup is the name of the project;
  /// `SetPartName` puts all of them right.
  bool InitByXMLHeader(const qmWChar* text, FilterSetup filter);

  /// Appends a setup, which this object owns from then on. False, with the caller owning it still, for null, for a
  /// setup's name that is in the list, and when memory is exhausted.
  bool AddSetupInfo(QmSetupInfo* setup);

  /// The same in front of the setup at `index`. False also for an index that is none.
  /// Required: the number of setups is no index, so nothing can be appended this way.
  bool InsertSetupInfo(std::uint32_t index, QmSetupInfo* setup);

  /// Takes this very object out of the list; `destroy` destroys it, else the caller owns it. False when it is not
  /// there.
  bool RemoveSetupInfo(QmSetupInfo* setup, bool destroy);

  /// The first setup of that name, or null.
  QmSetupInfo* FindSetupInfo(const qmWChar* setupName) const;

  /// The setup at `index`; null for an index that is none.
  QmSetupInfo* GetSetupInfo(std::uint32_t index) const;
  std::uint32_t GetNumSetups() const { return static_cast<std::uint32_t>(setups_.size()); }

  const qmWChar* GetRoot() const { return root_.c_str(); }
  const qmWChar* GetProjectName() const { return projectName_.c_str(); }
  const qmWChar* GetPartName() const { return partName_.c_str(); }
  const qmWChar* GetFilePath() const { return filePath_.c_str(); }

  /// Each sets the name here and in every setup of the list.
  void SetRoot(const qmWChar* root);
  void SetProjectName(const qmWChar* name);
  void SetPartName(const qmWChar* name);
  /// A path of the owner's, which nothing here uses.
  void SetFilePath(const qmWChar* path);

  /// A figure of the owner's, which nothing here computes.
  std::int64_t GetProjectSize() const { return projectSize_; }
  void SetProjectSize(std::int64_t size) { projectSize_ = size; }

  /// Root, "\", project name.
  qmWString GetFullProjPath() const;
  /// Root, "\", project name, "\", part name.
  qmWString GetFullPartPath() const;

  /// Root, project name and part name are not empty.
  bool IsValid() const { return !root_.empty() && !projectName_.empty() && !partName_.empty(); }

 protected:
  /// The walk of `InitFromDir`, from `directory` down. RC_NULL_DIR or RC_OK.
  ReturnCode ParseDir(const qmWChar* directory, FilterSetup filter);

  /// Makes an empty file of its own in the directory for temporary files, "qm_" in front, and writes its path to
  /// `buffer` of at least 260 units; empty text when that fails. Null does nothing.
  static void GetTmpFilePath(qmWChar* buffer);

 private:
  QUELCORE_LOCAL void walk(const qmWString& directory, const qmWChar* marker, int level);
  QUELCORE_LOCAL void walkPart(const qmWString& candidate, const qmWString& name, const qmWChar* marker, int level);
  QUELCORE_LOCAL void append(const qmWString& part, const qmWString& setupName);
  QUELCORE_LOCAL bool mayTake(const QmSetupInfo* setup) const;

  qmWString filePath_;
  qmWString root_;
  qmWString projectName_;
  qmWString partName_;
  std::vector<QmSetupInfo*> setups_;
  std::int64_t projectSize_ = 0;
};
