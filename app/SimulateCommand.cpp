// orvo simulate: writes the NMEA a receiver would send on a drive along a route.
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "app/Commands.hpp"
#include "gps/NmeaSimulator.hpp"
#include "host/platform/Files.hpp"

namespace orvo::app {
namespace {

constexpr const char* kUsage =
    "usage: orvo simulate --route FILE [--speed KMH] [--start YYYY-MM-DDTHH:MM:SS] [--seed N]\n"
    "                     [--loss-at SECONDS --loss-for SECONDS] [--stop LAT,LON,SECONDS]...\n"
    "                     [--altitude METRES] [--output FILE]\n"
    "\n"
    "Drives along FILE (GPX track or route points, or a text file of \"lat lon\" or \"lat,lon\"\n"
    "lines, # for comments) and writes the receiver's NMEA 0183 sentences, one second apart:\n"
    "GGA, GSA, GSV and RMC.\n"
    "\n"
    "  --route FILE         the route to drive (required)\n"
    "  --speed KMH          cruising speed, default 40; slower in bends, stopping at the end\n"
    "  --start TIME         UTC time of the first fix, default 2026-01-01T12:00:00\n"
    "  --seed N             satellite sky and signal noise, default 1; same seed, same output\n"
    "  --loss-at SECONDS    the receiver loses its fix this many seconds after the start...\n"
    "  --loss-for SECONDS   ...for this long, then recovers\n"
    "  --stop LAT,LON,SEC   wait SEC seconds at the route point nearest LAT,LON (repeatable)\n"
    "  --altitude METRES    altitude when the route has none, default 30\n"
    "  --output FILE        write to FILE instead of standard output\n";

// Thrown for a command line that cannot be run; the message goes to the user with the usage hint.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

double NumberOption(std::string_view option, std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc{} || end != text.data() + text.size() ||
      !std::isfinite(value)) {
    throw UsageError(std::string(option) + ": \"" + std::string(text) + "\" is not a number");
  }
  return value;
}

std::uint64_t SeedOption(std::string_view text) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
    throw UsageError("--seed: \"" + std::string(text) + "\" is not a whole number from 0 up");
  }
  return value;
}

// YYYY-MM-DDTHH:MM:SS, UTC; a trailing Z is accepted.
std::chrono::sys_seconds StartOption(std::string_view text) {
  const std::string bad =
      "--start: \"" + std::string(text) + "\" is not a time YYYY-MM-DDTHH:MM:SS";
  if (text.ends_with('Z')) text.remove_suffix(1);
  if (text.size() != 19 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
      text[16] != ':') {
    throw UsageError(bad);
  }
  auto field = [&](std::size_t offset, std::size_t length) {
    int value = 0;
    const char* first = text.data() + offset;
    const auto [end, error] = std::from_chars(first, first + length, value);
    if (error != std::errc{} || end != first + length || *first == '-' || *first == '+') {
      throw UsageError(bad);
    }
    return value;
  };
  const std::chrono::year_month_day date{std::chrono::year{field(0, 4)},
                                         std::chrono::month{static_cast<unsigned>(field(5, 2))},
                                         std::chrono::day{static_cast<unsigned>(field(8, 2))}};
  const int hours = field(11, 2);
  const int minutes = field(14, 2);
  const int seconds = field(17, 2);
  if (!date.ok() || hours > 23 || minutes > 59 || seconds > 59) throw UsageError(bad);
  return std::chrono::sys_days{date} + std::chrono::hours{hours} + std::chrono::minutes{minutes} +
         std::chrono::seconds{seconds};
}

gps::RouteStop StopOption(std::string_view text) {
  const auto firstComma = text.find(',');
  const auto secondComma =
      firstComma == std::string_view::npos ? firstComma : text.find(',', firstComma + 1);
  if (secondComma == std::string_view::npos || text.find(',', secondComma + 1) != text.npos) {
    throw UsageError("--stop: \"" + std::string(text) + "\" is not LAT,LON,SECONDS");
  }
  return {NumberOption("--stop", text.substr(0, firstComma)),
          NumberOption("--stop", text.substr(firstComma + 1, secondComma - firstComma - 1)),
          NumberOption("--stop", text.substr(secondComma + 1))};
}

}  // namespace

int RunSimulate(const Arguments& arguments) {
  std::optional<std::string> routeFile;
  std::optional<std::string> outputFile;
  std::optional<double> lossForSeconds;
  gps::SimulationOptions options;
  try {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      std::string option = arguments[i];
      if (option == "--help" || option == "-h") {
        std::cout << kUsage;
        return 0;
      }
      std::optional<std::string> value;
      if (const auto equals = option.find('='); option.starts_with("--") && equals != option.npos) {
        value = option.substr(equals + 1);
        option.resize(equals);
      }
      auto next = [&]() -> std::string {
        if (value) return *value;
        if (i + 1 >= arguments.size()) throw UsageError(option + " needs a value");
        return arguments[++i];
      };
      if (option == "--route") {
        routeFile = next();
      } else if (option == "--output") {
        outputFile = next();
      } else if (option == "--speed") {
        options.cruiseSpeedKmh = NumberOption(option, next());
      } else if (option == "--start") {
        options.startUtc = StartOption(next());
      } else if (option == "--seed") {
        options.seed = SeedOption(next());
      } else if (option == "--loss-at") {
        options.lossStartSeconds = NumberOption(option, next());
      } else if (option == "--loss-for") {
        lossForSeconds = NumberOption(option, next());
      } else if (option == "--stop") {
        options.stops.push_back(StopOption(next()));
      } else if (option == "--altitude") {
        options.altitudeM = NumberOption(option, next());
      } else {
        throw UsageError("unknown option \"" + option + "\"");
      }
    }
    if (!routeFile) throw UsageError("--route FILE is required");
    if (options.lossStartSeconds.has_value() != lossForSeconds.has_value()) {
      throw UsageError("--loss-at and --loss-for go together");
    }
    options.lossDurationSeconds = lossForSeconds.value_or(0.0);
  } catch (const UsageError& error) {
    std::cerr << "orvo simulate: " << error.what()
              << "\n(orvo simulate --help lists the options)\n";
    return 2;
  }

  try {
    const gps::NmeaSimulator simulator(gps::LoadRoute(*routeFile), options);
    const std::string text = simulator.NmeaText();
    if (!outputFile) {
      std::cout << text << std::flush;
      return std::cout ? 0 : 1;
    }
    try {
      // A failed run leaves an older file whole.
      host::platform::WriteFileAtomically(*outputFile, text);
    } catch (const std::system_error& error) {
      throw std::runtime_error(*outputFile + ": cannot write the output file (" +
                               error.code().message() + ")");
    }
    std::fprintf(stderr, "orvo simulate: %s: %.2f km in %d s (%d epochs)\n", outputFile->c_str(),
                 simulator.RouteLengthM() / 1000.0, simulator.DurationSeconds(),
                 simulator.DurationSeconds() + 1);
    return 0;
  } catch (const gps::SimulationError& error) {
    std::cerr << "orvo simulate: " << error.what() << '\n';
    return 2;
  } catch (const std::runtime_error& error) {
    std::cerr << "orvo simulate: " << error.what() << '\n';
    return 1;
  }
}

}  // namespace orvo::app
