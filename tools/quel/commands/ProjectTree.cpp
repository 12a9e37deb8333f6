// `quel project-tree`: the projects, parts and setups under a root directory.
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "models/ProjectStore.h"

namespace queltool {

namespace {

using nlohmann::ordered_json;

constexpr const char* kExample =
    "\nExample:\n"
    "  quel project-tree /data/projects\n"
    "  quel project-tree /data/projects --kind auto --json\n\n"
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
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(seconds)));
}

ordered_json jsonOf(const StoredSetup& setup) {
  ordered_json json = {{"name", setup.name},
                       {"path", setup.path},
                       {"automatic", setup.automatic},
                       {"modified", timeText(setup.modified)}};
  if (setup.number != -1) json.update({{"number", setup.number}, {"cycle", setup.cycle}});
  return json;
}

ordered_json jsonOf(const StoredProject& project) {
  ordered_json parts = ordered_json::array();
  for (const StoredPart& part : project.parts) {
    ordered_json setups = ordered_json::array();
    for (const StoredSetup& setup : part.setups) setups.push_back(jsonOf(setup));
    parts.push_back({{"name", part.name}, {"setups", std::move(setups)}});
  }
  return {{"name", project.name}, {"parts", std::move(parts)}};
}

void printJson(const Arguments& arguments, const ProjectStore& store) {
  ordered_json projects = ordered_json::array();
  for (const StoredProject& project : store.projects) projects.push_back(jsonOf(project));
  const ordered_json json = {{"root", arguments.root.string()},
                             {"projects", std::move(projects)},
                             {"outside_parts", store.outsideParts},
                             {"unreadable", store.unreadable}};
  fmt::print("{}\n", json.dump(1, ' ', false, ordered_json::error_handler_t::replace));
}

void printSetup(const StoredSetup& setup) {
  std::string number;
  if (setup.number != -1) number = fmt::format("  number {}, cycle {}", setup.number, setup.cycle);
  fmt::print("      {:<24} {}{}{}\n", setup.name, timeText(setup.modified), setup.automatic ? "  automatic" : "",
             number);
}

void printText(const Arguments& arguments, const ProjectStore& store) {
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
  command.option("DIR", arguments->root, "The root directory").required();
  command.choice("--kind", arguments->kind, "any", "Which setups: setup, auto or any",
                 {{"setup", SetupKind::Manual}, {"auto", SetupKind::Automatic}, {"any", SetupKind::Any}});
  command.flag("--json", arguments->json, "Print the tree as JSON");
  command.runs([arguments] {
    const ProjectStore store = readProjectStore(arguments->root, arguments->kind);
    (arguments->json ? printJson : printText)(*arguments, store);
  });
}

}  // namespace queltool
