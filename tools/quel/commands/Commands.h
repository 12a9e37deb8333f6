// The subcommands. Each adds itself to the command line and runs when it is named there; it throws `Failure`.
#pragma once

namespace CLI {
class App;
}

namespace queltool {

void addMakeBlock(CLI::App& app);
void addInfo(CLI::App& app);
void addProject(CLI::App& app);
void addFit(CLI::App& app);
void addCompensate(CLI::App& app);
void addFeature(CLI::App& app);
void addBlocks(CLI::App& app);
void addMaterials(CLI::App& app);
void addOperations(CLI::App& app);
void addTrn(CLI::App& app);
void addColours(CLI::App& app);
void addDeviation(CLI::App& app);
void addIndex(CLI::App& app);
void addProjectTree(CLI::App& app);
void addSetups(CLI::App& app);
void addDemo(CLI::App& app);

}  // namespace queltool
