#pragma once
// Numeric tests and conversions with the semantics ORVO's readings are defined by: a lenient
// notion of a numeric text, and whole numbers rounded half to even with an overflow error.
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "host/platform/Locale.hpp"

namespace orvo::host::platform {

// A text that is not a number, or a number that does not fit where it is put.
class ConversionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Optional surrounding blanks (space, tab), an optional sign, digits with at most one decimal
// separator and at least one digit, an optional exponent (e or E, optional sign, digits).
// An empty text is not numeric.
bool IsNumeric(std::string_view text, const NumberLocale& locale = NumberLocale::Invariant());

// The value of a numeric text; ConversionError when the text is not numeric or overflows.
double ToDouble(std::string_view text, const NumberLocale& locale = NumberLocale::Invariant());

// Rounds to the nearest whole number; a value exactly halfway goes to the even neighbour.
double RoundHalfEven(double value);

// Whole numbers rounded half to even (2.5 -> 2, 3.5 -> 4); ConversionError when the result does
// not fit (40000 as a 16-bit number) or the value is not a number.
std::int16_t ToInt16(double value);
std::int32_t ToInt32(double value);
std::int16_t ToInt16(std::string_view text, const NumberLocale& locale = NumberLocale::Invariant());
std::int32_t ToInt32(std::string_view text, const NumberLocale& locale = NumberLocale::Invariant());

}  // namespace orvo::host::platform
