// Three cameras that OpenCV calibrated measure a board: board_plane FOLDER OUT.ply, with FOLDER such as
// data/board-opencv
// Prints how flat the board is and writes its corners, coloured by how far each lies off the plane.
#include <algorithm>
#include <cstdio>
#include <fstream>

#include "quel/quel.h"
int main(int argc, char** argv) {
  const auto tell = [](const quel::Error& error) { return std::fprintf(stderr, "%s\n", error.message().c_str()), 1; };
  if (argc != 3) return tell({"usage: board_plane FOLDER OUT.ply"});
  const std::filesystem::path folder = argv[1];
  const std::array<std::string, 3> names = {"left-05", "left-11", "left-13"};
  std::vector<std::filesystem::path> files;
  for (const std::string& name : names) files.push_back(folder / (name + ".yml"));
  const quel::ImportOptions options = {.millimetresPerUnit = 1.0};
  const auto cameras = quel::importCameras(quel::CalibrationFormat::OpenCv, files, options);
  if (!cameras) return tell(cameras.error());
  const auto head = quel::Head::fromCameras(cameras->cameras);
  if (!head) return tell(head.error());
  std::array<std::vector<quel::Vec2>, 3> seen;  // by the cameras in the head's order
  std::ifstream corners(folder / "corners.txt");
  for (std::array<quel::Vec2, 3> row;
       corners >> row[0][0] >> row[0][1] >> row[1][0] >> row[1][1] >> row[2][0] >> row[2][1];) {
    for (std::size_t k = 0; k < 3; ++k) {
      seen[k].push_back(
          row[static_cast<std::size_t>(std::ranges::find(names, cameras->cameras[k].name) - names.begin())]);
    }
  }
  const auto board = quel::triangulate(*head, {seen[0], seen[1], seen[2]});
  if (!board) return tell(board.error());
  const auto plane = quel::Plane::fit(board->points);
  if (!plane) return tell(plane.error());
  std::printf("%zu corners, %.3f mm RMS off their plane\n", board->points.size(), plane->residuals.rms);
  const quel::DeviationScale scale(plane->residuals.each);
  std::vector<quel::Colour> colours;
  for (const double deviation : plane->residuals.each) colours.push_back(scale.colourOf(deviation));
  const auto written = quel::writeCloud(argv[2], board->points, {{}, colours});
  return written ? 0 : tell(written.error());
}
