// What OpenCV's calibrations leave behind: files of one camera, with or without its pose, and files of stereo pairs,
// with X2 = R X1 + T.
#include <algorithm>

#include "quel/formats/FoundCameras.h"

namespace quel {

namespace {

using Keys = std::initializer_list<std::string_view>;

struct PairKeys {
  Keys matrix;
  Keys distortion;
};

const Keys kMatrix = {"camera_matrix", "cameraMatrix", "K", "M", "mtx", "intrinsic_matrix", "camera_mat"};
const Keys kDistortion = {"distortion_coefficients", "distCoeffs", "dist_coeffs", "D", "dist", "dist_coeff"};
const PairKeys kFirst = {{"M1", "K1", "cameraMatrix1", "camera_matrix_1", "camera_matrix1", "mtx1"},
                         {"D1", "distCoeffs1", "dist_coeffs_1", "dist_coeffs1", "distortion_coefficients_1", "dist1"}};
const PairKeys kSecond = {{"M2", "K2", "cameraMatrix2", "camera_matrix_2", "camera_matrix2", "mtx2"},
                          {"D2", "distCoeffs2", "dist_coeffs_2", "dist_coeffs2", "distortion_coefficients_2", "dist2"}};

// Two cameras and how the second stands before the first.
struct StereoPair {
  FoundCamera first;
  FoundCamera second;
  std::optional<Pose> pose = {};
};

struct Found {
  std::vector<FoundCamera> singles = {};
  std::vector<StereoPair> pairs = {};
  std::vector<Pose> poses = {};  // Of files without cameras, in their order.
};

std::optional<bool> saidFisheye(const Field& document) {
  if (const auto flag = document.find({"fisheye", "fisheye_model", "is_fisheye"})) return flag->flag();
  const auto model = document.find({"distortion_model", "camera_model", "model"});
  if (!model) return std::nullopt;
  const std::string name = model->text();
  if (name == "fisheye" || name == "equidistant" || name == "equi") return true;
  if (name == "plumb_bob" || name == "rational_polynomial" || name == "pinhole" || name == "radtan") return false;
  model->refuse(unreadLens(name));
}

class Reader {
 public:
  explicit Reader(const ImportOptions& options) : options_(options) {}

  void add(const NamedText& file) {
    file_ = file.file;
    const Node node = parseDocument(file.text);
    const Field document(node, "");
    if (const auto matrix = document.find(kMatrix)) {
      found_.singles.push_back(camera(document, *matrix, document.find(kDistortion), file.file.stem().string()));
      found_.singles.back().pose = pose(document);
    } else if (const auto first = document.find(kFirst.matrix)) {
      addPair(document, *first);
    } else if (const auto alone = pose(document)) {
      addPose(*alone);
    } else {
      document.refuse("has neither a camera's matrix (camera_matrix, or M1 and M2 of a pair) nor a pose (R and T)");
    }
  }

  Found take() { return std::move(found_); }
  std::vector<std::string> remarks() { return std::move(remarks_); }

 private:
  void addPair(const Field& document, const Field& first) {
    const std::string name = file_.stem().string();
    StereoPair pair{camera(document, first, document.find(kFirst.distortion), name + "-1"),
                    camera(document, document.at(kSecond.matrix), document.find(kSecond.distortion), name + "-2"),
                    pose(document)};
    found_.pairs.push_back(std::move(pair));
  }

  // The pose of the pair before it, as where intrinsics and extrinsics go to two files.
  void addPose(const Pose& pose) {
    if (!found_.pairs.empty() && !found_.pairs.back().pose) {
      found_.pairs.back().pose = pose;
    } else {
      found_.poses.push_back(pose);
    }
  }

  FoundCamera camera(const Field& document, const Field& matrix, const std::optional<Field>& distortion,
                     const std::string& name) {
    FoundCamera found;
    found.file = file_;
    Camera& camera = found.camera;
    const auto said = document.find({"camera_name", "name"});
    camera.name = said && !said->text().empty() ? said->text() : name;
    setSize(camera, document);
    setMatrix(camera, matrix);
    if (distortion) setLens(camera, document, *distortion);
    refuseSkew(camera, matrix);
    return found;
  }

  static void setSize(Camera& camera, const Field& document) {
    if (const auto width = document.find({"image_width", "imageWidth", "width"})) {
      camera.width = sideOf(*width);
      camera.height = sideOf(document.at({"image_height", "imageHeight", "height"}));
    } else if (const auto size = document.find({"image_size", "imageSize", "img_size", "size"})) {
      const std::vector<double> sides = size->numbers(2);
      for (const double side : sides) {
        if (!(side >= 1.0 && side <= 65535.0) || side != static_cast<std::int32_t>(side))
          size->refuse("must be two whole numbers of pixels");
      }
      camera.width = static_cast<std::int32_t>(sides[0]);
      camera.height = static_cast<std::int32_t>(sides[1]);
    }
  }

  void setLens(Camera& camera, const Field& document, const Field& field) {
    const std::vector<double> coefficients = field.matrix().values;
    const std::optional<bool> said = saidFisheye(document);
    if (said.value_or(options_.fisheye)) {
      setFisheyeLens(camera, coefficients, field);
      return;
    }
    setOpenCvLens(camera, coefficients, field);
    if (coefficients.size() == 4 && !said) {
      remarks_.push_back(camera.name +
                         ": the four coefficients count as k1 k2 p1 p2; --fisheye takes them for a fisheye's");
    }
  }

  static std::optional<Pose> pose(const Field& document) {
    const auto rotation = document.find({"R", "rvec", "rotation", "rotation_matrix", "rotation_vector"});
    const auto translation = document.find({"T", "t", "tvec", "translation", "translation_vector"});
    if (!rotation && !translation) return std::nullopt;
    if (!rotation) translation->refuse("stands without a rotation R beside it");
    if (!translation) rotation->refuse("stands without a translation T beside it");
    const std::vector<double> r = rotation->matrix().values;
    if (r.size() != 9 && r.size() != 3) rotation->refuse("must be 3 x 3 numbers, or 3 of a rotation vector");
    const std::vector<double> t = translation->numbers(3);
    return Pose{r.size() == 9 ? matrixOf(r) : rotationOfRodrigues({r[0], r[1], r[2]}), {t[0], t[1], t[2]}};
  }

  const ImportOptions& options_;
  std::filesystem::path file_;
  Found found_;
  std::vector<std::string> remarks_;
};

bool isSameCamera(const FoundCamera& a, const FoundCamera& b) {
  const Camera& x = a.camera;
  const Camera& y = b.camera;
  return x.fx == y.fx && x.fy == y.fy && x.cx == y.cx && x.cy == y.cy && x.skew == y.skew && x.k1 == y.k1 &&
         x.k2 == y.k2 && x.p1 == y.p1 && x.p2 == y.p2 && x.k3 == y.k3 && x.lens.parameters == y.lens.parameters;
}

[[noreturn]] void refuse(const StereoPair& pair, const std::string& what) {
  throw BadFile{{what, pair.first.file.string(), {}}};
}

// The second pair shares its first camera with the first pair: the first one of it, or the second one of a chain.
std::vector<FoundCamera> joined(const StereoPair& one, const StereoPair& other, std::vector<std::string>& remarks) {
  const bool fromFirst = isSameCamera(other.first, one.first);
  const bool fromSecond = isSameCamera(other.first, one.second);
  if (fromFirst == fromSecond) {
    throw BadFile{
        {fromFirst
             ? "the cameras of the pairs have one matrix, so it does not show which camera both pairs share; give "
               "a file for each camera, and behind them the pairs of the first camera with each other one"
             : "the first camera of this pair is none of the pair before; give pairs that share a camera, which "
               "stands first in the second pair",
         other.first.file.string(),
         {}}};
  }
  if (fromFirst && isSameCamera(other.second, one.second) && one.pose->rotation == other.pose->rotation &&
      one.pose->translation == other.pose->translation)
    refuse(other, "is the pair before once more; give two that share one camera");
  remarks.push_back(other.first.file.filename().string() + ": its first camera is the " +
                    (fromFirst ? "first" : "second") + " one of " + one.first.file.filename().string());
  std::vector<FoundCamera> cameras = {one.first, one.second, other.second};
  cameras[0].pose = Pose{};
  cameras[1].pose = one.pose;
  cameras[2].pose = fromFirst ? *other.pose : after(*other.pose, *one.pose);
  return cameras;
}

// A pair by the places of its cameras among the single ones.
struct Link {
  std::size_t first = 0;
  std::size_t second = 0;
  const StereoPair* pair = nullptr;
};

// Which of the single cameras has the matrix and lens of one of a pair.
std::size_t placeOf(const FoundCamera& camera, const std::vector<FoundCamera>& singles, const StereoPair& pair) {
  const auto isThis = [&](const FoundCamera& single) { return isSameCamera(single, camera); };
  const auto at = std::find_if(singles.begin(), singles.end(), isThis);
  const std::string called = &camera == &pair.first ? "the first camera of the pair" : "the second camera of the pair";
  if (at == singles.end())
    refuse(pair, called + " has matrix and lens of none of the single cameras; give the files of one calibration");
  if (std::any_of(at + 1, singles.end(), isThis))
    refuse(pair, called + " has matrix and lens of several of the single cameras; give the pairs of the first " +
                     "camera with each other one, in the order of these");
  return static_cast<std::size_t>(at - singles.begin());
}

// The matrices say which cameras a pair joins. Where it stands as the one of the first camera with that in `place`,
// others of the same matrix leave no doubt.
Link linkOf(const StereoPair& pair, std::size_t place, const std::vector<FoundCamera>& singles) {
  if (place < singles.size() && isSameCamera(pair.first, singles[0]) && isSameCamera(pair.second, singles[place]))
    return {0, place, &pair};
  return {placeOf(pair.first, singles, pair), placeOf(pair.second, singles, pair), &pair};
}

// Sets the pose of that camera of `link` which has none yet. False where both have none.
bool follow(const Link& link, std::vector<FoundCamera>& singles) {
  std::optional<Pose>& first = singles[link.first].pose;
  std::optional<Pose>& second = singles[link.second].pose;
  if (first && second)
    refuse(*link.pair, "joins the cameras \"" + singles[link.first].camera.name + "\" and \"" +
                           singles[link.second].camera.name + "\", which other pairs join already");
  if (first) {
    second = after(*link.pair->pose, *first);
  } else if (second) {
    first = after(inverse(*link.pair->pose), *second);
  }
  return first.has_value();
}

void followAll(std::vector<Link> links, std::vector<FoundCamera>& singles) {
  while (!links.empty()) {
    const std::size_t before = links.size();
    std::erase_if(links, [&](const Link& link) { return follow(link, singles); });
    if (links.size() == before) refuse(*links[0].pair, "joins cameras to which no pairs lead from the first camera");
  }
}

// Singles without poses of their own have those of files of poses, each from the first camera to the next one, or of
// pairs.
void givePoses(std::vector<FoundCamera>& singles, const Found& found) {
  if (std::any_of(singles.begin(), singles.end(), [](const FoundCamera& c) { return c.pose.has_value(); })) return;
  std::size_t place = found.poses.size();
  std::vector<Link> links;
  for (const StereoPair& pair : found.pairs) {
    if (pair.pose) links.push_back(linkOf(pair, ++place, singles));
  }
  if (place == 0) return;
  if (place + 1 != singles.size()) {
    throw BadFile{{"there are " + std::to_string(singles.size()) + " files of cameras and " + std::to_string(place) +
                   " of poses; give one less of these, each from the first camera to the next one"}};
  }
  singles.front().pose = Pose{};
  for (std::size_t i = 0; i < found.poses.size(); ++i) singles[i + 1].pose = found.poses[i];
  followAll(std::move(links), singles);
}

void requirePoses(const std::vector<StereoPair>& pairs) {
  for (const StereoPair& pair : pairs) {
    if (pair.pose) continue;
    throw BadFile{{"the pair has no pose; give the file with its R and T behind it", pair.first.file.string(), {}}};
  }
}

}  // namespace

FoundCameras readOpenCv(std::span<const NamedText> files, const ImportOptions& options) {
  Reader reader(options);
  for (const NamedText& file : files) {
    inFile(file.file, [&] { reader.add(file); });
  }
  Found found = reader.take();
  FoundCameras result;
  result.remarks = reader.remarks();
  if (!found.singles.empty()) {
    givePoses(found.singles, found);
    result.cameras = std::move(found.singles);
  } else if (found.pairs.size() == 2) {
    requirePoses(found.pairs);
    result.cameras = joined(found.pairs[0], found.pairs[1], result.remarks);
  } else if (found.pairs.size() == 1) {
    result.cameras = {found.pairs[0].first, found.pairs[0].second};
  } else {
    throw BadFile{
        {"of pairs alone two are needed, which share a camera; there are " + std::to_string(found.pairs.size())}};
  }
  return result;
}

}  // namespace quel
