#include "tracking/ReadingsPanel.hpp"

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"
#include "tracking/Bearing.hpp"

namespace orvo::tracking {

using host::platform::FormatNumber;

namespace {

constexpr double kMphPerKnot = 1.1507794;
constexpr double kKmhPerKnot = 1.852;
constexpr double kFeetPerMetre = 3.28084;

std::string Cut(const std::string& text, std::size_t from, std::size_t count) {
  return from >= text.size() ? std::string{} : text.substr(from, count);
}

}  // namespace

ReadingsPanel::ReadingsPanel(host::ui::Window& window, const gps::GpsFix& fix,
                             DeclinationLookup& declination, DiagnosticSink diagnostics)
    : lblLatCaption(window, "lblLatCaption"),
      lblLngCaption(window, "lblLngCaption"),
      lblElvCaption(window, "lblElvCaption"),
      lblSpeedCaption(window, "lblSpeedCaption"),
      lblLat(window, "lblLat", 1),
      lblLng(window, "lblLng", 1),
      lbElv(window, "lbElv", 1),
      lblSpeed(window, "lblSpeed", 4),
      lblCourse(window, "lblCourse", 4),
      lnDir(window, "lnDir"),
      cmdUnitSel(window, "cmdUnitSel"),
      mnuUnit(window, "mnuUnit", "Unit"),
      mnuUnitElv(window, "mnuUnitElv", "Elevation", &mnuUnit),
      mnuUnitElvFoot(window, "mnuUnitElvFoot", "Foot", &mnuUnitElv),
      mnuUnitElvMeter(window, "mnuUnitElvMeter", "Meter", &mnuUnitElv),
      mnuUnitSpeed(window, "mnuUnitSpeed", "Speed", &mnuUnit),
      mnuUnitSpeedMph(window, "mnuUnitSpeedMph", "Mph", &mnuUnitSpeed),
      mnuUnitSpeedKmh(window, "mnuUnitSpeedKmh", "Kmh", &mnuUnitSpeed),
      mnuUnitSpeedKnot(window, "mnuUnitSpeedKnot", "Knot", &mnuUnitSpeed),
      mnuUnitLatLng(window, "mnuUnitLatLng", "Lat/Lng", &mnuUnit),
      mnuUnitLatLngPTS(window, "mnuUnitLatLngPTS", "DSH", &mnuUnitLatLng),
      mnuUnitLatLngT(window, "mnuUnitLatLngT", "D", &mnuUnitLatLng),
      mnuUnitHeading(window, "mnuUnitHeading", "Heading", &mnuUnit),
      mnuUnitHeadingTrue(window, "mnuUnitHeadingTrue", "True", &mnuUnitHeading),
      mnuUnitHeadingMag(window, "mnuUnitHeadingMag", "Magnetic", &mnuUnitHeading),
      window_(window),
      fix_(fix),
      declination_(declination),
      diagnostics_(std::move(diagnostics)) {
  WireHandlers();
}

void ReadingsPanel::WireHandlers() {
  mnuUnitElvFoot.onClick = [this] { SetUnitElv(0); };
  mnuUnitElvMeter.onClick = [this] { SetUnitElv(1); };
  mnuUnitSpeedMph.onClick = [this] { SetUnitSpeed(0); };
  mnuUnitSpeedKmh.onClick = [this] { SetUnitSpeed(1); };
  mnuUnitSpeedKnot.onClick = [this] { SetUnitSpeed(2); };
  mnuUnitLatLngPTS.onClick = [this] { SetUnitLatLng(0); };
  mnuUnitLatLngT.onClick = [this] { SetUnitLatLng(1); };
  mnuUnitHeadingTrue.onClick = [this] { SetUnitHeading(0); };
  mnuUnitHeadingMag.onClick = [this] { SetUnitHeading(1); };
  // Each reading pops up its own unit menu at the label's lower right corner.
  const auto popUnderLabel = [this](host::ui::Label& label, host::ui::MenuItem& menu) {
    label.onClick = [this, &label, &menu] {
      window_.PopupMenu(menu, label.Left() + label.Width(), label.Top() + label.Height());
    };
  };
  popUnderLabel(lbElv[0], mnuUnitElv);
  popUnderLabel(lblLat[0], mnuUnitLatLng);
  popUnderLabel(lblLng[0], mnuUnitLatLng);
  popUnderLabel(lblCourse[3], mnuUnitHeading);
  popUnderLabel(lblSpeed[3], mnuUnitSpeed);
  cmdUnitSel.onClick = [this] {
    for (auto* menu : {&mnuUnitElv, &mnuUnitSpeed, &mnuUnitLatLng, &mnuUnitHeading})
      menu->SetVisible(true);
    window_.PopupMenu(mnuUnit, cmdUnitSel.Left(), cmdUnitSel.Top() + cmdUnitSel.Height());
  };
}

void ReadingsPanel::Report(std::string_view procedure, std::string_view text) const {
  if (diagnostics_) diagnostics_(procedure, text);
}

void ReadingsPanel::SetUnitElv(std::int16_t value) {
  mnuUnitElvFoot.SetChecked(false);
  mnuUnitElvMeter.SetChecked(false);
  unitElv_ = value;
  if (value == 0) mnuUnitElvFoot.SetChecked(true);
  if (value == 1) mnuUnitElvMeter.SetChecked(true);
}

void ReadingsPanel::SetUnitSpeed(std::int16_t value) {
  host::ui::MenuItem* const items[] = {&mnuUnitSpeedMph, &mnuUnitSpeedKmh, &mnuUnitSpeedKnot};
  for (auto* item : items) item->SetChecked(false);
  unitSpeed_ = value;
  static const char* const kLabels[] = {"MPH", "KmH", "Kt"};
  if (value >= 0 && value <= 2) {
    items[value]->SetChecked(true);
    lblSpeed[3].SetCaption(kLabels[value]);
  }
}

void ReadingsPanel::SetUnitLatLng(std::int16_t value) {
  mnuUnitLatLngPTS.SetChecked(false);
  mnuUnitLatLngT.SetChecked(false);
  unitLatLng_ = value;
  if (value == 0) mnuUnitLatLngPTS.SetChecked(true);
  if (value == 1) mnuUnitLatLngT.SetChecked(true);
}

void ReadingsPanel::SetUnitHeading(std::int16_t value) {
  mnuUnitHeadingTrue.SetChecked(false);
  mnuUnitHeadingMag.SetChecked(false);
  unitHeading_ = value;
  if (value == 0) {
    mnuUnitHeadingTrue.SetChecked(true);
    lblCourse[3].SetCaption("T");
    lblCourse[2].SetBackColor(host::ui::FromBgr(0xAFB780));
  }
  if (value == 1) {
    mnuUnitHeadingMag.SetChecked(true);
    lblCourse[3].SetCaption("M");
    lblCourse[2].SetBackColor(host::ui::FromBgr(0x80FFFF));
  }
}

void ReadingsPanel::ComputeDisplayHeading() {
  magneticUnavailable_ = false;
  if (fix_.FixMode < gps::kFixMode2D) {
    displayHeading_ = 0;
    return;
  }
  if (unitHeading_ == 0) {
    displayHeading_ = fix_.Course;
    return;
  }
  if (unitHeading_ != 1) return;
  const DeclinationLookup::Result declination =
      declination_.Declination(fix_.Latitude, fix_.Longitude, fix_.GpsDateTime);
  if (!declination.failure.empty()) Report("DisplayHeading", declination.failure);
  if (!declination.degrees) {
    // Without a declination there is no magnetic heading to show; a guess would mislead.
    magneticUnavailable_ = true;
    return;
  }
  displayHeading_ = fix_.Course - *declination.degrees;
  // A result of 360 or more stays as it is (359 with -5 shows 364).
  if (displayHeading_ < 0) displayHeading_ += 360;
}

TextWithUnit ReadingsPanel::FormatLatLng(bool isLatitude) const {
  switch (unitLatLng_) {
    case 0:
      // Built from the received text: minutes beyond the sixth character are cut, not rounded.
      if (isLatitude)
        return {Cut(fix_.LatText, 0, 2) + "\u00B0" + Cut(fix_.LatText, 2, 6) + fix_.LatHemisphere,
                ""};
      return {Cut(fix_.LngText, 0, 3) + "\u00B0" + Cut(fix_.LngText, 3, 6) + fix_.LngHemisphere,
              ""};
    case 1:
      return {FormatNumber(isLatitude ? fix_.Latitude : fix_.Longitude, "###0.00000", locale_),
              " \u00B0 "};
    default:
      return {};
  }
}

std::string ReadingsPanel::FormatSpeed() const {
  const double knots = fix_.SpeedKnots;
  switch (unitSpeed_) {
    case 0:
      return FormatNumber(knots * kMphPerKnot, "##0.0", locale_);
    case 1:
      return FormatNumber(knots * kKmhPerKnot, "##0.0", locale_);
    case 2:
      return FormatNumber(knots, "##0.0", locale_);
    default:
      return {};
  }
}

std::string ReadingsPanel::FormatHeading() const {
  return FormatNumber(displayHeading_, "##0.0", locale_) + (unitHeading_ == 1 ? "m" : "");
}

TextWithUnit ReadingsPanel::FormatElevation() const {
  const double metres = fix_.Elevation;
  if (!(metres > gps::kNoValue)) return {"N/A", ""};
  switch (unitElv_) {
    case 0:
      return {FormatNumber(metres * kFeetPerMetre, "##,##0.0", locale_), " ft"};
    case 1:
      return {FormatNumber(metres, "##,##0.0", locale_), " m"};
    default:
      return {};
  }
}

void ReadingsPanel::ShowLatLng() {
  const bool positioned = fix_.FixMode >= gps::kFixMode2D;
  for (const bool isLatitude : {true, false}) {
    host::ui::Label& label = isLatitude ? lblLat[0] : lblLng[0];
    const TextWithUnit position = FormatLatLng(isLatitude);
    label.SetCaption(position.text + position.unit);
    label.SetEnabled(positioned);
  }
}

void ReadingsPanel::ShowSpeed() {
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
    Report("ShowSpeed", error.what());
  }
}

void ReadingsPanel::ShowHeading() {
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
    PointLine(lnDir, kNeedleTwips, displayHeading_);
  } catch (const std::exception& error) {
    Report("ShowHeading", error.what());
  }
}

void ReadingsPanel::ShowElevation() {
  try {
    const TextWithUnit elevation = FormatElevation();
    lbElv[0].SetCaption(elevation.text + elevation.unit);
    lbElv[0].SetEnabled(fix_.FixMode == gps::kFixMode3D);
  } catch (const std::exception& error) {
    Report("ShowElevation", error.what());
  }
}

}  // namespace orvo::tracking
