#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>

#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"
#include "host/platform/Locale.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::platform {
namespace {

// Sets an environment variable for one test; the C library reads the time zone again when it
// is set and when the old value is back.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : variable_(name, value) { tzset(); }

 private:
  struct ReadZoneAgain {
    ~ReadZoneAgain() { tzset(); }
  } readZoneAgain_;  // destroyed after variable_
  orvo::testing::ScopedEnvironment variable_;
};

// The fix's bias (minutes added to UTC) on both sides of real changes: Dublin's "negative" winter
// daylight time, Lord Howe's half hour of daylight time, zones not whole hours from UTC.
TEST(TimeZoneBias, FollowsTheZoneOnBothSidesOfAChange) {
  struct Case {
    const char* zone;
    const char* utc;                   // the instant, UTC
    std::int32_t standardBiasMinutes;  // UTC = local standard time + bias
    bool daylight;
    std::int16_t timeZoneBias;
  };
  const Case cases[] = {
      {"Europe/Dublin", "2026-03-29T00:59:59", 0, false, 0},
      {"Europe/Dublin", "2026-03-29T01:00:00", 0, true, 60},
      {"Europe/Dublin", "2026-10-25T00:59:59", 0, true, 60},
      {"Europe/Dublin", "2026-10-25T01:00:00", 0, false, 0},
      {"Europe/London", "2026-07-15T12:00:00", 0, true, 60},
      {"America/St_Johns", "2026-03-08T05:29:59", 210, false, -210},
      {"America/St_Johns", "2026-03-08T05:30:00", 210, true, -150},
      {"Australia/Lord_Howe", "2026-04-04T14:59:59", -630, true, 690},
      {"Australia/Lord_Howe", "2026-04-04T15:00:00", -630, false, 630},
      {"Asia/Kathmandu", "2026-01-15T12:00:00", -345, false, 345},
      {"UTC", "2026-07-15T12:00:00", 0, false, 0},
  };
  std::time_t instant = 0;
  LinuxTimeZoneSource source([&instant] { return instant; });
  FixedClock clock(DateValue::ParseIso("2026-01-01T00:00:00"));
  for (const Case& c : cases) {
    const ScopedEnvironment zone("TZ", c.zone);
    // Seconds since 1970 from the day number: 25569 is 1 January 1970.
    instant = static_cast<std::time_t>(
        std::llround((DateValue::ParseIso(c.utc).OleDays() - 25569.0) * 86400.0));
    const TimeZoneInformation information = source.Current();
    EXPECT_EQ(information.standardBiasMinutes, c.standardBiasMinutes) << c.zone << " " << c.utc;
    EXPECT_EQ(information.daylightInForce, c.daylight) << c.zone << " " << c.utc;
    const gps::NmeaParser parser(source, clock);
    EXPECT_EQ(parser.Fix().TimeZoneBias, c.timeZoneBias) << c.zone << " " << c.utc;
  }
}

// Runs `body` in a child process that has given up the right to set the clock (CAP_SYS_TIME),
// so the refusal is tested even where the tests run with that right, and the machine's clock
// can never be changed by a test. Returns what the child wrote to the pipe.
template <typename Body>
std::string InChildWithoutClockRight(Body body) {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) return "pipe failed";
  const pid_t child = fork();
  if (child == 0) {
    close(pipeEnds[0]);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    std::string report;
    if (syscall(SYS_capget, &header, data) != 0) {
      report = "capget failed";
    } else {
      data[0].effective &= ~(1U << CAP_SYS_TIME);
      data[0].permitted &= ~(1U << CAP_SYS_TIME);
      report = syscall(SYS_capset, &header, data) == 0 ? body() : "capset failed";
    }
    const ssize_t written = write(pipeEnds[1], report.data(), report.size());
    _exit(written == static_cast<ssize_t>(report.size()) ? 0 : 1);
  }
  close(pipeEnds[1]);
  std::string report;
  char buffer[256];
  ssize_t got = 0;
  while ((got = read(pipeEnds[0], buffer, sizeof buffer)) > 0) report.append(buffer, got);
  close(pipeEnds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return report;
}

TEST(LinuxSystemClock, RefusalCarriesThePlatformsErrorText) {
  const std::string report = InChildWithoutClockRight([]() -> std::string {
    LinuxSystemClock clock;
    try {
      clock.SetTimeOfDay(DateValue::ParseTime("12:00:00"));
      return "set the clock";
    } catch (const std::system_error& error) {
      const bool refused = error.code() == std::errc::operation_not_permitted;
      return std::string(refused ? "refused: " : "other error: ") + error.what();
    }
  });
  EXPECT_EQ(report, "refused: SetTimeOfDay: Operation not permitted");
}

// The user's separators come from the environment's locale. Only the C locales are installed on
// a bare system, so the test compiles a German one into a temporary folder (LOCPATH).
TEST(UserNumberLocale, FollowsTheEnvironment) {
  {
    const ScopedEnvironment all("LC_ALL", "C");
    const NumberLocale locale = UserNumberLocale();
    EXPECT_EQ(locale.decimalSeparator, ".");
    EXPECT_EQ(locale.groupingSeparator, ",");  // C names none; the usual partner is taken
    EXPECT_EQ(DecimalSeparator(), ".");
  }
  const orvo::testing::TempFolder temp;
  const std::filesystem::path& folder = temp.Path();
  const std::string command =
      "localedef -i de_DE -f UTF-8 " + (folder / "de_DE.UTF-8").string() + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef could not build de_DE.UTF-8";
  {
    const ScopedEnvironment path("LOCPATH", folder.c_str());
    const ScopedEnvironment all("LC_ALL", "de_DE.UTF-8");
    const NumberLocale locale = UserNumberLocale();
    EXPECT_EQ(locale.decimalSeparator, ",");
    EXPECT_EQ(locale.groupingSeparator, ".");
    EXPECT_EQ(DecimalSeparator(), ",");
    // The process's own numeric conversions still use ".".
    EXPECT_EQ(std::to_string(1.5).substr(0, 3), "1.5");
  }
}

}  // namespace
}  // namespace orvo::host::platform
