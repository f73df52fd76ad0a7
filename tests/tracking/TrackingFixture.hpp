#pragma once
// Map tracking, the trail and the compass on a window holding the main window's controls of
// the same names, a stepped clock, scripted message boxes and the in-memory map.
#include <memory>
#include <string>
#include <vector>

#include "gps/GpsFix.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/Window.hpp"
#include "tests/tracking/FakeActiveMap.hpp"
#include "tracking/CompassPanel.hpp"
#include "tracking/MapTracker.hpp"
#include "tracking/TrailRecorder.hpp"

namespace orvo::testing {

class TrackingWindow final : public host::ui::Window {
 public:
  using ScrollBar = host::ui::ScrollBar;
  explicit TrackingWindow(host::ui::Desktop& desktop)
      : Window(desktop, "frmAddIn", "ORVO", 336, 430) {
    cmdCurPPSel.Place(180, 2580, 1560, 400);
    lblCompass.Place(3960, 2970, 660, 660);
  }

  host::ui::CheckBox chkTrkOnMap{*this, "chkTrkOnMap"};
  ScrollBar sclTrackFactor{*this, "sclTrackFactor", ScrollBar::Orientation::Horizontal};
  host::ui::Label lblTrackFactor{*this, "lblTrackFactor"};
  ScrollBar sclRefreshRate{*this, "sclRefreshRate", ScrollBar::Orientation::Horizontal};
  host::ui::Label lblRefreshRate{*this, "lblRefreshRate"};
  host::ui::Timer Timer1{*this, "Timer1", GetDesktop().GetScheduler()};
  host::ui::CheckBox chkTrail{*this, "chkTrail"};
  host::ui::CheckBox chkAlwaysTop{*this, "chkAlwaysTop"};
  host::ui::Button cmdTraceOption{*this, "cmdTraceOption"};
  host::ui::Button cmdClearTrail{*this, "cmdClearTrail"};
  host::ui::Button cmdCurPPSel{*this, "cmdCurPPSel"};
  host::ui::Label lblCompass{*this, "lblCompass"};
  host::ui::Shape shpD{*this, "shpD"};
  host::ui::MenuItem mnuPosPPStyle{*this, "mnuPosPPStyle", "Cursor"};
  host::ui::MenuItem mnuPosPPStyleHeading{*this, "mnuPosPPStyleHeading", "Heading", &mnuPosPPStyle};
  host::ui::MenuItem mnuPosPPStyleGPS{*this, "mnuPosPPStyleGPS", "GPS State", &mnuPosPPStyle};
  host::ui::MenuItem mnuCompass{*this, "mnuCompass", "Compass"};
  host::ui::MenuItem mnuCompassLocate{*this, "mnuCompassLocate", "&Current Position...(C)",
                                      &mnuCompass};
  host::ui::MenuItem mnuCompassCalcRouteFromHere{*this, "mnuCompassCalcRouteFromHere",
                                                 "Calc &Route from here...(R)", &mnuCompass};
  host::ui::MenuItem mnuCompassPushAPin{*this, "mnuCompassPushAPin", "&Push a pin here...(P)",
                                        &mnuCompass};
  host::ui::MenuItem mnuCompassSyncTime{*this, "mnuCompassSyncTime", "&Sync System Time",
                                        &mnuCompass};
};

// Readings with fixed texts, as the main window's formatters would give them.
struct FixedReadings final : tracking::ReadingsText {
  tracking::TextWithUnit Latitude() const override { return {"43\u00B044.2431", "N"}; }
  tracking::TextWithUnit Longitude() const override { return {"7\u00B025.4590", "E"}; }
  tracking::TextWithUnit Elevation() const override { return {"98.4", " ft"}; }
  std::string Speed() const override { return "24.9"; }
  std::string SpeedUnit() const override { return "MPH"; }
  std::string Heading() const override { return "78.2"; }
  std::int16_t ElevationUnit() const override { return 0; }
};

// What the pages are told: pop-up menus and cursor changes.
struct PageMessages final : host::ui::UiObserver {
  void UiMessage(const host::ui::Json& message) override { messages.push_back(message); }
  std::vector<host::ui::Json> OfType(const std::string& type) const {
    std::vector<host::ui::Json> found;
    for (const auto& message : messages)
      if (message.value("type", "") == type) found.push_back(message);
    return found;
  }
  std::vector<host::ui::Json> messages;
};

struct TrackingFixture {
  TrackingFixture() {
    desktop.AddObserver(pages);
    window.Show();
    window.chkTrail.SetValue(1);
    window.chkTrkOnMap.SetValue(1);
  }
  ~TrackingFixture() { desktop.RemoveObserver(pages); }

  // A fix as the parser leaves it.
  void SetFix(double latitude, double longitude, std::int16_t fixMode = gps::kFixMode3D,
              double speedKnots = 20, double course = 0) {
    fix.Latitude = latitude;
    fix.Longitude = longitude;
    fix.FixMode = fixMode;
    fix.SpeedKnots = speedKnots;
    fix.Course = course;
  }
  FakeActiveMap& Map() { return application.map; }
  // PINS pins on the map, saved in the trail's cache.
  void Place(int pins) {
    for (int pin = 0; pin < pins; ++pin) trail.SavePPinCache(Map().AddPushpin({1, 1, 0}, {}));
  }
  std::vector<std::string> Log() const { return log; }

  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  PageMessages pages;
  TrackingWindow window{desktop};
  gps::GpsFix fix;
  tracking::TraceOptions options;
  FakeMapApplication application;
  FixedReadings readings;
  std::vector<std::string> log;
  tracking::TrailRecorder trail{
      desktop,
      tracking::TrailControls{window, window.chkAlwaysTop, window.cmdClearTrail,
                              window.cmdTraceOption, window.sclRefreshRate},
      fix,
      options,
      application,
      readings,
      [this](std::string_view text) { log.emplace_back(text); }};
  tracking::MapTracker tracker{
      tracking::MapTrackerControls{
          window, window.chkTrkOnMap, window.sclTrackFactor, window.lblTrackFactor,
          window.sclRefreshRate, window.lblRefreshRate, window.Timer1, window.chkTrail,
          window.cmdCurPPSel, window.mnuPosPPStyle, window.mnuPosPPStyleHeading,
          window.mnuPosPPStyleGPS, window.mnuCompassCalcRouteFromHere},
      fix, application, trail, [this](std::string_view text) { log.emplace_back(text); }};
  tracking::CompassPanel compass{
      tracking::CompassControls{window, window.lblCompass, window.shpD, window.mnuCompass,
                                window.mnuCompassLocate, window.mnuCompassCalcRouteFromHere,
                                window.mnuCompassPushAPin, window.mnuCompassSyncTime},
      fix,
      application,
      tracker,
      trail,
      [this](std::string_view text) { log.emplace_back(text); }};
};

}  // namespace orvo::testing
