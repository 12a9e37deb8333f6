// Whether this program runs under a sanitizer, which makes it some ten times slower: tests of many random cases then
// take fewer of them.
#pragma once

namespace quel::testing {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QUEL_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUEL_SANITIZED 1
#endif

#if defined(QUEL_SANITIZED)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

}  // namespace quel::testing
