// Manual pages and completion as they are installed: read by man, bash, zsh and fish.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "pages/Completion.h"
#include "pages/ManPage.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

const std::string kPages = QUEL_PAGES;
const std::string kBash = kPages + "/bash-completion/completions/quel";
const std::string kZsh = kPages + "/zsh/site-functions/_quel";
const std::string kFish = kPages + "/fish/vendor_completions.d/quel.fish";

const std::vector<std::string> kNothing;

class Pages : public ::testing::Test {
 protected:
  Pages() {
    for (const char* file : {"scan.ply", "two words.ply"}) writeFile(path(file), "");
    fs::create_directory(path("store"));
    setenv("PATH", (fs::path(QUEL_EXECUTABLE).parent_path().string() + ":" + path_).c_str(), 1);
    setenv("HOME", path("").c_str(), 1);
  }
  ~Pages() override { setenv("PATH", path_.c_str(), 1); }

  std::string path(const std::string& name) const { return (dir_.path() / name).string(); }

  // What the script, run by a shell in the folder, says on both streams; the exit code must be 0.
  std::string say(const std::string& shell, const std::string& script) const {
    writeFile(path(".script"), script);
    const std::string command = "cd " + path("") + " && " + shell + " .script >.said 2>&1";
    const int status = std::system(command.c_str());
    const std::string said = readFile(path(".said"));
    EXPECT_EQ(WEXITSTATUS(status), 0) << command << "\n" << said;
    return said;
  }

  static std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  // What bash offers for the last of the words, as when Tab is pressed behind it.
  std::vector<std::string> offeredByBash(const std::vector<std::string>& words) const {
    std::string list;
    for (const std::string& word : words) list += " '" + word + "'";
    return linesOf(
        say("bash --norc", "source '" + kBash + "'\nCOMP_WORDS=(quel" + list +
                               ")\nCOMP_CWORD=" + std::to_string(words.size()) +
                               "\n_quel\n[[ ${#COMPREPLY[@]} == 0 ]] || printf '%s\\n' \"${COMPREPLY[@]}\"\n"));
  }

  // What fish offers at the end of a line, without the descriptions.
  std::vector<std::string> offeredByFish(const std::string& line) const {
    std::vector<std::string> lines =
        linesOf(say("fish --no-config", "source '" + kFish + "'\ncomplete -C '" + line + "'\n"));
    for (std::string& each : lines) each = each.substr(0, each.find('\t'));
    return lines;
  }

  // What zsh offers at the end of a line when Tab is pressed behind it in a terminal. It may ask several times.
  std::set<std::string> offeredByZsh(const std::string& line) const {
    for (const char* file : {"hits", "ready", "pressed"}) fs::remove(path(file));
    say("zsh -f", R"(
zmodload zsh/zpty
export TERM=dumb
zpty shell zsh -f -i
await() {
  local n
  for ((n = 0; n < 600; n++)) { [[ -e $1 ]] && return; sleep 0.05 }
  print "nothing made $1"
  exit 1
}
zpty -w shell "autoload -Uz compinit; compinit -u -D; source ')" +
                      kZsh + R"('"
zpty -w shell 'compadd() {
  local -a hits
  builtin compadd -O hits "$@"
  (( $#hits )) && print -rl -- $hits >>hits
  builtin compadd "$@"
}'
zpty -w shell 'press() { zle complete-word; : >pressed }; zle -N press; bindkey "^I" press; : >ready'
await ready
zpty -w -n shell ')" + line +
                      R"('$'\t'
await pressed
zpty -d shell
)");
    const std::vector<std::string> lines = fs::exists(path("hits")) ? linesOf(readFile(path("hits"))) : kNothing;
    return {lines.begin(), lines.end()};
  }

  quel::testing::TempDir dir_;

 private:
  std::string path_ = std::getenv("PATH");
};

TEST_F(Pages, OfTheManualAreThereForTheToolAndEachCommandAndRenderWithoutAWarning) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kPages + "/man/man1")) {
    const std::string page = entry.path().string();
    const std::string text = say("bash --norc", "export LC_ALL=C.UTF-8 MANWIDTH=80\nman --warnings -P cat -l '" + page +
                                                    "' 2>errors\ncat errors >&2\n[[ ! -s errors ]]\n");
    const std::string name = entry.path().stem().string();
    EXPECT_THAT(text, AllOf(HasSubstr(name + " - "), HasSubstr("EXIT STATUS"), HasSubstr("--help")));
    names.push_back(name);
  }
  EXPECT_THAT(names, AllOf(Contains("quel"), Contains("quel-project-tree"), Contains("quel-trn")));
}

TEST_F(Pages, OfTheManualTellWhatTheHelpTells) {
  CommandPage page{"tool", "Does this", "tool [OPTIONS] SUBCOMMAND", "", {}, {}};
  page.commands.push_back({"turn",
                           "Turns",
                           "tool turn [OPTIONS] FILE",
                           "\n.Some words\\.\n  <shown/>\n\nExample:\n  tool turn -o a",
                           {},
                           {}});
  page.commands[0].options = {{{"-o", "--out"}, "FILE", "What to write", {}}, {{"FILE"}, "FILE", "What to read", {}}};
  EXPECT_EQ(manPageOf(page, page.commands[0], "3.1"), R"(.TH "TOOL\-TURN" 1 "" "quel 3.1" QuelCore
.nh
.ad l
.SH NAME
tool\-turn \- Turns
.SH SYNOPSIS
.nf
tool turn [OPTIONS] FILE
.fi
.SH DESCRIPTION
Turns.
.PP
\&.Some words\e.
.EX
<shown/>
.EE
.PP
.SH OPTIONS
.TP
\fB\-o\fR, \fB\-\-out\fR \fIFILE\fR
What to write
.TP
\fBFILE\fR
What to read
.SH EXAMPLES
.EX
tool turn \-o a
.EE
.SH EXIT STATUS
0 done, 1 failed, 2 wrong usage.
.SH SEE ALSO
\fBtool\fR(1)
)");
}

TEST_F(Pages, GiveBashItsCompletion) {
  EXPECT_THAT(say("bash --norc", "source '" + kBash + "'\ncomplete -p quel\n"), "complete -F _quel quel\n");
}

TEST_F(Pages, LetBashCompleteCommandsOptionsAndFiles) {
  EXPECT_THAT(offeredByBash({"in"}), ElementsAre("info", "index"));
  EXPECT_THAT(offeredByBash({"trn", ""}), ElementsAre("show", "make", "invert", "compose"));
  EXPECT_THAT(offeredByBash({"trn", "make", "--r"}), ElementsAre("--rotate"));
  EXPECT_THAT(offeredByBash({"materials", "convert", "--to", ""}), ElementsAre("wide", "utf8"));
  EXPECT_THAT(offeredByBash({"materials", "convert", "--to", "=", "u"}), ElementsAre("utf8"));
  EXPECT_THAT(offeredByBash({"materials", "convert", "--to", "="}), ElementsAre("wide", "utf8"));
  EXPECT_THAT(offeredByBash({"info", "sc"}), ElementsAre("scan.ply"));
  EXPECT_THAT(offeredByBash({"info", "tw"}), ElementsAre("two words.ply"));
  EXPECT_THAT(offeredByBash({"index", "scan.ply", "-o", "s"}), UnorderedElementsAre("scan.ply", "store"));
  EXPECT_THAT(offeredByBash({"project-tree", "s"}), ElementsAre("store"));
  EXPECT_THAT(offeredByBash({"deviation", "scan.ply", "--tolerance", ""}), IsEmpty());
  EXPECT_THAT(offeredByBash({"setups", "update", "--n"}), ElementsAre("--number"));
  EXPECT_THAT(offeredByBash({"operations", ""}), AllOf(Contains("example"), Contains("scan.ply")));
}

TEST_F(Pages, LetZshCompleteCommandsOptionsAndFiles) {
  EXPECT_THAT(offeredByZsh("quel in"), UnorderedElementsAre("info", "index"));
  EXPECT_THAT(offeredByZsh("quel trn "), UnorderedElementsAre("show", "make", "invert", "compose"));
  EXPECT_THAT(offeredByZsh("quel trn make --r"), ElementsAre("--rotate"));
  EXPECT_THAT(offeredByZsh("quel materials convert --to "), UnorderedElementsAre("wide", "utf8"));
  EXPECT_THAT(offeredByZsh("quel info sc"), ElementsAre("scan.ply"));
  EXPECT_THAT(offeredByZsh("quel operations "), AllOf(Contains("example"), Contains("scan.ply")));
}

TEST_F(Pages, LetZshLoadItsCompletionByTheNameOfItsFile) {
  EXPECT_THAT(say("zsh -f", "fpath=('" + fs::path(kZsh).parent_path().string() +
                                "' $fpath)\nautoload -Uz compinit\ncompinit -u -D\nprint $_comps[quel]\n"),
              "_quel\n");
}

TEST_F(Pages, LetFishCompleteCommandsOptionsAndFiles) {
  EXPECT_THAT(offeredByFish("quel in"), UnorderedElementsAre("info", "index"));
  EXPECT_THAT(offeredByFish("quel trn "), UnorderedElementsAre("show", "make", "invert", "compose"));
  EXPECT_THAT(offeredByFish("quel trn make --r"), ElementsAre("--rotate"));
  EXPECT_THAT(offeredByFish("quel materials convert --to "), UnorderedElementsAre("wide", "utf8"));
  EXPECT_THAT(offeredByFish("quel info sc"), ElementsAre("scan.ply"));
  EXPECT_THAT(offeredByFish("quel operations "), AllOf(Contains("example"), Contains("scan.ply")));
  EXPECT_THAT(offeredByFish("quel project-tree s"), ElementsAre("store/"));
}

}  // namespace
}  // namespace queltool
