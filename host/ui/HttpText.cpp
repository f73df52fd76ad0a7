#include "host/ui/HttpText.hpp"

#include <boost/asio/ip/address.hpp>

#include "host/platform/Text.hpp"

namespace orvo::host::ui {
namespace {

using platform::ToLowerAscii;

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_' || c == '.' || c == '~';
}

// The text before the first SEPARATOR, and REST moved past it (empty when there is none).
std::string_view NextPart(std::string_view& rest, char separator) {
  const auto at = rest.find(separator);
  const std::string_view part = rest.substr(0, at);
  rest = at == std::string_view::npos ? std::string_view{} : rest.substr(at + 1);
  return part;
}

}  // namespace

std::optional<std::string> Target::Parameter(std::string_view name) const {
  for (const auto& [key, value] : query)
    if (key == name) return value;
  return std::nullopt;
}

std::optional<std::string> PercentDecode(std::string_view text, bool plusIsSpace) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '+' && plusIsSpace) {
      result.push_back(' ');
    } else if (c == '%') {
      if (i + 2 >= text.size()) return std::nullopt;
      const int high = HexValue(text[i + 1]);
      const int low = HexValue(text[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      result.push_back(static_cast<char>(high * 16 + low));
      i += 2;
    } else {
      result.push_back(c);
    }
  }
  return result;
}

std::string PercentEncode(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    if (IsUnreserved(c)) {
      result.push_back(c);
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    result.push_back('%');
    result.push_back(kDigits[byte >> 4]);
    result.push_back(kDigits[byte & 0x0F]);
  }
  return result;
}

std::optional<Target> ParseTarget(std::string_view target) {
  Target result;
  const auto question = target.find('?');
  const auto path = PercentDecode(target.substr(0, question), false);
  if (!path || path->empty() || path->front() != '/' || path->find('\0') != std::string::npos)
    return std::nullopt;
  result.path = *path;
  if (question == std::string_view::npos) return result;
  std::string_view rest = target.substr(question + 1);
  while (!rest.empty()) {
    const std::string_view pair = NextPart(rest, '&');
    if (pair.empty()) continue;
    const auto equals = pair.find('=');
    const auto key = PercentDecode(pair.substr(0, equals), true);
    const auto value = PercentDecode(
        equals == std::string_view::npos ? std::string_view{} : pair.substr(equals + 1), true);
    if (!key || !value) return std::nullopt;
    result.query.emplace_back(*key, *value);
  }
  return result;
}

std::optional<std::string> CookieValue(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    const std::string_view pair = platform::Trim(NextPart(header, ';'));
    const auto equals = pair.find('=');
    if (equals != std::string_view::npos && pair.substr(0, equals) == name)
      return std::string(pair.substr(equals + 1));
  }
  return std::nullopt;
}

bool SameSecret(std::string_view given, std::string_view expected) {
  unsigned difference = given.size() == expected.size() ? 0u : 1u;
  for (std::size_t i = 0; i < given.size(); ++i)
    difference |= static_cast<unsigned char>(given[i]) ^
                  static_cast<unsigned char>(expected.empty() ? 0 : expected[i % expected.size()]);
  return difference == 0;
}

std::string HostName(std::string_view host) {
  if (const auto scheme = host.find("://"); scheme != std::string_view::npos)
    host.remove_prefix(scheme + 3);
  if (!host.empty() && host.front() == '[') {
    const auto close = host.find(']');
    return ToLowerAscii(host.substr(1, close == std::string_view::npos ? host.npos : close - 1));
  }
  return ToLowerAscii(host.substr(0, host.find(':')));
}

std::optional<int> WholeNumber(std::string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

std::vector<std::string> SplitPatterns(std::string_view text) {
  std::vector<std::string> patterns;
  while (!text.empty()) {
    const std::string_view pattern = platform::Trim(NextPart(text, ';'), " ");
    if (!pattern.empty()) patterns.emplace_back(pattern);
  }
  return patterns;
}

bool IsLoopbackAddress(std::string_view address) {
  if (platform::EqualsIgnoringAsciiCase(address, "localhost")) return true;
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(std::string(address), error);
  return !error && parsed.is_loopback();
}

bool MatchesFilePattern(std::string_view name, std::string_view pattern) {
  // Iterative wildcard match with one back-tracking point: linear enough for file names.
  std::size_t n = 0;
  std::size_t p = 0;
  std::optional<std::size_t> star;
  std::size_t starName = 0;
  while (n < name.size()) {
    if (p < pattern.size() &&
        (pattern[p] == '?' || ToLowerAscii(pattern[p]) == ToLowerAscii(name[n]))) {
      ++n;
      ++p;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starName = n;
    } else if (star) {
      p = *star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  // "*.*" matches names without a dot too, as it did in the old file dialogs.
  return p == pattern.size() || pattern.substr(p) == ".*";
}

}  // namespace orvo::host::ui
