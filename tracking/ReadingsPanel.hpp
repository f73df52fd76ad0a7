#pragma once
// The readings of the tracking tab in the user's units: position, speed, heading (true or
// magnetic) and elevation, with the unit menus through which they are changed. The panel owns the
// controls it writes; the main window lays them out.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "host/platform/Locale.hpp"
#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"
#include "tracking/MagneticDeclination.hpp"
#include "tracking/ReadingsText.hpp"

namespace orvo::tracking {

class ReadingsPanel final : public ReadingsText {
 public:
  using DiagnosticSink = std::function<void(std::string_view procedure, std::string_view text)>;
  // The heading needle's length, twips.
  static constexpr double kNeedleTwips = 222;

  ReadingsPanel(host::ui::Window& window, const gps::GpsFix& fix, DeclinationLookup& declination,
                DiagnosticSink diagnostics);

  // The user's number notation, taken when the main window loads.
  void SetNumberLocale(host::platform::NumberLocale locale) { locale_ = std::move(locale); }
  const host::platform::NumberLocale& NumberLocale() const { return locale_; }

  std::int16_t UnitElv() const { return unitElv_; }
  std::int16_t UnitSpeed() const { return unitSpeed_; }
  std::int16_t UnitLatLng() const { return unitLatLng_; }
  std::int16_t UnitHeading() const { return unitHeading_; }
  void SetUnitElv(std::int16_t value);
  void SetUnitSpeed(std::int16_t value);
  void SetUnitLatLng(std::int16_t value);
  void SetUnitHeading(std::int16_t value);

  // Step 1 of the refresh tick: the heading the panel, the needle and the pin note show.
  void ComputeDisplayHeading();
  double DisplayHeading() const { return displayHeading_; }

  TextWithUnit FormatLatLng(bool isLatitude) const;
  std::string FormatSpeed() const;
  std::string FormatHeading() const;
  TextWithUnit FormatElevation() const;

  // The readings as pin notes take them.
  TextWithUnit Latitude() const override { return FormatLatLng(true); }
  TextWithUnit Longitude() const override { return FormatLatLng(false); }
  TextWithUnit Elevation() const override { return FormatElevation(); }
  std::string Speed() const override { return FormatSpeed(); }
  std::string SpeedUnit() const override { return lblSpeed[3].Caption(); }
  std::string Heading() const override { return FormatHeading(); }
  std::int16_t ElevationUnit() const override { return unitElv_; }

  // In the order the tracking tab's refresh runs them.
  void ShowLatLng();
  void ShowSpeed();
  void ShowHeading();
  void ShowElevation();

  host::ui::Label lblLatCaption;
  host::ui::Label lblLngCaption;
  host::ui::Label lblElvCaption;
  host::ui::Label lblSpeedCaption;
  host::ui::ControlArray<host::ui::Label> lblLat;
  host::ui::ControlArray<host::ui::Label> lblLng;
  host::ui::ControlArray<host::ui::Label> lbElv;
  host::ui::ControlArray<host::ui::Label> lblSpeed;
  host::ui::ControlArray<host::ui::Label> lblCourse;
  host::ui::Line lnDir;
  host::ui::Button cmdUnitSel;

  host::ui::MenuItem mnuUnit;
  host::ui::MenuItem mnuUnitElv;
  host::ui::MenuItem mnuUnitElvFoot;
  host::ui::MenuItem mnuUnitElvMeter;
  host::ui::MenuItem mnuUnitSpeed;
  host::ui::MenuItem mnuUnitSpeedMph;
  host::ui::MenuItem mnuUnitSpeedKmh;
  host::ui::MenuItem mnuUnitSpeedKnot;
  host::ui::MenuItem mnuUnitLatLng;
  host::ui::MenuItem mnuUnitLatLngPTS;
  host::ui::MenuItem mnuUnitLatLngT;
  host::ui::MenuItem mnuUnitHeading;
  host::ui::MenuItem mnuUnitHeadingTrue;
  host::ui::MenuItem mnuUnitHeadingMag;

 private:
  void WireHandlers();
  void Report(std::string_view procedure, std::string_view text) const;

  host::ui::Window& window_;
  const gps::GpsFix& fix_;
  DeclinationLookup& declination_;
  DiagnosticSink diagnostics_;
  host::platform::NumberLocale locale_;
  double displayHeading_ = 0;
  bool magneticUnavailable_ = false;
  std::int16_t unitElv_ = 0;
  std::int16_t unitSpeed_ = 0;
  std::int16_t unitLatLng_ = 0;
  std::int16_t unitHeading_ = 0;
};

}  // namespace orvo::tracking
