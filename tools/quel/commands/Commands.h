// The commands of the tool. Each describes what it takes and does; what it does throws `Failure` when it fails.
#pragma once

#include <string>
#include <vector>

#include "commands/CommandLine.h"

namespace queltool {

void defineBlocks(Command& command);
void defineCheck(Command& command);
void defineColours(Command& command);
void defineCompensate(Command& command);
void defineDemo(Command& command);
void defineDeviation(Command& command);
void defineExample(Command& command);
void defineExport(Command& command);
void defineFeature(Command& command);
void defineFit(Command& command);
void defineImport(Command& command);
void defineIndex(Command& command);
void defineInfo(Command& command);
void defineMakeBlock(Command& command);
void defineMaterials(Command& command);
void defineOperations(Command& command);
void defineProject(Command& command);
void defineProjectTree(Command& command);
void defineReport(Command& command);
void defineSetups(Command& command);
void defineTrn(Command& command);
void defineUncertainty(Command& command);

/// A command of the tool.
struct CommandEntry {
  const char* name;
  void (*define)(Command& command);
  const char* help;
  std::vector<const char*> examples;  ///< How the help of the tool shows it at work, where it does.
};

/// All commands, in the order of the help.
const std::vector<CommandEntry>& allCommands();

/// What stands below the commands in the help of the tool.
std::string examplesOfCommands();

/// The command line of the tool, with all its commands.
class ToolLine : public CommandLine {
 public:
  explicit ToolLine(const std::string& version);
};

}  // namespace queltool
