#pragma once
// The driving assistant's engine: each refresh tick it finds the next instruction of the route
// ahead of the vehicle, announces it in time through the guidance window, moves leg by leg
// through the user's waypoints (go-to waypoint mode) and re-calculates the leg from the current
// position when the vehicle has left it.
//
// The host's directions are only trusted for a route of two waypoints, so the engine always
// guides one leg at a time: it saves the user's waypoints, routes from "Current Position" to the
// current target, and puts the user's route back when the journey ends or guidance stops.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gps/GpsFix.hpp"
#include "guidance/Guidance.hpp"
#include "guidance/GuideDisplay.hpp"
#include "guidance/MMSetup.hpp"
#include "host/map/ActiveRoute.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/MapView.hpp"

namespace orvo::guidance {

inline constexpr const char* kCurrentPositionWaypoint = "Current Position";
inline constexpr const char* kMultipleWaypointsWarning =
    "Warning: Multiple waypoints detected, Driving Direction will not work properly under "
    "MapPoint 2002";
// Positions searched ahead of the nearest instruction found last time.
inline constexpr int kSearchAhead = 6;
// Added to the speed so that a standing or crawling vehicle is still warned ahead.
inline constexpr double kSpeedMarginKnots = 4.0;
inline constexpr double kKnotsToKmh = 1.852;
inline constexpr double kKnotsToMph = 1.1507794;

// The go-to window as the engine sees it (frmGM implements it).
class GoToView {
 public:
  virtual ~GoToView() = default;
  virtual void GMInit() = 0;
  virtual void GMUpdate() = 0;
  virtual void GMStop() = 0;
  virtual void UpdateAutoRecalc() = 0;
  // The main window closes.
  virtual void UnloadView() {}
};

struct GuidanceEngineParts {
  // The active map's route; null when the main window holds no map.
  host::map::ActiveRoute* route = nullptr;
  // Whether a map document is open now (the route's calls fail without one).
  std::function<bool()> hasMap = [] { return true; };
  const gps::GpsFix& fix;
  MMSetup& setup;
  // The host's distance unit, read at each use.
  std::function<host::map::DistanceUnit()> unit;
  // Distance between two points in the host's unit.
  std::function<double(const host::map::GeoPoint&, const host::map::GeoPoint&)> distance;
  GuideDisplay& display;
  // "ExpandDirs: ..." and the like, for the diagnostic log.
  std::function<void(std::string_view)> diagnostics = {};
  // A route the user asked for that cannot be calculated: its reason, for a message box.
  std::function<void(const std::string&)> showMessage = {};
  // The settings store the guidance settings are loaded from and saved to; may be null.
  settings::SettingsStore* store = nullptr;
  // The map's view, kept over a route calculated from here (its zoom stands for the altitude);
  // may be null.
  host::map::MapView* view = nullptr;
};

// Shows nothing: the engine's display until the guidance window is given.
class SilentGuideDisplay final : public GuideDisplay {
 public:
  void SetInstruct(const host::map::Direction*, double, const std::string&, std::int32_t,
                   double) override {}
  void UpdateDistance(double, double) override {}
  void SpeakDirection() override {}
};

class GuidanceEngine final : public Guidance {
 public:
  explicit GuidanceEngine(GuidanceEngineParts parts);
  ~GuidanceEngine() override;

  void UseGoToView(GoToView* view) { goToView_ = view; }
  // The guidance window, once it exists, in place of the one given at construction.
  void UseDisplay(GuideDisplay& display) { display_ = &display; }

  // --- Guidance ---
  GuidanceState& State() override;
  void GuidanceTick() override;
  // Page Up / Page Down: the previous or next waypoint of the journey.
  void GuidanceStep(int step) override;
  void GMStop(bool hide) override;
  void UpdateAutoRecalc() override;
  void LoadGuidanceSettings() override;
  void SaveGuidanceSettings() override;
  void UnloadWindows() override {
    if (goToView_ != nullptr) goToView_->UnloadView();
  }

  void GuidanceSwitchChanged(bool ticked) override;
  void CalcRouteFromHere(bool keepView) override;
  void RouteFromHere(bool keepView);
  // The host's event after any route calculation.
  void RouteAfterCalculate();

  void ResetGuidance(bool hide);
  void ExpandDirs(const std::vector<host::map::Direction>& directions);
  void StartGoToMode();
  void GoToCurrentWaypoint();
  void GoToNextWaypoint();
  void GMGoWp(int index);
  void StopGoToMode(bool hide);
  void ResyncGoToRoute();
  void ClearRouteWaypoints();
  void ClearGoToWaypoints() { goToWaypoints_.clear(); }
  void BeginBusy() { ++guideBusy_; }
  void EndBusy() {
    if (guideBusy_ > 0) --guideBusy_;
  }

  // What the go-to window and tests read.
  bool GoToActive() const { return goToActive_; }
  int GoToIndex() const { return goToIndex_; }
  const std::vector<host::map::Waypoint>& GoToWaypoints() const { return goToWaypoints_; }
  int GuideCurIndex() const { return guideCurIndex_; }
  int GuideNearestAhead() const { return guideNearestAhead_; }
  int GuideDirCount() const { return static_cast<int>(guideDirections_.size()); }
  bool GuideListBuilt() const { return guideListBuilt_; }
  int GuideBusy() const { return guideBusy_; }
  // 1-based, as the positions above.
  const host::map::Direction& GuideDirection(int position) const {
    return guideDirections_.at(static_cast<std::size_t>(position - 1));
  }
  // The warning distance (host unit) at SPEED knots, choosing the time ahead as the tick does.
  double WarnDistance(double speedKnots);

 private:
  // Holds GuideBusy up for a scope, so that a failing calculation cannot leave it raised.
  class Busy {
   public:
    explicit Busy(GuidanceEngine& engine) : engine_(engine) { engine_.BeginBusy(); }
    ~Busy() { engine_.EndBusy(); }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

   private:
    GuidanceEngine& engine_;
  };
  bool HasMap() const;
  host::map::GeoPoint Here() const;
  double DistanceTo(const host::map::GeoPoint& to) const;
  double UnitFactor() const;
  void Tick();
  void RetryLegOrResync();
  void SyncOffTrackSwitch();
  void Report(std::string_view procedure, std::string_view text) const;

  GuidanceEngineParts parts_;
  GoToView* goToView_ = nullptr;
  GuideDisplay* display_;
  GuidanceState state_;
  bool lastOffTrack_ = false;

  std::vector<host::map::Direction> guideDirections_;  // flat, pre-order, no nested copies
  bool guideListBuilt_ = false;
  int guideCurIndex_ = 0;
  int guideNearestAhead_ = 0;
  int guideNextIndex_ = 0;
  double guideTimeAhead_ = 0.0;
  bool goToActive_ = false;
  std::vector<host::map::Waypoint> goToWaypoints_;
  int goToIndex_ = 1;
  int guideBusy_ = 0;
  // The engine's own leg could not be calculated: the next tick tries the leg again instead of
  // taking the unfinished route for the user's.
  bool legFailed_ = false;
};

}  // namespace orvo::guidance
