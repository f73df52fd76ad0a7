#pragma once
#include <optional>

namespace orvo::host::declination {

// A UTC civil date and time as a decimal year, the time scale of the magnetic model: the year plus
// the elapsed fraction of it (2025-07-02T12:00:00 is 2025.5; leap years have 366 days). Empty when
// the fields do not make a real date (month 13, 29 February of a common year, hour 24, ...).
// A leap second (second 60) is accepted. Years run from 1 to 9999.
std::optional<double> DecimalYear(int year, int month, int day, int hour = 0, int minute = 0,
                                  double second = 0.0);

}  // namespace orvo::host::declination
