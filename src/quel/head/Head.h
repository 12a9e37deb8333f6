// A calibrated head of three cameras as a value.
//
//   const auto head = quel::Head::load("QUEL0001-1.tns");
//   if (!head) return tell(head.error().message());
//   const quel::HeadCamera camera = head->camera(0).value();
//
// A head never changes. Copies are cheap: they share one state, which lives as long as the last of them. Any number of
// threads may use one head, or copies of it. Lengths are millimetres of the head's world, pixels count from the centre
// of the top-left pixel, cameras are 0, 1, 2. Nothing throws but `std::bad_alloc`.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/cameras/Camera.h"
#include "quel/cameras/HeadOptions.h"
#include "quel/head/CorrectionTable.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

#pragma GCC visibility push(default)

/// Which calibration a head is.
struct HeadIdentity {
  std::string machineId;  ///< Of the machine that made the block; at most 8 characters.
  std::int32_t blockNumber = 0;
  std::int32_t calibWord0 = 0;
  std::int32_t imageTag = 0;  ///< Of the image that the block was made from.
  std::int32_t calibWord2 = 0;
  std::int32_t calibrationTimeStamp = 0;

  bool operator==(const HeadIdentity&) const = default;
};

/// Which calibration an image says that it was taken with.
struct ImageIdentity {
  std::string machineId;
  std::int32_t imageTag = 0;
  std::int32_t calibrationTimeStamp = 0;  ///< 0 goes with any.
  std::int32_t blockNumber = 0;
};

/// The lens model of one camera of a head, in pixels about `centre`: with dx, dy the offset from it, r2 = dx dx + dy dy
/// and S = k1 r2 + k2 r2^2 + k3 r2^3 + extra[2] r2^4 + extra[3] r2^5
///
///   x' = x + dx S + p1 (r2 + 2 dx dx) + 2 p2 dx dy + extra[0] dx + extra[1] dy
///   y' = y + dy S + p2 (r2 + 2 dy dy) + 2 p1 dx dy
///
/// from the ideal pixel to the distorted one; with `option` 2 from the distorted to the ideal one. A LUT adds a
/// displacement on top.
struct HeadLens {
  Vec2 centre{};
  double k1 = 0.0, k2 = 0.0, k3 = 0.0;
  double p1 = 0.0, p2 = 0.0;
  std::array<double, 5> extra{};
  std::int32_t option = 1;
  bool usesLut = false;
};

/// One camera of a head: a world point X stands at R X + t before it and is seen, without distortion, at the pixel
/// K (R X + t), divided by its third component.
struct HeadCamera {
  std::string name;  ///< As it was given to `Head::fromCameras`; else "camera 0", "camera 1", "camera 2".
  Mat3 K{};          ///< Pixels; K[2][2] is 1.
  Mat3 R{};
  Vec3 t{};  ///< Millimetres.
  HeadLens distortion;
  std::int32_t width = 0;   ///< Pixels; 0 where the head's camera type is unknown.
  std::int32_t height = 0;  ///< Pixels; as `width`.
};

class Head {
 public:
  /// Loads the tensor file `file`, and its LUTs from the LUT file of the block beside it. Several threads may load;
  /// they do so one after the other.
  ///
  /// Fails, with file, place and cause, when `file` is no regular file, it or the LUT file is missing, damaged or not
  /// readable, or the LUT file was stored with another tensor file.
  static Result<Head> load(const std::filesystem::path& file);

  /// The head of three calibrated cameras, in their order: 0 the uppermost, 1 the left, 2 the right one. Its transfer
  /// and metric tables agree to rounding. Fails, and says what to do, when
  ///   - an intrinsic is not finite or a focal length not positive, or a rotation is none;
  ///   - the cameras' image sizes differ, or no camera type has their size;
  ///   - two cameras stand in one place, or see the scene's centre along one line;
  ///   - the scene's centre lies behind a camera;
  ///   - an option is out of its range, or a LUT set cannot be made.
  static Result<Head> fromCameras(std::span<const Camera, 3> cameras, const HeadOptions& options = {});

  /// The head of a record that the fixed interface made: a copy of it, with references of its own to its LUTs.
  static Head fromRecord(const tag_qmReconsTensorData& record);

  Head(const Head&) = default;
  Head& operator=(const Head&) = default;
  ~Head() = default;

  /// Stores the head in `folder`, which is made if need be, as MACHINE-NUMBER.tns, and its LUTs, if it has any, as
  /// MACHINE-NUMBER.lut. Both files are put in their places as one: a failure, or a stop, leaves what was there.
  /// Returns the path of the tensor file.
  ///
  /// Fails, with file and cause, when one of the files is there already and `overwrite` is false, the identifier of the
  /// machine is no name of a file (it holds a separator, or is "." or ".."), the path is one that the doors would take
  /// for another (it holds '\' or is no UTF-8), or the files cannot be written.
  Result<std::filesystem::path> store(const std::filesystem::path& folder, bool overwrite = false) const;

  /// The camera `camera`. Fails when it is not 0, 1 or 2, when the head holds no projections, or when its projection is
  /// none of a camera.
  Result<HeadCamera> camera(int camera) const;

  /// Which calibration this is. A head of a file older than version -6 has an empty machine and numbers 0.
  HeadIdentity identity() const;

  /// True when an image was taken with this calibration: same machine and block number, and the time stamp of the image
  /// is 0 or the same. True for a head of a file older than version -6, which has no identity.
  bool belongsTo(const ImageIdentity& image) const;

  /// The head as it is at `temperature` (degrees Celsius) by a correction table: projections, distortion and camera
  /// places move by rate times difference from the reference temperature, which becomes `temperature`, so that nobody
  /// who compensates again counts the same degrees twice. Transfer and reconstruction tables stay as they are, so the
  /// fits but for `Fit::rays` stay those of the reference temperature.
  ///
  /// Fails when the head holds no projections or no reference temperature, `temperature` is not finite, the file is no
  /// table (see `CorrectionTable::load`), or the rates make no camera.
  Result<Head> compensated(const std::filesystem::path& table, double temperature) const;
  Result<Head> compensated(const CorrectionTable& table, double temperature) const;

  /// The same head with other names of its cameras, such as those that a head lost when it was stored.
  Head withCameraNames(const std::array<std::string, 3>& names) const;

  /// How well the lens models stand for those of the cameras that the head was made of; nothing for a head that was
  /// loaded.
  const std::optional<std::array<DistortionFit, 3>>& distortionFit() const noexcept;

  /// The record that the functions of the fixed interface take. It lives as long as a copy of this head, and nobody may
  /// change it.
  const tag_qmReconsTensorData& record() const noexcept;

 private:
  struct State;
  explicit Head(std::shared_ptr<const State> state) : state_(std::move(state)) {}

  std::shared_ptr<const State> state_;
};

#pragma GCC visibility pop

}  // namespace quel
