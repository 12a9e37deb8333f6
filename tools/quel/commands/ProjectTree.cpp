// `quel project-tree`: the projects, parts and setups under a root directory.
#include <fmt/core.h>

#include <ctime>
#include <memory>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Json.h"
#include "quel/store/ProjectTree.h"

namespace queltool {

namespace {

using quel::ProjectTree;
using quel::SetupKind;
using quel::StoredPart;
using quel::StoredProject;
using quel::StoredSetup;

constexpr const char* kExample =
    "\nExample:\n"
    "  quel project-tree store\n"
    "  quel project-tree store --kind auto --json\n\n"
    "The root holds projects, a project parts, a part setups. A directory with a file part.qmp or partinfo.qmp is a "
    "part;\n"
    "one with a file setup.qms is a setup, and so is one with a file autosetup.qms, made automatically.";

struct Arguments {
  std::filesystem::path root;
  SetupKind kind = SetupKind::Any;
  bool json = false;
};

/// In UTC, such as 2026-11-21T14:03:07Z.
std::string timeText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm utc{};
  gmtime_r(&time, &utc);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                     utc.tm_hour, utc.tm_min, utc.tm_sec);
}

Json jsonOf(const StoredSetup& setup) {
  Json json = {{"name", setup.name},
               {"path", setup.path},
               {"automatic", setup.automatic},
               {"modified", timeText(setup.modified)}};
  if (setup.number == -1) return json;
  json.set("number", setup.number);
  json.set("cycle", setup.cycle);
  return json;
}

Json jsonOf(const StoredProject& project) {
  Json parts = Json::list({});
  for (const StoredPart& part : project.parts) {
    Json setups = Json::list({});
    for (const StoredSetup& setup : part.setups) setups.add(jsonOf(setup));
    parts.add({{"name", part.name}, {"setups", setups}});
  }
  return {{"name", project.name}, {"parts", parts}};
}

Json jsonOf(const Arguments& arguments, const ProjectTree& store) {
  Json projects = Json::list({});
  for (const StoredProject& project : store.projects) projects.add(jsonOf(project));
  return {{"root", arguments.root.string()},
          {"projects", projects},
          {"outside_parts", store.outsideParts},
          {"unreadable", store.unreadable}};
}

void printSetup(const StoredSetup& setup) {
  std::string number;
  if (setup.number != -1) number = fmt::format("  number {}, cycle {}", setup.number, setup.cycle);
  fmt::print("      {:<24} {}{}{}\n", setup.name, timeText(setup.modified), setup.automatic ? "  automatic" : "",
             number);
}

void printText(const Arguments& arguments, const ProjectTree& store) {
  std::size_t parts = 0, setups = 0;
  fmt::print("{}\n", arguments.root.string());
  for (const StoredProject& project : store.projects) {
    fmt::print("  {}\n", project.name);
    parts += project.parts.size();
    for (const StoredPart& part : project.parts) {
      fmt::print("    {}\n", part.name);
      setups += part.setups.size();
      for (const StoredSetup& setup : part.setups) printSetup(setup);
    }
  }
  fmt::print("{} projects, {} parts, {} setups\n", store.projects.size(), parts, setups);
  for (const std::string& path : store.outsideParts) fmt::print("not in a part: {}\n", path);
  for (const std::string& path : store.unreadable) fmt::print("cannot be listed: {}\n", path);
}

}  // namespace

void defineProjectTree(Command& command) {
  auto arguments = std::make_shared<Arguments>();
  command.footer(kExample);
  command.folder("DIR", arguments->root, "The root directory").required();
  command.choice("--kind", arguments->kind, "any", "Which setups: setup, auto or any",
                 {{"setup", SetupKind::Manual}, {"auto", SetupKind::Automatic}, {"any", SetupKind::Any}});
  command.flag("--json", arguments->json, "Print the tree as JSON");
  command.runs([arguments] {
    const ProjectTree store = orFail(quel::readProjectTree(arguments->root, arguments->kind));
    arguments->json ? printJson(jsonOf(*arguments, store)) : printText(*arguments, store);
  });
}

}  // namespace queltool
