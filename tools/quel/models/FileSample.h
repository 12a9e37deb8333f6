// What a file shows of itself before anybody reads it as one of some format.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace queltool {

struct FileSample {
  std::filesystem::path file;
  std::uintmax_t size = 0;  ///< Of the whole file.
  std::string bytes;        ///< Its beginning.
  std::string text;         ///< The same as UTF-8, without a mark; of what is no text whatever comes of it.
};

/// Throws `Failure` where `file` cannot be read.
FileSample sampleOf(const std::filesystem::path& file);

/// The name of the first element of an XML text; empty where there is none.
std::string rootOf(const FileSample& sample);

bool hasText(const FileSample& sample, const char* text);

/// Whether what is there begins as the files of these formats do, which have no mark of their own.
bool looksLikeTensor(const FileSample& sample);
bool looksLikeTriplets(const FileSample& sample);
bool looksLikeTargetMask(const FileSample& sample);
bool looksLikeSetupMap(const FileSample& sample);

/// The same of clouds of any format that has a mark; text may be anything.
bool looksLikeCloud(const FileSample& sample);

}  // namespace queltool
