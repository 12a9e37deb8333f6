// Writes the manual pages of the tool and the scripts by which shells complete its lines, from the table of its
// commands.
//   quel_pages VERSION FOLDER
#include <cstdio>
#include <exception>
#include <filesystem>

#include "commands/Commands.h"
#include "files/Files.h"
#include "pages/Completion.h"
#include "pages/ManPage.h"

namespace {

namespace fs = std::filesystem;

void makePages(const std::string& version, const fs::path& folder) {
  const queltool::ToolLine line(version);
  const queltool::CommandPage tool = line.page();
  const auto write = [&folder](const fs::path& file, const std::string& text) {
    queltool::makeFolder((folder / file).parent_path());
    queltool::writeWholeFile(folder / file, text);
  };
  write("man/man1/quel.1", manPageOf(tool, version));
  for (const queltool::CommandPage& command : tool.commands) {
    write("man/man1/quel-" + command.name + ".1", manPageOf(tool, command, version));
  }
  write("bash-completion/completions/quel", bashCompletionOf(tool));
  write("zsh/site-functions/_quel", zshCompletionOf(tool));
  write("fish/vendor_completions.d/quel.fish", fishCompletionOf(tool));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  try {
    makePages(argv[1], argv[2]);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "quel_pages: %s\n", failure.what());
    return 1;
  }
}
