// Tokens and numbers of streams of 16-bit units, whatever the locale.
//
// The standard library extracts and inserts them for its own kinds of characters only. These set the stream's state as
// formatted extraction does: `failbit` when there is nothing of the kind, `eofbit` when the end was met, be it right
// behind the last unit; a stream that is to throw for its state does. Blanks in front are passed over; blanks are the
// space and the five control characters from tab to carriage return.
#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

namespace quelcore {

using WideIStream = std::basic_istream<char16_t>;
using WideOStream = std::basic_ostream<char16_t>;

/// The units up to the next blank.
WideIStream& extractToken(WideIStream& in, std::u16string& token);

/// A decimal integer with an optional sign. The nearest integer, and `failbit`, for one beyond 32 bits; 0, and
/// `failbit`, where there is none.
WideIStream& extractInteger(WideIStream& in, std::int32_t& value);

/// A decimal number: an optional sign, digits with at most one point, an optional exponent; correctly rounded. The
/// largest finite number of its sign, and `failbit`, for one beyond the range; 0, and `failbit`, where there is none.
WideIStream& extractReal(WideIStream& in, double& value);

WideOStream& insertText(WideOStream& out, std::u16string_view text);
WideOStream& insertInteger(WideOStream& out, std::int64_t value);

/// Six significant digits, in plain or exponent notation, whichever is shorter, without trailing zeros.
WideOStream& insertReal(WideOStream& out, double value);

}  // namespace quelcore
