#pragma once
// The status panel: the fix-state lamps, the satellite sky plot and list, and the GPS clock, on
// the main window's tracking and satellite tabs. It refreshes whichever tab is showing; the
// readings on the tracking tab are the ReadingsPanel's.
#include <string>

#include "gps/GpsFix.hpp"
#include "host/platform/Clock.hpp"
#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"
#include "tracking/ReadingsPanel.hpp"

namespace orvo::tracking {

inline constexpr int kTabTracking = 0;
inline constexpr int kTabSatellite = 1;

class StatusPanel {
 public:
  // The sky plot: zenith at (787, 1117) twips, 5 twips per degree of elevation.
  static constexpr double kSkyCentreX = 787;
  static constexpr double kSkyCentreY = 1117;
  static constexpr double kTwipsPerDegree = 5;
  static constexpr double kHeadingLineTwips = 400;

  // `syncTimeMenu` is the compass menu's "&Sync System Time", enabled by the fix state.
  StatusPanel(host::ui::Window& window, const gps::GpsFix& fix, ReadingsPanel& readings,
              host::ui::TabControl& tabs, host::ui::MenuItem& syncTimeMenu,
              host::platform::SystemClock& clock);

  // Fix-state tables, by FixMode 0..3; std::out_of_range outside.
  static const char* StateText(int fixMode);
  static std::string StateColor(int fixMode);
  static int GpsStateSymbolOffset(int fixMode);

  void RefreshVisibleTab();
  void UpdateTrackTab();
  void UpdateSatTab();
  void DrawSkyPlot();
  void UpdateSaInfo();
  void ShowGpsTime(int index);
  void SyncSystemTime();
  // A click on the GPS time or the sync menu item: the platform's refusal is shown as it says it.
  void SyncSystemTimeForUser();

  host::ui::ControlArray<host::ui::Shape> dwGPSState;
  host::ui::ControlArray<host::ui::Label> lblGPSState;
  host::ui::ControlArray<host::ui::Label> lblGPSTime;
  host::ui::Label lblSaCaption;
  host::ui::Label lblSaNumber;
  host::ui::Shape shpSkyHorizon;
  host::ui::Shape shpSkyMiddle;
  host::ui::Line lnSkyNorthSouth;
  host::ui::Line lnSkyEastWest;
  host::ui::ControlArray<host::ui::Label> lblSP;
  host::ui::ControlArray<host::ui::Label> lblSaID;
  host::ui::Line lnSaDir;
  host::ui::TextBox txtSaInfo;

 private:
  host::ui::Window& window_;
  const gps::GpsFix& fix_;
  ReadingsPanel& readings_;
  host::ui::TabControl& tabs_;
  host::ui::MenuItem& syncTimeMenu_;
  host::platform::SystemClock& clock_;
};

}  // namespace orvo::tracking
