// The problem and the remarks of the last reading as lines, for tests of readers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "quelcore/base/QmProblem.h"
#include "testing/AsNobody.h"
#include "testing/TempHome.h"

namespace quel::testing {

/// A problem without its file as one line; "none" for null.
inline std::string lineOf(const QmProblem* problem) {
  if (problem == nullptr) return "none";
  char line[2048];
  const std::int32_t length = qmProblemText(*problem, line, sizeof(line));
  EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(line));
  const std::string file = problem->file;
  const std::string whole = line;
  if (file.empty() || !whole.starts_with(file)) return whole;
  return whole.substr(file.size() + 2);  // Behind the comma or colon.
}

inline std::string lastProblem() { return lineOf(qmLastProblem()); }

inline std::vector<std::string> lastRemarks() {
  std::vector<std::string> remarks;
  while (const QmProblem* remark = qmLastRemark(static_cast<std::int32_t>(remarks.size()))) {
    remarks.push_back(lineOf(remark));
  }
  return remarks;
}

/// The place behind `text`, in words; each byte of it is one unit.
inline std::string placeBehind(const std::string& text) {
  const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
  const std::size_t begin = text.rfind('\n') + 1;
  return "line " + std::to_string(lines) + ", column " + std::to_string(text.size() - begin + 1);
}

/// Where the document `whole` of elements and attributes breaks off when it is cut behind `size` bytes: at a quotation
/// mark that is not closed, at an end tag that closes another element now, at a stroke that ends no tag; else at the
/// end.
inline std::string placeOfXmlCut(const std::string& whole, std::size_t size) {
  const std::string text = whole.substr(0, size);
  if (std::count(text.begin(), text.end(), '"') % 2 == 1) return placeBehind(text.substr(0, text.rfind('"')));
  const std::size_t tag = text.rfind('<');
  const std::string inTag = tag == text.npos ? "" : text.substr(tag);
  const bool isEndTag = inTag.starts_with("</");
  if (isEndTag && inTag.size() > 2 && inTag.back() != '>' && whole[size] != '>' && inTag.find('>') == inTag.npos) {
    return placeBehind(text.substr(0, tag));
  }
  return placeBehind(!isEndTag && inTag.ends_with('/') ? text.substr(0, size - 1) : text);
}

/// Has `read` read the document `whole` cut at every byte, and checks that it tells the place. It takes a text.
template <typename Read>
void expectEveryXmlCutTold(const std::string& whole, Read read) {
  for (std::size_t size = 0; size < whole.size(); ++size) {
    read(whole.substr(0, size));
    const std::string told = lastProblem();
    const std::string place = size == 0 ? "there is no root element" : placeOfXmlCut(whole, size) + ": ";
    EXPECT_EQ(told.substr(0, place.size()), place) << size << ": " << told;
  }
}

/// Has `read` read `path` as a missing file, as a directory and as a file that may not be read, and checks what it
/// tells in turn, and of which file. The parent directory is the test's own.
template <typename Read>
void expectUnreadableTold(const std::filesystem::path& path, const std::array<std::string, 3>& told, Read read) {
  std::filesystem::remove_all(path);
  read();
  EXPECT_EQ(lastProblem(), told[0]);
  ASSERT_NE(qmLastProblem(), nullptr);
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path);
  std::filesystem::create_directory(path);
  read();
  EXPECT_EQ(lastProblem(), told[1]);
  std::filesystem::remove(path);
  writeFile(path, "x");
  std::filesystem::permissions(path.parent_path(), kOpenToAll);
  std::filesystem::permissions(path, std::filesystem::perms::none);
  EXPECT_TRUE(holdsAsNobody([&] {
    read();
    EXPECT_EQ(lastProblem(), told[2]);
  }));
  std::filesystem::remove(path);
}

/// What a reader on a file tells of one that `qmFileOpen` does not open, and what one of XML does.
inline const std::array<std::string, 3> kUnopened = {"there is no such file", "it is a directory",
                                                     "the file may not be read"};
inline const std::array<std::string, 3> kUnopenedXml = {"cannot be read: The file was not found.",
                                                        "cannot be read: Access was denied.",
                                                        "cannot be read: Access was denied."};

/// Has `read` leave the problem `told` in a thread of its own, while this thread has one too; both stay apart.
template <typename Read>
void expectThreadsApart(const std::string& told, Read read) {
  read();
  const QmProblem* const here = qmLastProblem();
  EXPECT_EQ(lineOf(here), told);
  std::thread([&] {
    EXPECT_EQ(lastProblem(), "none");
    read();
    EXPECT_EQ(lastProblem(), told);
    EXPECT_NE(qmLastProblem(), here);
  }).join();
  EXPECT_EQ(lineOf(here), told);
}

}  // namespace quel::testing
