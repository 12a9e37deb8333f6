// The command-line tool of the measuring system. Exit codes: 0 done, 1 failed, 2 wrong usage.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
// The library that finds the fonts of the pictures keeps what it found for the life of the process.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig"; }
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
#endif
#endif

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kNoConsole = 6;

int run(int argc, char** argv) {
  CLI::App app{"Works with the calibration blocks of three-camera heads.", "quel"};
  app.require_subcommand(1);
  app.set_version_flag("--version", QUEL_VERSION);
  app.footer(
      "\nExamples:\n"
      "  quel demo --out demo                     see a real head at work\n"
      "  quel make-block cameras.json -o blocks   make a block from three calibrated cameras\n"
      "  quel info blocks/QUEL0001-1.tns          look into a block and check it\n"
      "  quel project blocks/QUEL0001-1.tns scan.ply -o pixels.csv\n"
      "  quel fit blocks/QUEL0001-1.tns pairs.csv -o points.ply\n"
      "  quel compensate blocks/QUEL0001-1.tns --table drift.xml --temperature 31.5 -o warm.tns\n"
      "  quel index scan.ply -o bins.png                 sort a cloud into bins and look at them\n"
      "  quel feature plane scan.ply -o plane.png        fit a plane and see the deviations\n"
      "  quel blocks list                         see the blocks that this site works with\n"
      "  quel project-tree /data/projects         see what is stored under a root directory\n"
      "  quel setups list                         see the numbers of setups\n\n"
      "quel COMMAND --help tells more. Exit codes: 0 done, 1 failed, 2 wrong usage.");
  queltool::addMakeBlock(app);
  queltool::addInfo(app);
  queltool::addProject(app);
  queltool::addFit(app);
  queltool::addCompensate(app);
  queltool::addFeature(app);
  queltool::addBlocks(app);
  queltool::addMaterials(app);
  queltool::addOperations(app);
  queltool::addTrn(app);
  queltool::addColours(app);
  queltool::addDeviation(app);
  queltool::addIndex(app);
  queltool::addProjectTree(app);
  queltool::addSetups(app);
  queltool::addDemo(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUsage;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // The subcommands tell the reasons themselves; the log file keeps everything.
  quelplatform::setConsoleLogLevel(kNoConsole);
  try {
    return run(argc, argv);
  } catch (const queltool::Failure& failure) {
    std::fprintf(stderr, "quel: %s\n", failure.what());
  } catch (const std::bad_alloc&) {
    std::fputs("quel: out of memory\n", stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "quel: %s\n", failure.what());
  }
  return kFailed;
}
