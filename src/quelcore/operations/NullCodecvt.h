// The facet of files that hold 16-bit units as they are.
#pragma once

#include <locale>

namespace quelcore {

/// Carries 16-bit units to bytes and back unchanged, low byte first: two bytes to a unit, whatever it means as text.
/// Made for a locale that a `WideFileBuf` in binary mode is imbued with.
///
/// It does not claim that nothing is converted (`always_noconv` is false): a stream would then count a unit as one byte
/// and lose half of every file.
class NullCodecvt : public std::codecvt<char16_t, char, std::mbstate_t> {
 public:
  explicit NullCodecvt(std::size_t references = 0) : codecvt(references) {}

 protected:
  result do_out(state_type& state, const char16_t* from, const char16_t* fromEnd, const char16_t*& fromNext, char* to,
                char* toEnd, char*& toNext) const override;
  result do_in(state_type& state, const char* from, const char* fromEnd, const char*& fromNext, char16_t* to,
               char16_t* toEnd, char16_t*& toNext) const override;
  result do_unshift(state_type& state, char* to, char* toEnd, char*& toNext) const override;
  int do_length(state_type& state, const char* from, const char* end, std::size_t units) const override;
  int do_encoding() const noexcept override { return 2; }
  bool do_always_noconv() const noexcept override { return false; }
  int do_max_length() const noexcept override { return 2; }
};

}  // namespace quelcore
