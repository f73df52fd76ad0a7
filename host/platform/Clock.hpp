#pragma once
// The computer's clock and time zone, behind interfaces so that tests and `orvo parse --now`
// can fix them.
#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <utility>

#include "host/platform/DateValue.hpp"

namespace orvo::host::platform {

struct TimeZoneInformation {
  // Minutes with UTC = local standard time + bias (UTC-5 has 300, UTC+1 has -60). Standard time
  // is the zone's least offset from UTC over the year.
  std::int32_t standardBiasMinutes = 0;
  // The present offset is above the standard one: daylight-saving time is in force.
  bool daylightInForce = false;
};

class TimeZoneSource {
 public:
  virtual ~TimeZoneSource() = default;
  virtual TimeZoneInformation Current() const = 0;
};

class SystemClock {
 public:
  virtual ~SystemClock() = default;
  // The present local date and time, to the whole second.
  virtual DateValue Now() const = 0;
  // Sets the time of day of the computer's clock (to the nearest second), keeping its date.
  // std::system_error carrying the platform's error text when refused.
  virtual void SetTimeOfDay(DateValue timeOfDay) = 0;
};

// The C library's view of the time zone (TZ, /etc/localtime): tzset and localtime_r.
class LinuxTimeZoneSource final : public TimeZoneSource {
 public:
  // The instant to evaluate at, seconds since 1970 UTC: the real clock's unless a test sets one.
  using Instant = std::function<std::time_t()>;
  explicit LinuxTimeZoneSource(Instant now = {}) : now_(std::move(now)) {}
  TimeZoneInformation Current() const override;
  static TimeZoneInformation At(std::time_t instant);

 private:
  Instant now_;
};

// The real clock: localtime_r for reading, clock_settime for setting (which needs the right to
// set the clock, CAP_SYS_TIME).
class LinuxSystemClock final : public SystemClock {
 public:
  DateValue Now() const override;
  void SetTimeOfDay(DateValue timeOfDay) override;
};

// A clock that stands still at a chosen moment and remembers what it was asked to set.
class FixedClock final : public SystemClock {
 public:
  explicit FixedClock(DateValue now) : now_(now) {}
  DateValue Now() const override { return now_; }
  void SetTimeOfDay(DateValue timeOfDay) override;
  void SetNow(DateValue now) { now_ = now; }
  // The time of day last set, if any.
  std::optional<DateValue> LastTimeOfDaySet() const { return lastTimeOfDaySet_; }

 private:
  DateValue now_;
  std::optional<DateValue> lastTimeOfDaySet_;
};

class FixedTimeZone final : public TimeZoneSource {
 public:
  explicit FixedTimeZone(std::int32_t standardBiasMinutes = 0, bool daylightInForce = false)
      : information_{standardBiasMinutes, daylightInForce} {}
  TimeZoneInformation Current() const override { return information_; }

 private:
  TimeZoneInformation information_;
};

}  // namespace orvo::host::platform
