// The help of a command in lines that fit a terminal of 80 columns.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace queltool {

constexpr std::size_t kHelpWidth = 80;

/// The parser's own help, in which what is longer goes on in the next line of its column.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_option_usage(const CLI::Option* option) const override;
  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_description(const CLI::App* command) const override;
  std::string make_expanded(const CLI::App* command) const override;
  std::string make_footer(const CLI::App* command) const override;

 private:
  std::string row(const std::string& name, const std::string& help) const;

  std::size_t width_ = kHelpWidth;
};

}  // namespace queltool
