// The readings of the tracking tab in the user's units: position, speed, heading (true or
// magnetic) and elevation.
#include <cmath>

#include "addin/frmAddIn.hpp"
#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::addin {

using host::platform::FormatNumber;

namespace {

constexpr double kMphPerKnot = 1.1507794;
constexpr double kKmhPerKnot = 1.852;
constexpr double kFeetPerMetre = 3.28084;
// The needle and the sky plot's heading line use this value of pi, so their ends land on the
// same twips as they always did.
constexpr double kPi = 3.14159;
constexpr double kNeedleTwips = 222;

std::string Cut(const std::string& text, std::size_t from, std::size_t count) {
  return from >= text.size() ? std::string{} : text.substr(from, count);
}

}  // namespace

void frmAddIn::ComputeDisplayHeading() {
  const gps::GpsFix& fix = parser_.Fix();
  magneticUnavailable_ = false;
  if (fix.FixMode < gps::kFixMode2D) {
    displayHeading_ = 0;
    return;
  }
  if (unitHeading_ == 0) {
    displayHeading_ = fix.Course;
    return;
  }
  if (unitHeading_ != 1) return;
  const std::optional<double> declination =
      services_.declination ? services_.declination(fix.Latitude, fix.Longitude, fix.GpsDateTime)
                            : std::nullopt;
  if (!declination) {
    // Without a declination there is no magnetic heading to show; a guess would mislead.
    magneticUnavailable_ = true;
    return;
  }
  displayHeading_ = fix.Course - *declination;
  // A result of 360 or more stays as it is (359 with -5 shows 364).
  if (displayHeading_ < 0) displayHeading_ += 360;
}

frmAddIn::TextWithSuffix frmAddIn::FormatLatLng(bool isLatitude) const {
  const gps::GpsFix& fix = parser_.Fix();
  switch (unitLatLng_) {
    case 0:
      // Built from the received text: minutes beyond the sixth character are cut, not rounded.
      if (isLatitude)
        return {Cut(fix.LatText, 0, 2) + "\u00B0" + Cut(fix.LatText, 2, 6) + fix.LatHemisphere, ""};
      return {Cut(fix.LngText, 0, 3) + "\u00B0" + Cut(fix.LngText, 3, 6) + fix.LngHemisphere, ""};
    case 1:
      return {FormatNumber(isLatitude ? fix.Latitude : fix.Longitude, "###0.00000", numberLocale_),
              " \u00B0 "};
    default:
      return {};
  }
}

std::string frmAddIn::FormatSpeed() const {
  const double knots = parser_.Fix().SpeedKnots;
  switch (unitSpeed_) {
    case 0:
      return FormatNumber(knots * kMphPerKnot, "##0.0", numberLocale_);
    case 1:
      return FormatNumber(knots * kKmhPerKnot, "##0.0", numberLocale_);
    case 2:
      return FormatNumber(knots, "##0.0", numberLocale_);
    default:
      return {};
  }
}

void frmAddIn::ShowSpeed() {
  try {
    const std::string speed = FormatSpeed();
    // A literal "." on purpose: with another decimal separator the speed shows 0 0.
    const std::size_t point = speed.find('.');
    if (point == std::string::npos || point < 1) {
      lblSpeed[0].SetCaption("0");
      lblSpeed[1].SetCaption("0");
      return;
    }
    lblSpeed[0].SetCaption(speed.substr(0, point));
    lblSpeed[1].SetCaption(speed.substr(point + 1));
  } catch (const std::exception& error) {
    LogDiagnostic("ShowSpeed", error.what());
  }
}

std::string frmAddIn::FormatHeading() const {
  return FormatNumber(displayHeading_, "##0.0", numberLocale_) + (unitHeading_ == 1 ? "m" : "");
}

void frmAddIn::ShowHeading() {
  try {
    if (magneticUnavailable_) {
      lblCourse[0].SetCaption("---");
      lblCourse[1].SetCaption("-");
    } else {
      // Whole degrees are rounded, not cut: 123.7 shows as 124 and 7.
      lblCourse[0].SetCaption(std::to_string(host::platform::ToInt16(displayHeading_)));
      const std::string tenths = std::to_string(host::platform::ToInt32(displayHeading_ * 10));
      lblCourse[1].SetCaption(tenths.substr(tenths.size() - 1));
    }
    const double angle = (displayHeading_ - 90) * kPi / 180;
    lnDir.SetEnd(lnDir.X1() + kNeedleTwips * std::cos(angle),
                 lnDir.Y1() + kNeedleTwips * std::sin(angle));
  } catch (const std::exception& error) {
    LogDiagnostic("ShowHeading", error.what());
  }
}

frmAddIn::TextWithSuffix frmAddIn::FormatElevation() const {
  const double metres = parser_.Fix().Elevation;
  if (!(metres > gps::kNoValue)) return {"N/A", ""};
  switch (unitElv_) {
    case 0:
      return {FormatNumber(metres * kFeetPerMetre, "##,##0.0", numberLocale_), " ft"};
    case 1:
      return {FormatNumber(metres, "##,##0.0", numberLocale_), " m"};
    default:
      return {};
  }
}

void frmAddIn::ShowElevation() {
  try {
    const TextWithSuffix elevation = FormatElevation();
    lbElv[0].SetCaption(elevation.text + elevation.suffix);
    lbElv[0].SetEnabled(parser_.Fix().FixMode == gps::kFixMode3D);
  } catch (const std::exception& error) {
    LogDiagnostic("ShowElevation", error.what());
  }
}

}  // namespace orvo::addin
