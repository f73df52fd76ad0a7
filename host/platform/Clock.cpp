#include "host/platform/Clock.hpp"

#include <cerrno>
#include <ctime>
#include <system_error>

namespace orvo::host::platform {
namespace {

std::tm LocalNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  return local;
}

}  // namespace

TimeZoneInformation LinuxTimeZoneSource::Current() const {
  tzset();
  const std::tm local = LocalNow();
  // `timezone` (set by tzset) is the standard offset in seconds west of UTC, the same sense as
  // the bias: UTC = local standard time + bias.
  return {static_cast<std::int32_t>(timezone / 60), local.tm_isdst > 0};
}

DateValue LinuxSystemClock::Now() const {
  const std::tm local = LocalNow();
  return DateValue::FromCivil(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                              local.tm_min, local.tm_sec == 60 ? 59 : local.tm_sec);
}

void LinuxSystemClock::SetTimeOfDay(DateValue timeOfDay) {
  const CivilDateTime wanted = timeOfDay.ToCivil();
  std::tm local = LocalNow();
  local.tm_hour = wanted.hour;
  local.tm_min = wanted.minute;
  local.tm_sec = wanted.second;
  local.tm_isdst = -1;  // let mktime decide for the new time of day
  const std::time_t seconds = mktime(&local);
  if (seconds == static_cast<std::time_t>(-1)) {
    throw std::system_error(EINVAL, std::generic_category(), "SetTimeOfDay");
  }
  const timespec target{seconds, 0};
  if (clock_settime(CLOCK_REALTIME, &target) != 0) {
    throw std::system_error(errno, std::generic_category(), "SetTimeOfDay");
  }
}

void FixedClock::SetTimeOfDay(DateValue timeOfDay) {
  lastTimeOfDaySet_ = timeOfDay.TimePart();
  now_ = DateValue::Combine(now_, timeOfDay);
}

}  // namespace orvo::host::platform
