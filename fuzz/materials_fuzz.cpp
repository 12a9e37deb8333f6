// Material files. Input: a file, 16-bit text behind its mark, else UTF-8.
//
// Losses: tables without rows; pairs and names that come again; what stands behind the last row; digits beyond the
// sixth, so that the first writing may change numbers and the second may not.
#include <cmath>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/operations/QmMaterialIO.h"

namespace {

std::size_t rowsOf(const QmMaterialTables& tables) {
  std::size_t rows = 0;
  for (const auto& [pair, table] : tables) rows += table.size();
  return rows;
}

bool isNear(double a, double b) { return a == b || std::abs(a - b) <= 1e-5 * std::abs(a); }

void requireNear(const QmMaterialTables& before, QmMaterialTables& after) {
  quelfuzz::require(rowsOf(before) == rowsOf(after), "as many rows are read again");
  for (const auto& [pair, table] : before) {
    for (const auto& [name, params] : table) {
      const auto found = after[pair].find(name);
      quelfuzz::require(found != after[pair].end(), "a material keeps its name");
      const auto& again = found->second;
      quelfuzz::require(isNear(params.value1, again.value1) && isNear(params.value2, again.value2) &&
                            isNear(params.value3, again.value3) && params.value4 == again.value4,
                        "a material keeps its numbers to six digits");
    }
  }
}

/// Six digits of the largest numbers may lie beyond what a double holds.
bool isModest(const QmMaterialTables& tables) {
  for (const auto& [pair, table] : tables) {
    for (const auto& [name, params] : table) {
      for (const double value : {params.value1, params.value2, params.value3}) {
        if (std::abs(value) > 1e308 || (value != 0.0 && std::abs(value) < 1e-300)) return false;
      }
    }
  }
  return true;
}

/// Files large enough for their memory to be one of proportions: one word, in both forms, and one name.
void requireProportions() {
  const std::string word(std::size_t{1} << 20, 'x');
  for (const std::string& content : {word, "\xFF\xFE" + word, "QmM1\n1\n1 1 1\n" + word + " 1 2 3 4\n"}) {
    QmMaterialIO io(quelfuzz::makeFile("large", content).c_str());
    const quelfuzz::MemoryWatch watch;
    io.read();
    watch.requireAtMost(quelfuzz::kTimesFile, 2, content.size());
  }
  quelfuzz::removeFile("large");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    quelfuzz::require(!QmMaterialIO(quelfuzz::pathOf("nowhere").c_str()).read(), "what is no file is not read");
    requireProportions();
  });
  const qmWString path = quelfuzz::makeFile("materials", quelfuzz::bytesOf(data, size));
  QmMaterialIO io(path.c_str());
  bool read = false;
  {
    const quelfuzz::MemoryWatch watch;
    read = io.read();
    // A row of a name and four digits is a node of a map; a pair of three digits is one in each of two.
    watch.requireAtMost(quelfuzz::kTimesFile, 40, size);
  }
  if (!read || !isModest(io.getMaterialTables())) return 0;
  quelfuzz::require(io.write(), "what was read can be written");
  const std::string first = quelfuzz::contentOf("materials");
  QmMaterialIO again(path.c_str());
  quelfuzz::require(again.read(), "what was written can be read");
  requireNear(io.getMaterialTables(), again.getMaterialTables());
  quelfuzz::require(again.write() && quelfuzz::contentOf("materials") == first, "the second writing changes nothing");
  return 0;
}
