#include "quelcore/operations/NullCodecvt.h"

#include <algorithm>

namespace quelcore {

std::codecvt_base::result NullCodecvt::do_out(state_type&, const char16_t* from, const char16_t* fromEnd,
                                              const char16_t*& fromNext, char* to, char* toEnd, char*& toNext) const {
  for (; from != fromEnd && toEnd - to >= 2; ++from) {
    *to++ = static_cast<char>(*from & 0xFF);
    *to++ = static_cast<char>(*from >> 8);
  }
  fromNext = from;
  toNext = to;
  return from == fromEnd ? ok : partial;
}

std::codecvt_base::result NullCodecvt::do_in(state_type&, const char* from, const char* fromEnd, const char*& fromNext,
                                             char16_t* to, char16_t* toEnd, char16_t*& toNext) const {
  for (; fromEnd - from >= 2 && to != toEnd; from += 2) {
    const auto low = static_cast<unsigned char>(from[0]);
    const auto high = static_cast<unsigned char>(from[1]);
    *to++ = static_cast<char16_t>(low | high << 8);
  }
  fromNext = from;
  toNext = to;
  return from == fromEnd ? ok : partial;
}

std::codecvt_base::result NullCodecvt::do_unshift(state_type&, char* to, char*, char*& toNext) const {
  toNext = to;
  return noconv;
}

int NullCodecvt::do_length(state_type&, const char* from, const char* end, std::size_t units) const {
  return static_cast<int>(2 * std::min(static_cast<std::size_t>(end - from) / 2, units));
}

}  // namespace quelcore
