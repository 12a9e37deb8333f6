// The versions of the tool and of what it is made of.
#pragma once

#include <string>
#include <vector>

namespace queltool {

struct VersionPart {
  std::string name;
  std::string version;
};

/// The parts behind the tool itself, in the order in which they are told.
std::vector<VersionPart> partsOfTool();

/// What `quel --version` tells: the versions of the tool, whose own is `tool`, and of its parts, a line each.
std::string versionsOf(const std::string& tool);

}  // namespace queltool
