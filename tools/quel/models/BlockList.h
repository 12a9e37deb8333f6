// The block table: the calibration plates that a site works with, blocks.ini of the home directory, seen through
// QmBlockTable, which calls them blocks.
//
// Every change is read back from the file before it counts as done. Everything here throws `Failure` with the file's
// name and the reason.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace queltool {

struct ListedBlock {
  std::string name;
  std::vector<int> lenses;
  std::uint32_t targetType;
  double expansion;  ///< Coefficient of thermal expansion, per degree.
  std::string mapFile;
  bool active;
};

/// The coefficient that the file holds once the block has been stored: millionths, truncated toward zero behind the
/// product, which falls short of some numbers of millionths, so that 249 become 248.
double expansionOnceStored(const ListedBlock& block);

/// What storing a block would change of it, in one line; empty where it changes nothing.
std::string lossOnceStored(const ListedBlock& block);

/// Where the list is kept.
std::filesystem::path blockListFile();

/// The list; empty where nobody has made one yet.
std::vector<ListedBlock> listBlocks();

/// Adds a block at the end of the list, which is made if need be. `active` and `expansion` of `block` are left alone.
void addBlock(const ListedBlock& block);

void setActiveBlock(const std::string& name);

/// Empty `mapFile`: the block has none any more.
void setMapFile(const std::string& name, const std::string& mapFile);

/// What keeps `text` from standing in the list; empty when nothing does.
std::string whyNotInList(const std::string& text);

/// The same for the name of a block.
std::string whyNoBlockName(const std::string& name);

}  // namespace queltool
