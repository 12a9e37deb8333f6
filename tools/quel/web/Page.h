// The shell of every page: one file that a browser opens without network and without anything beside it.
//
// A page runs its own scripts and no others: its Content-Security-Policy allows nothing but those scripts and styles,
// by their SHA-256. Data stand in blocks that no browser runs, which assets/blocks.js reads.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "files/Json.h"

namespace queltool {

/// Bytes within a page, deflated and in base64.
struct PageBlock {
  std::string id;
  std::string bytes;
};

struct WebPage {
  std::string title;
  std::string lead;                       ///< HTML of the line below the title.
  std::string body;                       ///< HTML of everything between the heading and what is said about the page.
  std::vector<std::string_view> styles;   ///< Assets of this page alone, beside the one of all pages.
  std::vector<std::string_view> scripts;  ///< Assets of this page alone, which run after those of all pages.
  Json data;                              ///< What its scripts need to know.
  Json figures;                           ///< What the command prints as JSON, for other programs.
  std::vector<PageBlock> blocks;          ///< What is too much for JSON.
};

/// HTML of the view in 3D: `label` tells in words what it shows, `furtherKeys` goes on after "F fits" with what the
/// page itself does by keys.
std::string viewHtml(const std::string& label, const std::string& furtherKeys = {});

/// The page's text.
std::string textOf(const WebPage& page);

}  // namespace queltool
