#include "host/platform/Numeric.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <system_error>

namespace orvo::host::platform {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && IsBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

// The text rewritten for std::from_chars ("." as decimal point, no blanks, no leading "+"), or
// an empty string when the text is not numeric.
std::string Normalise(std::string_view text, const NumberLocale& locale) {
  text = TrimBlanks(text);
  std::string normal;
  normal.reserve(text.size());
  std::size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    if (text[i] == '-') {
      normal.push_back('-');
    }
    ++i;
  }
  const std::string_view separator = locale.decimalSeparator.empty()
                                         ? std::string_view(".")
                                         : std::string_view(locale.decimalSeparator);
  bool seenSeparator = false;
  bool seenDigit = false;
  while (i < text.size()) {
    if (IsDigit(text[i])) {
      normal.push_back(text[i]);
      seenDigit = true;
      ++i;
    } else if (!seenSeparator && text.substr(i).starts_with(separator)) {
      normal.push_back('.');
      seenSeparator = true;
      i += separator.size();
    } else {
      break;
    }
  }
  if (!seenDigit) {
    return {};
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    normal.push_back('e');
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
      normal.push_back(text[i++]);
    }
    bool exponentDigit = false;
    while (i < text.size() && IsDigit(text[i])) {
      normal.push_back(text[i++]);
      exponentDigit = true;
    }
    if (!exponentDigit) {
      return {};
    }
  }
  if (i != text.size()) {
    return {};
  }
  return normal;
}

// Roughly the power of ten of a normalised numeric text: its digits before the point (leading
// zeros not counted) plus its exponent. Only its sign matters, to tell overflow from underflow.
long DecimalMagnitude(std::string_view normal) {
  long exponent = 0;
  if (const auto e = normal.find('e'); e != std::string_view::npos) {
    const bool negative = normal[e + 1] == '-';
    const char* digits = normal.data() + e + 1 + (normal[e + 1] == '+' || negative ? 1 : 0);
    const auto parsed = std::from_chars(digits, normal.data() + normal.size(), exponent);
    // An exponent too long for a long is huge either way; only its direction matters.
    if (parsed.ec != std::errc()) {
      exponent = 1'000'000;
    }
    if (negative) {
      exponent = -exponent;
    }
    normal = normal.substr(0, e);
  }
  long integerDigits = 0;
  bool significant = false;
  for (const char c : normal) {
    if (c == '.') {
      break;
    }
    if (c >= '1' && c <= '9') {
      significant = true;
    }
    if (significant && IsDigit(c)) {
      ++integerDigits;
    }
  }
  return integerDigits + exponent;
}

std::string ShortText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", value);
  return text;
}

std::string Quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

template <typename Whole>
Whole ToWhole(double value, const char* bits) {
  const double rounded = RoundHalfEven(value);
  if (std::isnan(rounded) || rounded < static_cast<double>(std::numeric_limits<Whole>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Whole>::max())) {
    throw ConversionError("Overflow: " + ShortText(value) + " does not fit in " + bits + " bits");
  }
  return static_cast<Whole>(rounded);
}

}  // namespace

bool IsNumeric(std::string_view text, const NumberLocale& locale) {
  return !Normalise(text, locale).empty();
}

double ToDouble(std::string_view text, const NumberLocale& locale) {
  const std::string normal = Normalise(text, locale);
  if (normal.empty()) {
    throw ConversionError("Type mismatch: " + Quoted(text) + " is not a number");
  }
  double value = 0;
  const auto [end, error] = std::from_chars(normal.data(), normal.data() + normal.size(), value);
  if (error == std::errc::result_out_of_range) {
    // Underflow rounds to zero as the classic conversions do; only overflow is an error.
    if (DecimalMagnitude(normal) < 0) {
      return 0.0;
    }
    throw ConversionError("Overflow: " + Quoted(text) + " is too large");
  }
  if (error != std::errc() || end != normal.data() + normal.size()) {
    throw ConversionError("Type mismatch: " + Quoted(text) + " is not a number");
  }
  return value;
}

double RoundHalfEven(double value) {
  if (!std::isfinite(value)) {
    return value;
  }
  const double floor = std::floor(value);
  const double fraction = value - floor;
  if (fraction < 0.5) {
    return floor;
  }
  if (fraction > 0.5) {
    return floor + 1.0;
  }
  return std::fmod(floor, 2.0) == 0.0 ? floor : floor + 1.0;
}

std::int16_t ToInt16(double value) {
  return ToWhole<std::int16_t>(value, "16");
}
std::int32_t ToInt32(double value) {
  return ToWhole<std::int32_t>(value, "32");
}

std::int16_t ToInt16(std::string_view text, const NumberLocale& locale) {
  return ToInt16(ToDouble(text, locale));
}

std::int32_t ToInt32(std::string_view text, const NumberLocale& locale) {
  return ToInt32(ToDouble(text, locale));
}

}  // namespace orvo::host::platform
