#include "host/platform/Locale.hpp"

#include <clocale>
#include <string>

namespace orvo::host::platform {

NumberLocale UserNumberLocale() {
  const char* current = std::setlocale(LC_NUMERIC, nullptr);
  const std::string previous = current != nullptr ? current : "C";

  NumberLocale locale;
  if (std::setlocale(LC_NUMERIC, "") != nullptr) {
    const std::lconv* conventions = std::localeconv();
    if (conventions->decimal_point != nullptr && conventions->decimal_point[0] != '\0') {
      locale.decimalSeparator = conventions->decimal_point;
    }
    if (conventions->thousands_sep != nullptr && conventions->thousands_sep[0] != '\0') {
      locale.groupingSeparator = conventions->thousands_sep;
    } else {
      // The C and POSIX locales name no grouping separator. Readings such as "4,050.2 ft" still
      // want one, so take the usual partner of the decimal separator.
      const char partner = locale.decimalSeparator == "," ? '.' : ',';
      locale.groupingSeparator.assign(1, partner);
    }
  }
  std::setlocale(LC_NUMERIC, previous.c_str());
  return locale;
}

std::string DecimalSeparator() {
  return UserNumberLocale().decimalSeparator;
}

}  // namespace orvo::host::platform
