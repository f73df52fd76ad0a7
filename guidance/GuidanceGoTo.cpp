// Go-to waypoint mode and the route from here: the engine saves the user's waypoints, guides one
// leg at a time from "Current Position" to the current target, and puts the route back at the
// end.
#include <algorithm>
#include <exception>
#include <optional>

#include "guidance/GuidanceEngine.hpp"

namespace orvo::guidance {

using host::map::RouteError;
using host::map::Waypoint;
using host::map::WaypointType;

namespace {

std::optional<std::size_t> FindCurrentPosition(const std::vector<Waypoint>& waypoints) {
  const auto found = std::find_if(waypoints.begin(), waypoints.end(), [](const Waypoint& w) {
    return w.name == kCurrentPositionWaypoint;
  });
  if (found == waypoints.end()) return std::nullopt;
  return static_cast<std::size_t>(found - waypoints.begin());
}

int Count(const std::vector<Waypoint>& waypoints) {
  return static_cast<int>(waypoints.size());
}

}  // namespace

void GuidanceEngine::CalcRouteFromHere(bool keepView) {
  if (!HasMap()) return;
  try {
    if (goToActive_ && !parts_.route->IsCalculated()) RetryLegOrResync();
    RouteFromHere(keepView);
  } catch (const RouteError& error) {
    if (parts_.showMessage) parts_.showMessage(error.what());
  } catch (const std::exception& error) {
    Report("CalcRouteFromHere", error.what());
  }
}

void GuidanceEngine::RouteFromHere(bool keepView) {
  if (!HasMap()) return;
  if (!goToActive_) {
    StartGoToMode();
    return;
  }
  Busy busy(*this);
  host::map::ActiveRoute& route = *parts_.route;
  const bool skipFlag = parts_.setup.gbGMSkip1stWp;
  std::optional<double> keptZoom;
  if (keepView && parts_.view != nullptr) keptZoom = parts_.view->State().zoom;
  if (const auto current = FindCurrentPosition(route.Waypoints())) route.DeleteWaypoint(*current);
  if (route.Waypoints().empty()) return;

  std::size_t position = route.AddWaypoint(Here(), kCurrentPositionWaypoint);
  const bool fewWaypoints = route.Waypoints().size() < 3;
  route.SetWaypointType(position,
                        fewWaypoints || !skipFlag ? WaypointType::Start : WaypointType::Stop);
  if (!route.IsOptimized()) route.Optimize();
  position = FindCurrentPosition(route.Waypoints()).value_or(position);
  route.SetPreferredDeparture(position, 0.0);
  route.SetSegmentPreference(position, static_cast<host::map::SegmentPreference>(
                                           std::clamp<int>(parts_.setup.giRouteCalc, 0, 2)));
  try {
    route.Calculate();
    legFailed_ = false;
    if (keptZoom) parts_.view->GoTo(Here().latitudeDegrees, Here().longitudeDegrees, *keptZoom);
  } catch (const RouteError&) {
    legFailed_ = true;
    throw;
  }
}

void GuidanceEngine::StartGoToMode() {
  Busy busy(*this);
  host::map::ActiveRoute& route = *parts_.route;
  std::vector<Waypoint> waypoints = route.Waypoints();
  if (waypoints.empty() || goToActive_) return;
  goToActive_ = true;
  bool skip = parts_.setup.gbGMSkip1stWp;
  if (const auto current = FindCurrentPosition(waypoints)) {
    skip = *current != 0;
    route.DeleteWaypoint(*current);
    waypoints = route.Waypoints();
  }
  goToIndex_ = Count(waypoints) >= 2 && skip ? 2 : 1;
  goToWaypoints_ = waypoints;
  if (goToWaypoints_.empty()) {
    goToActive_ = false;
    return;
  }
  if (goToView_ != nullptr) goToView_->GMInit();
  display_->ShowDisplay();
  GoToCurrentWaypoint();
}

void GuidanceEngine::GoToCurrentWaypoint() {
  if (!goToActive_) return;
  Busy busy(*this);
  if (goToIndex_ < 1 || goToIndex_ > Count(goToWaypoints_)) return;
  ResetGuidance(false);
  ClearRouteWaypoints();
  if (goToView_ != nullptr) goToView_->GMUpdate();
  const Waypoint& target = goToWaypoints_[static_cast<std::size_t>(goToIndex_ - 1)];
  parts_.route->AddWaypoint(target.location, target.name);
  RouteFromHere(false);
}

void GuidanceEngine::GoToNextWaypoint() {
  if (!goToActive_) return;
  Busy busy(*this);
  ++goToIndex_;
  if (goToIndex_ <= Count(goToWaypoints_)) {
    GoToCurrentWaypoint();
  } else {
    // The journey is over: the user's route comes back, the arrival stays on screen.
    goToIndex_ = Count(goToWaypoints_);
    GMStop(true);
  }
}

void GuidanceEngine::GMGoWp(int index) {
  if (!goToActive_) return;
  Busy busy(*this);
  if (index > 0 && index <= Count(goToWaypoints_)) {
    goToIndex_ = index;
    try {
      GoToCurrentWaypoint();
    } catch (const RouteError& error) {
      if (parts_.showMessage) parts_.showMessage(error.what());
    }
  }
}

void GuidanceEngine::GMStop(bool hide) {
  try {
    StopGoToMode(hide);
  } catch (const std::exception& error) {
    Report("GMStop", error.what());
  }
}

// The saved waypoints go back with their names and segment choices, so the route the user
// planned is the route they find again.
void GuidanceEngine::StopGoToMode(bool hide) {
  if (!goToActive_) return;
  Busy busy(*this);
  legFailed_ = false;
  try {
    ClearRouteWaypoints();
    host::map::ActiveRoute& route = *parts_.route;
    for (const Waypoint& waypoint : goToWaypoints_) {
      const std::size_t position = route.AddWaypoint(waypoint.location, waypoint.name);
      route.SetSegmentPreference(position, waypoint.preference);
      if (waypoint.preferredDeparture != 0.0)
        route.SetPreferredDeparture(position, waypoint.preferredDeparture);
    }
  } catch (const std::exception& error) {
    Report("StopGoToMode", error.what());
  }
  ClearGoToWaypoints();
  if (goToView_ != nullptr) goToView_->GMStop();
  ResetGuidance(hide);
  goToActive_ = false;
  goToIndex_ = 1;
}

// The user changed or re-calculated the route while guided: it becomes the journey.
void GuidanceEngine::ResyncGoToRoute() {
  if (!goToActive_) return;
  Busy busy(*this);
  host::map::ActiveRoute& route = *parts_.route;
  if (const auto current = FindCurrentPosition(route.Waypoints())) route.DeleteWaypoint(*current);
  std::vector<Waypoint> remaining = route.Waypoints();
  if (remaining.empty()) {
    GMStop(true);
    return;
  }
  goToWaypoints_ = std::move(remaining);
  StopGoToMode(false);
  StartGoToMode();
}

// An uncalculated route is the user's change, unless the engine's own leg failed: then the leg is
// tried again, so that a point off the roads does not become the whole journey.
void GuidanceEngine::RetryLegOrResync() {
  if (legFailed_ && goToActive_)
    GoToCurrentWaypoint();
  else
    ResyncGoToRoute();
}

void GuidanceEngine::ClearRouteWaypoints() {
  parts_.route->Clear();
}

}  // namespace orvo::guidance
