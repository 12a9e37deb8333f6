// Bytes made small.
#pragma once

#include <string>
#include <string_view>

namespace queltool {

/// `bytes` as a raw deflate stream (RFC 1951), which browsers call "deflate-raw". Throws std::bad_alloc.
std::string deflated(std::string_view bytes);

}  // namespace queltool
