// The user's settings for an export of tiles: what to export, how, and to where.
//
//   QmExportTilesTicket ticket;
//   if (ticket.AccessData(true)) ticket.set_PitchPixels(2.5);
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/presentation/QmException.h"
#include "quelplatform/qmEnv/QmRegKey.h"

/// Keeps nothing in memory: every property is a value of the key
/// `HKEY_CURRENT_USER\Software\Quelmetra\Common\ExportTilesTicket` in the ini file of the system, read and written at
/// each call. `AccessData` comes first; before it every value reads as absent and nothing is stored. Tickets share
/// their values, so that the last writer wins. One user of a ticket at a time.
struct QUELCORE_API QmExportTilesTicket {
  /// A property that must have been written before it can be read was not. Thrown by value; the only exception of the
  /// library but std::bad_alloc.
  class QUELCORE_API AccessError : public QmExceptionNote {
   public:
    /// The note is "Read Export Tiles Data Error". Logs "created QmExceptionNote : AccessError() with line %d file %s"
    /// at level 0. Null `sourceFile` counts as empty.
    AccessError(std::int32_t sourceLine, const qmWChar* sourceFile, std::uint8_t sourceFlag);
    AccessError(const AccessError&);
    AccessError& operator=(const AccessError&);
    ~AccessError() override;
  };

  /// Nothing is open yet.
  QmExportTilesTicket();
  /// A ticket on the same key, opened for writing whatever the other is.
  QmExportTilesTicket(const QmExportTilesTicket& other);
  QmExportTilesTicket& operator=(const QmExportTilesTicket& other);
  /// Deletes the values "Pitch" and "Units", which are never stored, and closes the key. Without effect on a ticket
  /// that is not open or was opened for reading.
  ~QmExportTilesTicket();

  /// Opens the settings, for writing or for reading. Writing makes the key; reading never does, and gives false where
  /// there is none. False, too, when the key cannot be made.
  bool AccessData(bool forWriting);

  // Properties. Those without a word about absence throw `AccessError`, with flag 1 and the source line of the getter,
  // while they are absent, and leave the key as it was. A value of another type reads as that of its key store: text
  // that is no number as 0, and 0 as false. Text with a line end cannot be stored: setting it leaves the value before.

  bool get_Auto() const;
  void set_Auto(bool value);

  bool get_CheckTargets() const;  ///< True while absent.
  void set_CheckTargets(bool value);

  qmWString get_Format() const;
  void set_Format(const qmWChar* text);

  bool get_Overlap() const;  ///< True while absent.
  void set_Overlap(bool value);

  qmWString get_Path() const;
  void set_Path(const qmWChar* text);

  double get_PitchPixels() const;
  void set_PitchPixels(double value);

  std::int32_t get_SaveTo() const;  ///< 0 while absent.
  void set_SaveTo(std::int32_t value);

  bool get_Uniform() const;
  void set_Uniform(bool value);

  /// Empty text, whatever the key holds.
  qmWString get_Pitch() const;
  /// Required: ignores the text and deletes the value "Pitch".
  void set_Pitch(const qmWChar* text);

  /// The number of the locale's unit; 0 without a locale.
  std::int32_t get_Units() const;
  /// Required: ignores the number and deletes the value "Units".
  void set_Units(std::int32_t value);

 private:
  QmRegKey key_;
};
