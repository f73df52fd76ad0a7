#pragma once
// The separators a number is written with. NMEA text always uses the invariant ones; readings
// shown to the user use the user's own (UserNumberLocale).
#include <string>

namespace orvo::host::platform {

struct NumberLocale {
  // Strings rather than characters: some locales use multibyte separators (a narrow no-break
  // space for grouping, for example).
  std::string decimalSeparator = ".";
  std::string groupingSeparator = ",";

  static NumberLocale Invariant() { return {}; }
};

// The user's number locale, read from the C library's locale for the environment (LANG,
// LC_ALL, LC_NUMERIC). The process's own LC_NUMERIC is left as it was, so that the
// conversions of the standard library keep reading and writing "." everywhere else.
NumberLocale UserNumberLocale();

// The user's decimal separator, as the main window determines it when it loads.
std::string DecimalSeparator();

}  // namespace orvo::host::platform
