#include "tracking/MapTracker.hpp"

#include <limits>
#include <stdexcept>
#include <string>

#include "tracking/PinSymbols.hpp"
#include "tracking/TrailRecorder.hpp"

namespace orvo::tracking {
namespace {

// Shows a bar's start value: a change handler runs only when the value changes.
void StartAt(host::ui::ScrollBar& bar, int value, void (MapTracker::*change)(), MapTracker& owner) {
  if (bar.Value() == value)
    (owner.*change)();
  else
    bar.SetValue(value);
}

}  // namespace

MapTracker::MapTracker(MapTrackerControls controls, const gps::GpsFix& fix,
                       host::map::MapApplication& application, TrailRecorder& trail,
                       std::function<void(std::string_view)> diagnostics)
    : controls_(controls),
      fix_(fix),
      application_(application),
      trail_(trail),
      diagnostics_(std::move(diagnostics)) {
  controls_.chkTrkOnMap.onClick = [this] { chkTrkOnMap_Click(); };
  controls_.sclTrackFactor.onChange = [this] { sclTrackFactor_Change(); };
  controls_.sclRefreshRate.onChange = [this] { sclRefreshRate_Change(); };
  controls_.cmdCurPPSel.onClick = [this] { cmdCurPPSel_Click(); };
  controls_.mnuPosPPStyleGPS.onClick = [this] { SetPosPPStyle(0); };
  controls_.mnuPosPPStyleHeading.onClick = [this] { SetPosPPStyle(1); };
  controls_.sclTrackFactor.SetRange(0, 65);
  controls_.sclRefreshRate.SetRange(0, 32);
  StartAt(controls_.sclTrackFactor, 1, &MapTracker::sclTrackFactor_Change, *this);
  StartAt(controls_.sclRefreshRate, 1, &MapTracker::sclRefreshRate_Change, *this);
}

void MapTracker::UpdatePositionOnMap() {
  try {
    host::map::ActiveMap* map = application_.GetActiveMap();
    if (map == nullptr) return;
    if (fix_.FixMode == gps::kFixModeNoData) {
      controls_.mnuCompassCalcRouteFromHere.SetEnabled(false);
      RemovePositionPin();
      return;
    }
    const host::map::MapLocation location = map->GetLocation(fix_.Latitude, fix_.Longitude, 0);
    PlacePositionPin(*map, location);
    currentPositionPin_->SetSymbol(
        PositionPinSymbol(posPPStyle_, fix_.FixMode, fix_.SpeedKnots, fix_.Course));
    if (controls_.chkTrail.Value() == 1) trail_.TrailStep(*map, location);
    if (controls_.chkTrkOnMap.Value() == 1) FollowPosition(*map);
  } catch (const std::exception& error) {
    if (diagnostics_) diagnostics_(std::string("UpdatePositionOnMap: ") + error.what());
  }
}

void MapTracker::PlacePositionPin(host::map::ActiveMap& map,
                                  const host::map::MapLocation& location) {
  if (!currentPositionPin_) {
    currentPositionPin_ = map.FindPushpin(kPositionPinName);  // left from an earlier run
    if (currentPositionPin_)
      currentPositionPin_->SetLocation(location);
    else
      currentPositionPin_ = AddPositionPin(map, location);
    // The route item is enabled again by the compass menu when its own rule holds.
    controls_.mnuCompassCalcRouteFromHere.SetEnabled(false);
    return;
  }
  try {
    currentPositionPin_->SetLocation(location);
  } catch (const std::exception&) {
    // The user deleted the pin from the map: put a new one there.
    currentPositionPin_ = AddPositionPin(map, location);
  }
}

host::map::PushpinRef MapTracker::AddPositionPin(host::map::ActiveMap& map,
                                                 const host::map::MapLocation& location) {
  const host::map::PushpinRef pin = map.AddPushpin(location, std::string(kPositionPinName));
  pin.SetBalloonState(host::map::kBalloonClosed);
  return pin;
}

void MapTracker::FollowPosition(host::map::ActiveMap& map) {
  const int factor = controls_.sclTrackFactor.Value();
  if (factor >= 1) {
    if (trackCounter_ == std::numeric_limits<std::int16_t>::max())
      throw std::overflow_error("the track counter overflowed");
    ++trackCounter_;
    if (trackCounter_ >= factor) {
      map.GoTo(currentPositionPin_->Location());
      trackCounter_ = 0;
    }
    return;
  }
  const host::map::MapLocation location = currentPositionPin_->Location();
  const int x = map.LocationToX(location);
  const int y = map.LocationToY(location);
  // In this order; the first test that holds decides.
  if (x < kFollowMarginPixels || x > map.Width() - kFollowMarginPixels || y < kFollowMarginPixels ||
      y > map.Height() - kFollowMarginPixels)
    map.GoTo(location);
}

void MapTracker::RemovePositionPin() {
  if (!currentPositionPin_) return;
  try {
    currentPositionPin_->Delete();
  } catch (const std::exception&) {
    // Already gone: nothing to remove.
  }
  currentPositionPin_.reset();
}

void MapTracker::LocateCurrentPosition() {
  try {
    host::map::ActiveMap* map = application_.GetActiveMap();
    if (map == nullptr) return;
    if (const auto pin = map->FindPushpin(kPositionPinName)) map->GoTo(pin->Location());
  } catch (const std::exception& error) {
    if (diagnostics_) diagnostics_(std::string("LocateCurrentPosition: ") + error.what());
  }
}

void MapTracker::SetPosPPStyle(std::int16_t style) {
  controls_.mnuPosPPStyleGPS.SetChecked(false);
  controls_.mnuPosPPStyleHeading.SetChecked(false);
  posPPStyle_ = style;
  if (style == 0) controls_.mnuPosPPStyleGPS.SetChecked(true);
  if (style == 1) controls_.mnuPosPPStyleHeading.SetChecked(true);
}

void MapTracker::chkTrkOnMap_Click() {
  const bool tracking = controls_.chkTrkOnMap.Value() == 1;
  controls_.sclTrackFactor.SetEnabled(tracking);
  controls_.lblTrackFactor.SetEnabled(tracking);
  if (!tracking) trackCounter_ = 0;
}

void MapTracker::sclTrackFactor_Change() {
  const int value = controls_.sclTrackFactor.Value();
  controls_.lblTrackFactor.SetCaption(value >= 1 ? std::to_string(value) + " refreshes." : "Auto");
}

void MapTracker::sclRefreshRate_Change() {
  const int value = controls_.sclRefreshRate.Value();
  // A 16-bit product, as the old timer interval was: the bar stops at 32 s so it cannot overflow.
  const int intervalMs = value * 1000;
  if (intervalMs > std::numeric_limits<std::int16_t>::max())
    throw std::overflow_error("refresh interval " + std::to_string(intervalMs) + " ms");
  controls_.Timer1.SetInterval(intervalMs);
  controls_.lblRefreshRate.SetCaption(value >= 1 ? std::to_string(value) + " sec" : "GPS Auto");
  controls_.Timer1.SetTimerEnabled(value >= 1);
}

void MapTracker::cmdCurPPSel_Click() {
  const auto& button = controls_.cmdCurPPSel;
  controls_.mainWindow.PopupMenu(controls_.mnuPosPPStyle, button.Left(),
                                 button.Top() + button.Height());
}

}  // namespace orvo::tracking
