// `quel trn`: transform files.
#include <fmt/core.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "files/Transforms.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr const char* kExample =
    "\nExample:\n"
    "  quel trn make --rotate 0,0,90 --move 10,0,0 -o turn.trn\n"
    "  quel trn invert turn.trn -o back.trn\n"
    "  quel trn compose turn.trn back.trn -o none.trn\n"
    "  quel trn show none.trn";

struct Arguments {
  std::vector<fs::path> files;
  fs::path out;
  std::vector<double> rotate = {0, 0, 0};
  std::vector<double> move = {0, 0, 0};
  bool json = false;
};

using SharedArguments = std::shared_ptr<Arguments>;

void store(const fs::path& file, const qmMathTransform& transform) {
  writeTransform(file, transform);
  fmt::print("{}: written\n", file.string());
}

Eigen::Matrix3d rotationOf(const qmMathTransform& transform) {
  return Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(&transform.rotation[0][0]);
}

// What a reader wants to know of a rotation: how far it turns about which axis, and whether it is one.
struct Turn {
  double degrees;
  Eigen::Vector3d axis;
  double deviation;  ///< Largest entry of R^T R - I.
  bool mirrors;
};

Turn turnOf(const qmMathTransform& transform) {
  const Eigen::Matrix3d r = rotationOf(transform);
  const Eigen::AngleAxisd turn(r);
  return {turn.angle() / kDegree, turn.axis(), (r.transpose() * r - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff(),
          r.determinant() < 0.0};
}

void printTransform(const fs::path& file, const qmMathTransform& transform) {
  fmt::print("{}\n", file.string());
  for (int i = 0; i < 3; ++i) {
    const double* r = transform.rotation[i];
    fmt::print("  {:>22} {:>22} {:>22}   {:>22}\n", r[0], r[1], r[2], transform.translation[i]);
  }
  const Turn turn = turnOf(transform);
  if (turn.mirrors) {
    fmt::print("  mirrors: this is no rotation\n");
  } else {
    fmt::print("  turns by {:.6f} degrees about ({:.6f}, {:.6f}, {:.6f})\n", turn.degrees, turn.axis.x(), turn.axis.y(),
               turn.axis.z());
  }
  fmt::print("  the rotation is orthonormal to {:.1e}\n", turn.deviation);
}

Json jsonOf(const fs::path& file, const qmMathTransform& transform) {
  const Turn turn = turnOf(transform);
  return {{"file", file.string()},
          {"rotation", transform.rotation},
          {"translation", transform.translation},
          {"angle_degrees", turn.degrees},
          {"axis", Json::list({turn.axis.x(), turn.axis.y(), turn.axis.z()})},
          {"orthonormal_to", turn.deviation},
          {"mirrors", turn.mirrors}};
}

void show(const Arguments& arguments) {
  Json json = Json::list({});
  for (const fs::path& file : arguments.files) {
    const qmMathTransform transform = readTransform(file);
    if (arguments.json) {
      json.add(jsonOf(file, transform));
    } else {
      printTransform(file, transform);
    }
  }
  if (arguments.json) printJson(json);
}

void make(const Arguments& arguments) {
  qmMathTransform transform;
  const std::vector<double>& angles = arguments.rotate;
  if (qmMathRotationMatCreate(angles[0] * kDegree, angles[1] * kDegree, angles[2] * kDegree, transform.rotation) != 1) {
    throw Failure("--rotate: the angles must be finite");
  }
  if (!std::all_of(arguments.move.begin(), arguments.move.end(), [](double x) { return std::isfinite(x); })) {
    throw Failure("--move: the translation must be finite");
  }
  std::copy_n(arguments.move.begin(), 3, transform.translation);
  store(arguments.out, transform);
}

void invert(const Arguments& arguments) {
  const qmMathTransform transform = readTransform(arguments.files.front());
  const Turn turn = turnOf(transform);
  if (turn.deviation > 1e-9) {
    throw Failure(fmt::format("{}: is no rigid transform: its rotation is orthonormal to {:.1e} only",
                              arguments.files.front().string(), turn.deviation));
  }
  qmMathTransform inverse;
  qmMathTransformInv(&transform, &inverse);
  store(arguments.out, inverse);
}

void compose(const Arguments& arguments) {
  qmMathTransform product = readTransform(arguments.files.front());
  for (std::size_t i = 1; i < arguments.files.size(); ++i) {
    const qmMathTransform next = readTransform(arguments.files[i]);
    if (qmMathTransformMultTransform(&product, &next, &product) != 1) {
      throw Failure(arguments.files[i].string() + ": is too large to be multiplied by those in front of it");
    }
  }
  store(arguments.out, product);
}

SharedArguments addFiles(Command& command, int least, int most) {
  auto arguments = std::make_shared<Arguments>();
  command.input("FILE", arguments->files, "Transform files (.trn)").required().count(least, most);
  return arguments;
}

void addOut(Command& command, const SharedArguments& arguments) {
  command.output("-o,--out", arguments->out, "The file to write", ".trn", Replaces::OtherFiles).required();
}

void addShow(Command& trn) {
  Command command = trn.command("show", "Shows transforms: matrix, angle and axis");
  const SharedArguments arguments = addFiles(command, 1, 10000);
  command.flag("--json", arguments->json, "Print them as JSON");
  command.runs(arguments, show);
}

void addMake(Command& trn) {
  auto arguments = std::make_shared<Arguments>();
  Command command = trn.command("make", "Makes a transform x -> R x + t");
  command.option("--rotate", arguments->rotate, "Degrees about the fixed axes X, then Y, then Z")
      .separatedBy(',')
      .count(3, 3);
  command.option("--move", arguments->move, "Translation, applied last").separatedBy(',').count(3, 3);
  addOut(command, arguments);
  command.runs(arguments, make);
}

void addInvert(Command& trn) {
  Command command = trn.command("invert", "Inverts a rigid transform");
  const SharedArguments arguments = addFiles(command, 1, 1);
  addOut(command, arguments);
  command.runs(arguments, invert);
}

void addCompose(Command& trn) {
  Command command = trn.command("compose", "Multiplies transforms; the last one named is applied first");
  const SharedArguments arguments = addFiles(command, 2, 10000);
  addOut(command, arguments);
  command.runs(arguments, compose);
}

}  // namespace

void defineTrn(Command& command) {
  command.footer(kExample);
  addShow(command);
  addMake(command);
  addInvert(command);
  addCompose(command);
}

}  // namespace queltool
