#include "host/platform/NumberFormat.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace orvo::host::platform {
namespace {

// |value| as at most 15 significant decimal digits: digits * 10^(pointPosition - digits.size()),
// i.e. pointPosition digits stand before the decimal point. Zero has no digits.
struct Decimal {
  std::string digits;
  int pointPosition = 0;
};

// 15 significant digits is what a double reliably holds, and what the classic conversions of
// numbers to text use.
constexpr int kSignificantDigits = 15;

Decimal ToDecimal(double magnitude) {
  Decimal decimal;
  if (magnitude == 0.0) {
    return decimal;
  }
  char text[40];
  std::snprintf(text, sizeof text, "%.*e", kSignificantDigits - 1, magnitude);
  const std::string_view scientific(text);
  const auto e = scientific.find('e');
  for (const char c : scientific.substr(0, e)) {
    if (c != '.') {
      decimal.digits.push_back(c);
    }
  }
  decimal.pointPosition = std::atoi(text + e + 1) + 1;
  while (!decimal.digits.empty() && decimal.digits.back() == '0') {
    decimal.digits.pop_back();
  }
  return decimal;
}

// Rounds half away from zero so that no digit lies beyond `decimals` places after the point.
Decimal RoundTo(Decimal decimal, int decimals) {
  const int keep = decimal.pointPosition + decimals;
  if (keep >= static_cast<int>(decimal.digits.size())) {
    return decimal;
  }
  if (keep < 0) {
    return {};
  }
  const bool roundUp = decimal.digits[static_cast<std::size_t>(keep)] >= '5';
  decimal.digits.resize(static_cast<std::size_t>(keep));
  if (roundUp) {
    int i = keep - 1;
    for (; i >= 0; --i) {
      char& digit = decimal.digits[static_cast<std::size_t>(i)];
      if (digit != '9') {
        ++digit;
        break;
      }
      digit = '0';
    }
    if (i < 0) {
      decimal.digits.insert(decimal.digits.begin(), '1');
      ++decimal.pointPosition;
    }
  }
  while (!decimal.digits.empty() && decimal.digits.back() == '0') {
    decimal.digits.pop_back();
  }
  if (decimal.digits.empty()) {
    decimal.pointPosition = 0;
  }
  return decimal;
}

// The digits before the point without leading zeros ("" for less than one), and exactly
// `decimals` digits after it.
std::string WholeDigits(const Decimal& decimal) {
  std::string whole;
  for (int i = 0; i < decimal.pointPosition; ++i) {
    whole.push_back(i < static_cast<int>(decimal.digits.size())
                        ? decimal.digits[static_cast<std::size_t>(i)]
                        : '0');
  }
  return whole;
}

std::string FractionDigits(const Decimal& decimal, int decimals) {
  std::string fraction;
  for (int i = decimal.pointPosition; i < decimal.pointPosition + decimals; ++i) {
    const bool inDigits = i >= 0 && i < static_cast<int>(decimal.digits.size());
    fraction.push_back(inDigits ? decimal.digits[static_cast<std::size_t>(i)] : '0');
  }
  return fraction;
}

bool IsPlaceholder(char c) {
  return c == '0' || c == '#';
}

std::string FormatWholePart(std::string_view pattern, std::string digits,
                            const NumberLocale& locale) {
  bool grouping = false;
  std::vector<char> placeholders;  // in pattern order
  for (const char c : pattern) {
    if (c == ',') {
      grouping = true;
    }
    if (IsPlaceholder(c)) {
      placeholders.push_back(c);
    }
  }
  // A '0' forces its own position and every position right of it.
  std::size_t forced = 0;
  for (std::size_t i = 0; i < placeholders.size(); ++i) {
    if (placeholders[i] == '0') {
      forced = placeholders.size() - i;
      break;
    }
  }
  if (digits.size() < forced) {
    digits.insert(0, forced - digits.size(), '0');
  }

  // Digits fill the placeholders from the right; whatever is left over goes to the leftmost one.
  std::vector<std::string> assigned(placeholders.size());
  std::size_t remaining = digits.size();
  for (std::size_t i = placeholders.size(); i-- > 0 && remaining > 0;) {
    --remaining;
    assigned[i] = digits.substr(remaining, 1);
  }
  if (remaining > 0 && !assigned.empty()) {
    assigned[0].insert(0, digits.substr(0, remaining));
  }
  if (placeholders.empty()) {
    assigned.push_back(digits);  // no placeholder: digits lead
  }

  std::string text;
  std::size_t digitsWritten = 0;
  auto write = [&](const std::string& part) {
    for (const char digit : part) {
      text.push_back(digit);
      ++digitsWritten;
      const std::size_t left = digits.size() - digitsWritten;
      if (grouping && left > 0 && left % 3 == 0) {
        text += locale.groupingSeparator;
      }
    }
  };
  if (placeholders.empty()) {
    write(assigned[0]);
  }
  std::size_t next = 0;
  for (const char c : pattern) {
    if (c == ',') {
      continue;
    }
    if (IsPlaceholder(c)) {
      write(assigned[next++]);
    } else {
      text.push_back(c);
    }
  }
  return text;
}

std::string FormatFractionPart(std::string_view pattern, const std::string& digits) {
  // Optional ('#') positions at the right end drop their zeros.
  std::vector<std::size_t> placeholderPositions;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (IsPlaceholder(pattern[i])) {
      placeholderPositions.push_back(i);
    }
  }
  std::size_t shown = placeholderPositions.size();
  while (shown > 0 && pattern[placeholderPositions[shown - 1]] == '#' && digits[shown - 1] == '0') {
    --shown;
  }
  std::string text;
  std::size_t next = 0;
  for (const char c : pattern) {
    if (!IsPlaceholder(c)) {
      if (c != ',') {
        text.push_back(c);
      }
      continue;
    }
    if (next < shown) {
      text.push_back(digits[next]);
    }
    ++next;
  }
  return text;
}

}  // namespace

std::string FormatNumber(double value, std::string_view pattern, const NumberLocale& locale) {
  if (std::isnan(value)) {
    return "NaN";
  }
  if (std::isinf(value)) {
    return value < 0 ? "-Infinity" : "Infinity";
  }

  const auto point = pattern.find('.');
  const std::string_view wholePattern = pattern.substr(0, point);
  const std::string_view fractionPattern =
      point == std::string_view::npos ? std::string_view() : pattern.substr(point + 1);
  int decimals = 0;
  for (const char c : fractionPattern) {
    decimals += IsPlaceholder(c) ? 1 : 0;
  }

  const Decimal rounded = RoundTo(ToDecimal(std::fabs(value)), decimals);
  std::string text = value < 0 && !rounded.digits.empty() ? "-" : "";
  text += FormatWholePart(wholePattern, WholeDigits(rounded), locale);
  if (point != std::string_view::npos) {
    text += locale.decimalSeparator;
    text += FormatFractionPart(fractionPattern, FractionDigits(rounded, decimals));
  }
  return text;
}

std::string FormatGeneralNumber(double value, const NumberLocale& locale) {
  if (std::isnan(value)) {
    return "NaN";
  }
  if (std::isinf(value)) {
    return value < 0 ? "-Infinity" : "Infinity";
  }
  const Decimal decimal = ToDecimal(std::fabs(value));
  if (decimal.digits.empty()) {
    return "0";
  }

  std::string text = value < 0 ? "-" : "";
  const int exponent = decimal.pointPosition - 1;
  if (exponent < -4 || exponent >= kSignificantDigits) {
    text += decimal.digits.substr(0, 1);
    if (decimal.digits.size() > 1) {
      text += locale.decimalSeparator + decimal.digits.substr(1);
    }
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
    return text + suffix;
  }
  const std::string whole = WholeDigits(decimal);
  text += whole.empty() ? "0" : whole;
  const int decimals = static_cast<int>(decimal.digits.size()) - decimal.pointPosition;
  if (decimals > 0) {
    text += locale.decimalSeparator + FractionDigits(decimal, decimals);
  }
  return text;
}

}  // namespace orvo::host::platform
