#pragma once
// Small text helpers shared by every layer. Settings files, NMEA, region descriptions and HTTP
// headers are ASCII protocols: case and white space are folded the ASCII way, never by locale.
#include <string>
#include <string_view>

namespace orvo::host::platform {

// Space, tab, carriage return, line feed, form feed and vertical tab.
inline constexpr std::string_view kAsciiWhitespace = " \t\r\n\f\v";

inline std::string_view Trim(std::string_view text,
                             std::string_view whitespace = kAsciiWhitespace) {
  const auto first = text.find_first_not_of(whitespace);
  if (first == std::string_view::npos) return {};
  const auto last = text.find_last_not_of(whitespace);
  return text.substr(first, last - first + 1);
}

inline constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string ToLowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = ToLowerAscii(c);
  return lower;
}

inline bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
  return true;
}

}  // namespace orvo::host::platform
