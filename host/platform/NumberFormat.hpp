#pragma once
// Numbers as text through digit-placeholder patterns ("##0.0", "##,##0.0", "###0.00000", "0.00",
// "00", "000", "00:00:00") and in the shortest general form.
#include <string>
#include <string_view>

#include "host/platform/Locale.hpp"

namespace orvo::host::platform {

// Pattern characters: '0' a digit that is always shown, '#' a digit shown only when significant,
// '.' the decimal point (written as the locale's separator), ',' anywhere in the whole-number
// part asks for grouping in threes (written as the locale's separator); every other character
// is copied as it stands, wherever the digits fall ("00:00:00" of 235959 is "23:59:59").
// The value is first taken as its 15-significant-digit decimal, then rounded half away from zero
// to the pattern's decimals, so 2.675 with "0.00" is "2.68" although the binary double lies just
// below. A result whose shown digits are all zero carries no minus sign.
std::string FormatNumber(double value, std::string_view pattern,
                         const NumberLocale& locale = NumberLocale::Invariant());

// The shortest general form: up to 15 significant digits, no trailing zeros, the locale's
// decimal separator ("1.2", "0.75", "12"); scientific ("1.5E-05", "1E+15") below 1e-4 and from
// 1e15 on.
std::string FormatGeneralNumber(double value,
                                const NumberLocale& locale = NumberLocale::Invariant());

}  // namespace orvo::host::platform
