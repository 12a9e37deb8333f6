#include "web/Planes.h"

#include <type_traits>

namespace queltool {
namespace {

// Unsigned arithmetic wraps as the format has it.
template <typename Unsigned, typename Value>
void addColumn(std::span<const Value> column, std::string& bytes) {
  using Signed = std::make_signed_t<Unsigned>;
  constexpr int kBits = 8 * sizeof(Unsigned);
  const std::size_t begin = bytes.size();
  bytes.resize(begin + column.size() * sizeof(Unsigned));
  Unsigned last = 0;
  for (std::size_t i = 0; i < column.size(); ++i) {
    const auto value = static_cast<Unsigned>(column[i]);
    const auto change = static_cast<Unsigned>(value - last);
    const auto sign = static_cast<Unsigned>(static_cast<Signed>(change) >> (kBits - 1));
    const auto code = static_cast<Unsigned>(static_cast<Unsigned>(change << 1) ^ sign);
    for (std::size_t plane = 0; plane < sizeof(Unsigned); ++plane) {
      bytes[begin + plane * column.size() + i] = static_cast<char>(code >> (8 * plane) & 0xFF);
    }
    last = value;
  }
}

}  // namespace

void addPlanes(std::span<const std::uint16_t> column, std::string& bytes) { addColumn<std::uint16_t>(column, bytes); }

void addPlanes(std::span<const std::int32_t> column, std::string& bytes) { addColumn<std::uint32_t>(column, bytes); }

}  // namespace queltool
