// orvo declination: the magnetic declination of the World Magnetic Model at a place and date.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "app/Commands.hpp"
#include "host/declination/DecimalYear.hpp"
#include "host/declination/WorldMagneticModel.hpp"

namespace orvo::app {
namespace {

namespace declination = orvo::host::declination;
using declination::WorldMagneticModel;

constexpr int kExitNoDeclination = 1;
constexpr int kExitBadArguments = 2;

constexpr std::string_view kUsage =
    R"(usage: orvo declination LAT LON [--date YYYY-MM-DD[THH:MM:SS] | --year DECIMAL_YEAR] [--altitude KM]
       orvo declination --batch

Prints the magnetic declination of the World Magnetic Model (WMM2025) in degrees with four
decimals, east positive, e.g. 2.1234.

  LAT              geodetic latitude in decimal degrees, -90 to 90 (south negative)
  LON              longitude in decimal degrees, -180 to 360 (west negative)
  --date D         UTC date, or date and time, e.g. 2026-03-15 or 2026-03-15T08:30:00
  --year Y         decimal year, e.g. 2026.5
                   (without --date or --year: now, UTC)
  --altitude KM    height above the WGS84 ellipsoid in km, -1 to 850 (default 0)
  --batch          read lines "LAT LON DECIMAL_YEAR [ALTITUDE_KM]" from standard input and print
                   one declination per line, or "-" where there is none (the reason goes to
                   standard error); blank lines and lines starting with # are skipped

The model is valid from 2025.0 up to 2030.0; outside that no declination is given.
Exit status: 0 done, 1 no declination for that date (or the model file is unreadable),
2 bad arguments.
)";

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::optional<double> ParseDouble(std::string_view text) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc{} || stop != end || !std::isfinite(value))
    return std::nullopt;
  return value;
}

double RequireNumber(std::string_view text, const std::string& what) {
  const auto value = ParseDouble(text);
  if (!value) throw UsageError(what + " must be a number, not \"" + std::string(text) + "\"");
  return *value;
}

std::optional<int> FixedDigits(std::string_view text, std::size_t position, std::size_t count) {
  if (position + count > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t index = position; index < position + count; ++index) {
    const char digit = text[index];
    if (digit < '0' || digit > '9') return std::nullopt;
    value = value * 10 + (digit - '0');
  }
  return value;
}

// "YYYY-MM-DD" or "YYYY-MM-DDTHH:MM:SS", optionally ending in Z (the time is UTC either way).
std::optional<double> ParseDate(std::string_view text) {
  if (!text.empty() && text.back() == 'Z') text.remove_suffix(1);
  const bool withTime = text.size() == 19;
  if (text.size() != 10 && !withTime) return std::nullopt;
  if (text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto year = FixedDigits(text, 0, 4);
  const auto month = FixedDigits(text, 5, 2);
  const auto day = FixedDigits(text, 8, 2);
  if (!year || !month || !day) return std::nullopt;
  if (!withTime) return declination::DecimalYear(*year, *month, *day);
  if (text[10] != 'T' || text[13] != ':' || text[16] != ':') return std::nullopt;
  const auto hour = FixedDigits(text, 11, 2);
  const auto minute = FixedDigits(text, 14, 2);
  const auto second = FixedDigits(text, 17, 2);
  if (!hour || !minute || !second) return std::nullopt;
  return declination::DecimalYear(*year, *month, *day, *hour, *minute, *second);
}

double NowDecimalYear() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  return declination::DecimalYear(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                  utc.tm_min, utc.tm_sec)
      .value_or(0.0);
}

std::string FormatDegrees(double degrees) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4f", degrees);
  const std::string formatted = text;
  // A tiny westerly value would otherwise print as "-0.0000".
  return formatted == "-0.0000" ? "0.0000" : formatted;
}

void CheckPosition(double latitudeDegrees, double longitudeDegrees, double altitudeKm) {
  if (latitudeDegrees < -90.0 || latitudeDegrees > 90.0)
    throw UsageError("latitude must be between -90 and 90 degrees");
  // Both signed (-180..180) and eastward (0..360) longitudes are accepted; anything wider is more
  // likely a typing slip than a wrapped angle.
  if (longitudeDegrees < -180.0 || longitudeDegrees > 360.0)
    throw UsageError("longitude must be between -180 and 360 degrees");
  if (altitudeKm < WorldMagneticModel::kMinAltitudeKm ||
      altitudeKm > WorldMagneticModel::kMaxAltitudeKm)
    throw UsageError("altitude must be between -1 and 850 km (the model's range)");
}

std::string YearText(double decimalYear) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", decimalYear);
  return text;
}

std::string NoDeclinationMessage(const WorldMagneticModel& model, double decimalYear) {
  char year[32];
  std::snprintf(year, sizeof year, "%.4f", decimalYear);
  return "no declination available: the model " + model.Name() + " is valid from " +
         YearText(model.EpochYear()) + " to " + YearText(model.ValidUntilYear()) + " (asked for " +
         year + ")";
}

std::optional<WorldMagneticModel> LoadModel() {
  try {
    return WorldMagneticModel::LoadFile(WorldMagneticModel::DefaultFilePath());
  } catch (const declination::ModelFileError& error) {
    std::cerr << "orvo declination: " << error.what() << '\n';
    return std::nullopt;
  }
}

// One output line per input line, so that a caller can pair them up; bad lines give "-".
int RunBatch(WorldMagneticModel& model) {
  bool allGiven = true;
  std::string line;
  int lineNumber = 0;
  while (std::getline(std::cin, line)) {
    ++lineNumber;
    std::istringstream stream(line);
    std::vector<std::string> fields;
    for (std::string field; stream >> field;) fields.push_back(field);
    if (fields.empty() || fields.front().front() == '#') continue;
    try {
      if (fields.size() != 3 && fields.size() != 4)
        throw UsageError("expected \"LAT LON DECIMAL_YEAR [ALTITUDE_KM]\"");
      const double latitude = RequireNumber(fields[0], "latitude");
      const double longitude = RequireNumber(fields[1], "longitude");
      const double year = RequireNumber(fields[2], "year");
      const double altitude = fields.size() == 4 ? RequireNumber(fields[3], "altitude") : 0.0;
      CheckPosition(latitude, longitude, altitude);
      const auto degrees = model.DeclinationDegrees(latitude, longitude, altitude, year);
      if (!degrees) throw std::runtime_error(NoDeclinationMessage(model, year));
      std::cout << FormatDegrees(*degrees) << '\n';
    } catch (const std::runtime_error& error) {
      std::cout << "-\n";
      std::cerr << "orvo declination: line " << lineNumber << ": " << error.what() << '\n';
      allGiven = false;
    }
  }
  return allGiven ? 0 : kExitNoDeclination;
}

struct Request {
  bool help = false;
  bool batch = false;
  double latitudeDegrees = 0.0;
  double longitudeDegrees = 0.0;
  double altitudeKm = 0.0;
  std::optional<double> decimalYear;  // now when empty
};

Request ParseArguments(const Arguments& arguments) {
  Request request;
  std::vector<std::string> positional;
  bool dateGiven = false;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    const auto value = [&]() -> const std::string& {
      if (index + 1 >= arguments.size()) throw UsageError(argument + " needs a value");
      return arguments[++index];
    };
    if (argument == "--help" || argument == "-h") {
      request.help = true;
    } else if (argument == "--batch") {
      request.batch = true;
    } else if (argument == "--date" || argument == "--year") {
      if (dateGiven) throw UsageError("give either --date or --year, once");
      dateGiven = true;
      const std::string& text = value();
      if (argument == "--year") {
        request.decimalYear = RequireNumber(text, "the year");
      } else {
        request.decimalYear = ParseDate(text);
        if (!request.decimalYear)
          throw UsageError("\"" + text +
                           "\" is not a date (expected YYYY-MM-DD or YYYY-MM-DDTHH:MM:SS)");
      }
    } else if (argument == "--altitude") {
      request.altitudeKm = RequireNumber(value(), "the altitude");
    } else if (argument.size() > 1 && argument[0] == '-' && !ParseDouble(argument)) {
      throw UsageError("unknown option \"" + argument + "\"");
    } else {
      positional.push_back(argument);
    }
  }
  if (request.help) return request;
  if (request.batch) {
    if (!positional.empty() || dateGiven || request.altitudeKm != 0.0)
      throw UsageError("--batch takes its positions from standard input, not from arguments");
    return request;
  }
  if (positional.size() != 2) throw UsageError("expected LAT and LON");
  request.latitudeDegrees = RequireNumber(positional[0], "latitude");
  request.longitudeDegrees = RequireNumber(positional[1], "longitude");
  CheckPosition(request.latitudeDegrees, request.longitudeDegrees, request.altitudeKm);
  return request;
}

}  // namespace

int RunDeclination(const Arguments& arguments) {
  Request request;
  try {
    request = ParseArguments(arguments);
  } catch (const UsageError& error) {
    std::cerr << "orvo declination: " << error.what() << "\n"
              << "try: orvo declination --help\n";
    return kExitBadArguments;
  }
  if (request.help) {
    std::cout << kUsage;
    return 0;
  }

  auto model = LoadModel();
  if (!model) return kExitNoDeclination;
  if (request.batch) return RunBatch(*model);

  const double year = request.decimalYear.value_or(NowDecimalYear());
  const auto degrees = model->DeclinationDegrees(request.latitudeDegrees, request.longitudeDegrees,
                                                 request.altitudeKm, year);
  if (!degrees) {
    std::cerr << "orvo declination: " << NoDeclinationMessage(*model, year) << '\n';
    return kExitNoDeclination;
  }
  std::cout << FormatDegrees(*degrees) << '\n';
  return 0;
}

}  // namespace orvo::app
