#pragma once
// The texts of HTTP requests the page's server reads: request targets, cookies, host names, and
// the file chooser's name patterns.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::host::ui {

// A request target split into its decoded path and query parameters.
struct Target {
  std::string path;
  std::vector<std::pair<std::string, std::string>> query;

  std::optional<std::string> Parameter(std::string_view name) const;
};

// Nothing when the target is not a path or its escapes are broken.
std::optional<Target> ParseTarget(std::string_view target);
std::optional<std::string> PercentDecode(std::string_view text, bool plusIsSpace);
std::string PercentEncode(std::string_view text);
std::optional<std::string> CookieValue(std::string_view header, std::string_view name);
// Comparison whose time does not depend on where the texts differ.
bool SameSecret(std::string_view given, std::string_view expected);
// The host name of a Host header or an origin: lowercase, without scheme, port and IPv6
// brackets.
std::string HostName(std::string_view host);
// "12" as 12; nothing for anything else, including "+1", "1x" and numbers beyond int.
std::optional<int> WholeNumber(std::string_view text);
// "*.nmea; *.txt" as its patterns.
std::vector<std::string> SplitPatterns(std::string_view text);

// True for 127.0.0.0/8, ::1 and "localhost".
bool IsLoopbackAddress(std::string_view address);

// Whether a file name matches a chooser pattern such as "*.nmea" ('*' any run, '?' one
// character; letters compare without case, as the old file dialogs did).
bool MatchesFilePattern(std::string_view name, std::string_view pattern);

}  // namespace orvo::host::ui
