#include "host/platform/Clock.hpp"

#include <algorithm>
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
  return At(now_ ? now_() : std::time(nullptr));
}

// The standard offset is the zone's smallest over the year around the instant, and daylight time
// is in force when the present offset is above it. The C library's own standard offset and
// daylight flag are not used: the tz database describes some zones (Europe/Dublin) with summer
// time as standard and a "negative" daylight time in winter.
TimeZoneInformation LinuxTimeZoneSource::At(std::time_t instant) {
  tzset();
  auto offsetSeconds = [](std::time_t at) {
    std::tm local{};
    localtime_r(&at, &local);
    return static_cast<std::int32_t>(local.tm_gmtoff);  // seconds east of UTC
  };
  const std::int32_t present = offsetSeconds(instant);
  // Weekly samples: a daylight period lasts months, not days.
  constexpr std::time_t kWeek = 7 * 24 * 3600;
  constexpr int kWeeksEachSide = 27;
  std::int32_t standard = present;
  for (int week = -kWeeksEachSide; week <= kWeeksEachSide; ++week) {
    standard = std::min(standard, offsetSeconds(instant + week * kWeek));
  }
  // Bias has the opposite sense to the offset: UTC = local standard time + bias.
  return {-standard / 60, present > standard};
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
