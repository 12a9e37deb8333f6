// Clouds in bins as a user sees them.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

#include "commands/tool_fixture.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kScan = std::string(QUEL_TEST_DATA) + "/scan-20k.ply";

/// A vertex of the coloured file, as its header declares it.
struct Vertex {
  double at[3];
  std::array<unsigned char, 3> colour;
  std::int32_t bin;
};

class IndexTool : public Quel {
 protected:
  std::vector<Vertex> colouredPoints(const std::string& arguments) const {
    const Outcome made = run("index " + arguments + " -o " + path("coloured.ply"));
    EXPECT_EQ(made.code, 0) << made.error;
    const std::string bytes = readFile(path("coloured.ply"));
    const std::string end = "end_header\n";
    std::vector<Vertex> vertices;
    for (std::size_t at = bytes.find(end) + end.size(); at + 31 <= bytes.size(); at += 31) {
      Vertex& vertex = vertices.emplace_back();
      std::memcpy(vertex.at, bytes.data() + at, 24);
      std::memcpy(vertex.colour.data(), bytes.data() + at + 24, 3);
      std::memcpy(&vertex.bin, bytes.data() + at + 27, 4);
    }
    EXPECT_THAT(bytes, HasSubstr("element vertex " + std::to_string(vertices.size()) + "\n"));
    return vertices;
  }

  /// Rows of numbers: bin, start, count, box.
  std::vector<std::vector<double>> bins(const std::string& arguments) const {
    const Outcome made = run("index " + arguments);
    EXPECT_EQ(made.code, 0) << made.error;
    std::vector<std::vector<double>> rows;
    for (const auto& fields : fieldsOf(made.out)) {
      if (fields[0] == "bin") continue;
      rows.emplace_back();
      for (const std::string& field : fields) rows.back().push_back(std::stod(field));
    }
    return rows;
  }

  /// The bins follow one another, cover the points, and their boxes are exact.
  static void expectBins(const std::vector<std::vector<double>>& rows, const std::vector<Vertex>& points) {
    std::size_t next = 0;
    for (std::size_t b = 0; b < rows.size(); ++b) {
      ASSERT_EQ(rows[b][0], static_cast<double>(b));
      ASSERT_EQ(rows[b][1], static_cast<double>(next));
      const auto first = next;
      next += static_cast<std::size_t>(rows[b][2]);
      ASSERT_GT(next, first);
      ASSERT_LE(next, points.size());
      for (std::size_t axis = 0; axis < 3; ++axis) {
        double low = points[first].at[axis], high = low;
        for (std::size_t n = first; n < next; ++n) {
          low = std::min(low, points[n].at[axis]);
          high = std::max(high, points[n].at[axis]);
          ASSERT_EQ(points[n].bin, static_cast<std::int32_t>(b));
          ASSERT_EQ(points[n].colour, points[first].colour);
        }
        ASSERT_EQ(rows[b][3 + axis], low);
        ASSERT_EQ(rows[b][6 + axis], high);
      }
    }
    ASSERT_EQ(next, points.size());
  }

  /// The corners of the board, which all cameras see, as text.
  std::string corners(const std::string& more = "") const {
    std::string text = "x,y,z\n";
    for (int y = 0; y < 6; ++y) {
      for (int x = 0; x < 9; ++x) text += std::to_string(25 * x) + "," + std::to_string(25 * y) + ",0\n";
    }
    writeFile(path("corners.csv"), text + more);
    return path("corners.csv");
  }
};

TEST_F(IndexTool, SortsARealScanBySpace) {
  const std::vector<std::vector<double>> rows = bins(kScan);
  const std::vector<Vertex> points = colouredPoints(kScan);
  EXPECT_EQ(points.size(), 20000u);
  EXPECT_GT(rows.size(), 40u);  // Fewer than 500 points in each.
  for (const auto& row : rows) EXPECT_LT(row[2], 500.0);
  expectBins(rows, points);
  // The same points as in the scan, in another order.
  const std::string scan = readFile(kScan);
  const std::size_t data = scan.find("end_header\n") + 11;
  std::multiset<std::array<double, 3>> before, after;
  for (std::size_t n = 0; n < 20000; ++n) {
    float p[3];
    std::memcpy(p, scan.data() + data + 12 * n, 12);
    before.insert({static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])});
    after.insert({points[n].at[0], points[n].at[1], points[n].at[2]});
  }
  EXPECT_EQ(before, after);
}

TEST_F(IndexTool, SortsByTheImageCellsOfACamera) {
  const std::string block = makeBlock(), cloud = corners();
  for (const std::string camera : {"0", "1", "2"}) {
    const std::string arguments = cloud + " --block " + block + " --camera " + camera;
    const std::vector<std::vector<double>> rows = bins(arguments);
    expectBins(rows, colouredPoints(arguments));
    const Outcome projected = run("project " + block + " " + cloud + " --mode 2 --camera " + camera);
    std::map<std::pair<int, int>, int> cells;
    for (const auto& fields : fieldsOf(projected.out)) {
      if (fields[0] != "x")
        ++cells[{static_cast<int>(std::stod(fields[3])) / 32, static_cast<int>(std::stod(fields[4])) / 32}];
    }
    ASSERT_EQ(rows.size(), cells.size());
    auto row = rows.begin();
    for (const auto& [cell, count] : cells) EXPECT_EQ((*row++)[2], count);
  }
}

TEST_F(IndexTool, LeavesOutWhatTheCameraDoesNotSee) {
  const std::string block = makeBlock(), cloud = corners("100000,0,0\n0,1e6,0\nnan,0,0\n");
  const Outcome made = run("index " + cloud + " --block " + block + " --json");
  ASSERT_EQ(made.code, 0) << made.error;
  const json summary = json::parse(made.out);
  EXPECT_EQ(summary["by"], "image");
  EXPECT_EQ(summary["points"], 54);
  EXPECT_EQ(summary["left_out"], 3);
  EXPECT_THAT(run("index " + cloud + " --block " + block + " -o " + path("bins.csv")).out,
              HasSubstr("3 points lie outside the image"));
  writeFile(path("far.txt"), "100000 0 0\n");
  expectFailure(run("index " + path("far.txt") + " --block " + block),
                "far.txt: none of the 1 points lies in the image of camera 0");
}

TEST_F(IndexTool, LeavesPointsThatAreNotFiniteOutOfTheSpace) {
  writeFile(path("holes.txt"), "nan 1 2\n1 2 3\n4 inf 6\n4 5 6\n7 8 -inf\n");
  EXPECT_THAT(bins(path("holes.txt")), ElementsAre(ElementsAre(0, 0, 2, 1, 2, 3, 4, 5, 6)));
  EXPECT_EQ(json::parse(run("index --json " + path("holes.txt")).out)["left_out"], 3);
  EXPECT_THAT(run("index -o " + path("holes.csv") + " " + path("holes.txt")).out,
              HasSubstr("2 points in 1 bins of 2 to 2 points"));
  EXPECT_THAT(run("index -o " + path("holes.csv") + " " + path("holes.txt")).out,
              HasSubstr("; 3 points left out that are not finite"));
  writeFile(path("nothing.txt"), "nan nan nan\n");
  expectFailure(run("index " + path("nothing.txt")), "nothing.txt: there are no points to index");
}

TEST_F(IndexTool, SummarisesForMachinesAndPeople) {
  writeFile(path("one.txt"), "1 2 3\n");
  const Outcome made = run("index --json " + path("one.txt"));
  const json summary = json::parse(made.out);
  EXPECT_EQ(summary["by"], "space");
  EXPECT_EQ(summary["points"], 1);
  EXPECT_EQ(summary["bins"], 1);
  EXPECT_EQ(summary["smallest_bin"], 1);
  EXPECT_EQ(summary["largest_bin"], 1);
  EXPECT_EQ(summary["left_out"], 0);
  EXPECT_GE(summary["milliseconds"].get<double>(), 0.0);
  EXPECT_EQ(run("index " + path("one.txt")).out,
            "bin,start,count,min_x,min_y,min_z,max_x,max_y,max_z\n0,0,1,1,2,3,1,2,3\n");
  EXPECT_THAT(run("index -o " + path("b.csv") + " " + path("one.txt")).out,
              HasSubstr("b.csv: 1 points in 1 bins of 1 to 1 points"));
  EXPECT_EQ(fieldsOf(readFile(path("b.csv"))).size(), 2u);
}

TEST_F(IndexTool, DrawsPicturesOfBothKinds) {
  EXPECT_EQ(run("index " + kScan + " -o " + path("space.png")).code, 0);
  EXPECT_THAT(readFile(path("space.png")), StartsWith("\x89PNG"));
  EXPECT_EQ(run("index " + corners() + " --block " + makeBlock() + " -o " + path("image.svg")).code, 0);
  EXPECT_THAT(readFile(path("image.svg")), HasSubstr("</svg>"));
  writeFile(path("one.txt"), "1 2 3\nnan 1 1\n");  // A cloud without extent.
  EXPECT_EQ(run("index " + path("one.txt") + " -o " + path("one.png")).code, 0);
}

TEST_F(IndexTool, SaysWhatIsWrong) {
  EXPECT_EQ(run("index").code, 2);
  EXPECT_EQ(run("index " + kScan + " --camera 1").code, 2);
  EXPECT_EQ(run("index " + kScan + " --mode 1").code, 2);
  EXPECT_EQ(run("index " + kScan + " --block b.tns --camera 3").code, 2);
  expectFailure(run("index " + path("missing.ply")), "missing.ply: there is no such file");
  expectFailure(run("index " + kScan + " --block " + path("missing.tns")), "missing.tns");
  writeFile(
      path("empty.ply"),
      "ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nproperty float y\nproperty float z\nend_header\n");
  expectFailure(run("index " + path("empty.ply")), "empty.ply: there are no points to index");
  expectFailure(run("index " + kScan + " -o " + path("no/such/folder.csv")), "folder.csv");
}

}  // namespace
}  // namespace queltool
