#include "quelcore/base/FileStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <istream>
#include <ostream>

#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using quelcore::FileBuf;

std::string anyBytes(std::size_t count) {
  auto random = testRandom();
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// Sizes about one block, about two, and far beyond.
constexpr std::size_t kSizes[] = {0, 1, 65535, 65536, 65537, 131072, 131073, 1000003};

TEST(FileBuf, ReadsAFileWholeInOneRequest) {
  const TempDir folder;
  for (const std::size_t size : kSizes) {
    const std::string bytes = anyBytes(size);
    writeFile(folder.path() / "data", bytes);
    FileBuf file(folder.wide("data").c_str(), u"rb");
    ASSERT_TRUE(file.isOpen());
    std::istream in(&file);
    std::string read(size + 10, '\0');
    in.read(read.data(), static_cast<std::streamsize>(read.size()));
    EXPECT_EQ(in.gcount(), static_cast<std::streamsize>(size));
    EXPECT_EQ(read.substr(0, size), bytes);
    EXPECT_TRUE(in.eof());
  }
}

TEST(FileBuf, ReadsAFileInPiecesOfAnySize) {
  const TempDir folder;
  const std::string bytes = anyBytes(400000);
  writeFile(folder.path() / "data", bytes);
  FileBuf file(folder.wide("data").c_str(), u"rb");
  std::istream in(&file);
  auto random = testRandom();
  std::string read;
  while (in) {
    if (random() % 3 == 0) {
      const int unit = in.get();
      if (unit != std::char_traits<char>::eof()) read += static_cast<char>(unit);
    } else {
      std::string piece(random() % 100000, '\0');
      in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
      read += piece.substr(0, static_cast<std::size_t>(in.gcount()));
    }
  }
  EXPECT_EQ(read, bytes);
}

TEST(FileBuf, WritesInPiecesOfAnySize) {
  const TempDir folder;
  const std::string bytes = anyBytes(400000);
  FileBuf file(folder.wide("data").c_str(), u"wb");
  std::ostream out(&file);
  auto random = testRandom();
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t count = std::min<std::size_t>(bytes.size() - at, random() % 3 == 0 ? 1 : random() % 90000);
    if (count == 1) {
      out.put(bytes[at]);
    } else {
      out.write(bytes.data() + at, static_cast<std::streamsize>(count));
    }
    at += count;
  }
  EXPECT_TRUE(out.good());
  EXPECT_TRUE(file.close());
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(readFile(folder.path() / "data"), bytes);
}

TEST(FileBuf, WritesWhatIsLeftWhenItGoes) {
  const TempDir folder;
  {
    FileBuf file(folder.wide("data").c_str(), u"wb");
    std::ostream(&file) << "some words";
  }
  EXPECT_EQ(readFile(folder.path() / "data"), "some words");
}

TEST(FileBuf, FlushesOnDemand) {
  const TempDir folder;
  FileBuf file(folder.wide("data").c_str(), u"wb");
  std::ostream out(&file);
  out << "some words" << std::flush;
  // What is written takes its name when it is closed; until then it is the only file there.
  EXPECT_EQ(readFile(*std::filesystem::directory_iterator(folder.path())), "some words");
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "data"));
}

TEST(FileBuf, IsNotOpenWhenThereIsNoSuchFile) {
  const TempDir folder;
  FileBuf file(folder.wide("absent").c_str(), u"rb");
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.close());
  std::istream in(&file);
  EXPECT_EQ(in.get(), std::char_traits<char>::eof());
}

TEST(FileBuf, RefusesToWriteWhatWasOpenedForReading) {
  const TempDir folder;
  writeFile(folder.path() / "data", "some words");
  FileBuf file(folder.wide("data").c_str(), u"rb");
  std::ostream out(&file);
  out.write("other", 5);
  out.put('!');
  EXPECT_TRUE(out.bad());
  EXPECT_EQ(readFile(folder.path() / "data"), "some words");
}

TEST(FileBuf, TellsOfADiskThatIsFull) {
  FileBuf file(u"/dev/full", u"wb");
  ASSERT_TRUE(file.isOpen());
  std::ostream(&file) << "some words";
  EXPECT_FALSE(file.close());
}

}  // namespace
