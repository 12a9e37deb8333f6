#include "commands/HelpFormatter.h"

#include "files/Paragraphs.h"

namespace queltool {

std::string HelpFormatter::row(const std::string& name, const std::string& help) const {
  const std::size_t column = get_column_width();
  std::ostringstream out;
  CLI::detail::format_help(out, filled(name, width_, 4), "", column);
  const std::string text = filled(help, width_, column);
  std::string first = out.str();
  first.pop_back();
  if (text.empty()) return first + '\n';
  const bool beside = name.size() + 2 < column;
  return first + (beside ? "" : '\n' + std::string(column, ' ')) + text + '\n';
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  return row(make_option_name(option, isPositional) + make_option_opts(option), make_option_desc(option));
}

std::string HelpFormatter::make_option_usage(const CLI::Option* option) const {
  const std::string name = make_option_name(option, true) + (option->get_expected_max() > 1 ? "..." : "");
  return option->get_required() ? name : "[" + name + "]";
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  return row(command->get_display_name(true), command->get_description());
}

std::string HelpFormatter::make_description(const CLI::App* command) const {
  return filled(CLI::Formatter::make_description(command), width_) + '\n';
}

// The parser indents the whole of it afterwards.
std::string HelpFormatter::make_expanded(const CLI::App* command) const {
  constexpr std::size_t kIndent = 2;
  HelpFormatter narrower(*this);
  narrower.width_ = width_ - kIndent;
  return narrower.CLI::Formatter::make_expanded(command);
}

// A command without words of its own has those of the command above it, unless that is the program.
std::string HelpFormatter::make_footer(const CLI::App* command) const {
  const CLI::App* above = command->get_parent();
  const bool isBare = command->get_footer().empty() && above != nullptr && above->get_parent() != nullptr;
  return flowed(CLI::Formatter::make_footer(isBare ? above : command), width_);
}

}  // namespace queltool
