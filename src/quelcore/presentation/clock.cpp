#include "quelcore/presentation/clock.h"

#include <iterator>
#include <locale>
#include <sstream>
#include <string_view>

namespace quelcore {
namespace {

std::optional<std::time_t> stopped;

bool toLocal(std::time_t time, std::tm& local) {
#if defined(_WIN32)
  return localtime_s(&local, &time) == 0;
#else
  return localtime_r(&time, &local) != nullptr;
#endif
}

}  // namespace

std::time_t presentTime() noexcept { return stopped ? *stopped : std::time(nullptr); }

void stopClock(std::optional<std::time_t> time) noexcept { stopped = time; }

std::u16string localTimeText(std::time_t time) {
  std::tm local{};
  if (!toLocal(time, local)) return {};
  std::ostringstream out;
  out.imbue(std::locale::classic());
  constexpr std::string_view kFormat = "%a %b %d %H:%M:%S %Y";
  const auto& put = std::use_facet<std::time_put<char>>(out.getloc());
  put.put(std::ostreambuf_iterator<char>(out), out, ' ', &local, kFormat.data(), kFormat.data() + kFormat.size());
  const std::string text = out.str();
  return {text.begin(), text.end()};
}

}  // namespace quelcore
