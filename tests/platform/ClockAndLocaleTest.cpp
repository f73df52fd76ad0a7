#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

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

TEST(LinuxTimeZoneSource, ReadsTheStandardBiasAndDaylightTime) {
  const LinuxTimeZoneSource source;
  {
    const ScopedEnvironment zone("TZ", "UTC0");
    EXPECT_EQ(source.Current().standardBiasMinutes, 0);
    EXPECT_FALSE(source.Current().daylightInForce);
  }
  {
    // POSIX rules need no zone files: five hours west, no daylight rule.
    const ScopedEnvironment zone("TZ", "EST5");
    EXPECT_EQ(source.Current().standardBiasMinutes, 300);
    EXPECT_FALSE(source.Current().daylightInForce);
  }
  {
    const ScopedEnvironment zone("TZ", "IST-5:30");
    EXPECT_EQ(source.Current().standardBiasMinutes, -330);
  }
  {
    // Daylight time all year round: the bias stays the standard one.
    const ScopedEnvironment zone("TZ", "EST5EDT,0/0,J365/25");
    EXPECT_EQ(source.Current().standardBiasMinutes, 300);
    EXPECT_TRUE(source.Current().daylightInForce);
  }
}

TEST(LinuxSystemClock, ReadsTheLocalTime) {
  const ScopedEnvironment zone("TZ", "UTC0");
  const LinuxSystemClock clock;
  const std::time_t before = std::time(nullptr);
  const DateValue now = clock.Now();
  const std::time_t after = std::time(nullptr);
  // Whole seconds since 1970 from the day number: 25569 is 1 January 1970.
  const double seconds = (now.OleDays() - 25569.0) * 86400.0;
  EXPECT_GE(seconds, static_cast<double>(before) - 0.5);
  EXPECT_LE(seconds, static_cast<double>(after) + 0.5);
}

// Runs `body` in a child process that has given up the right to set the clock (CAP_SYS_TIME),
// so the refusal is tested even where the tests run with that right, and the machine's clock
// can never be changed by a test. Returns what the child wrote to the pipe.
template <typename Body>
std::string InChildWithoutClockRight(Body body) {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) {
    return "pipe failed";
  }
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
  while ((got = read(pipeEnds[0], buffer, sizeof buffer)) > 0) {
    report.append(buffer, got);
  }
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

TEST(FixedClock, StandsStillAndRemembersWhatItWasAskedToSet) {
  FixedClock clock(DateValue::FromCivil(2026, 1, 1, 8, 0, 0));
  EXPECT_EQ(clock.Now().ToIso(), "2026-01-01T08:00:00");
  EXPECT_FALSE(clock.LastTimeOfDaySet());
  clock.SetTimeOfDay(DateValue::FromCivil(2003, 2, 1, 13, 5, 9));
  EXPECT_EQ(clock.LastTimeOfDaySet()->ToIso(), "1899-12-30T13:05:09");
  EXPECT_EQ(clock.Now().ToIso(), "2026-01-01T13:05:09");  // the date stays
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
