#include "guidance/GuidanceEngine.hpp"

#include <cmath>
#include <exception>
#include <string>

namespace orvo::guidance {

using host::map::Direction;
using host::map::GeoPoint;
using host::map::Waypoint;

namespace {
constexpr double kNoDistance = 9999999.0;
}

GuidanceEngine::GuidanceEngine(GuidanceEngineParts parts)
    : parts_(std::move(parts)), display_(&parts_.display) {
  lastOffTrack_ = state_.offTrackRecalc = parts_.setup.bgGuideAutoRecalcOn;
  if (parts_.route != nullptr) parts_.route->onAfterCalculate = [this] { RouteAfterCalculate(); };
}

GuidanceEngine::~GuidanceEngine() {
  if (parts_.route != nullptr) parts_.route->onAfterCalculate = nullptr;
}

// The off-track switch lives both in the settings (the options dialog, the go-to window) and in
// the shared state (the R key): whichever changed since the last look wins.
void GuidanceEngine::SyncOffTrackSwitch() {
  if (state_.offTrackRecalc != lastOffTrack_)
    parts_.setup.bgGuideAutoRecalcOn = state_.offTrackRecalc;
  else
    state_.offTrackRecalc = parts_.setup.bgGuideAutoRecalcOn;
  lastOffTrack_ = state_.offTrackRecalc;
}

GuidanceState& GuidanceEngine::State() {
  SyncOffTrackSwitch();
  state_.guideListBuilt = guideListBuilt_;
  return state_;
}

void GuidanceEngine::UpdateAutoRecalc() {
  SyncOffTrackSwitch();
  if (goToView_ != nullptr) goToView_->UpdateAutoRecalc();
}

void GuidanceEngine::LoadGuidanceSettings() {
  if (parts_.store != nullptr) parts_.setup.LoadGuidanceSettings(*parts_.store);
  lastOffTrack_ = state_.offTrackRecalc = parts_.setup.bgGuideAutoRecalcOn;
}

void GuidanceEngine::SaveGuidanceSettings() {
  SyncOffTrackSwitch();
  if (parts_.store == nullptr) return;
  try {
    parts_.setup.SaveGuidanceSettings(*parts_.store);
  } catch (const std::exception& error) {
    Report("SaveGuidanceSettings", error.what());
  }
}

void GuidanceEngine::Report(std::string_view procedure, std::string_view text) const {
  if (parts_.diagnostics) parts_.diagnostics(std::string(procedure) + ": " + std::string(text));
}

bool GuidanceEngine::HasMap() const {
  return parts_.route != nullptr && parts_.hasMap();
}

GeoPoint GuidanceEngine::Here() const {
  return {parts_.fix.Latitude, parts_.fix.Longitude};
}

double GuidanceEngine::DistanceTo(const GeoPoint& to) const {
  return parts_.distance(Here(), to);
}

double GuidanceEngine::UnitFactor() const {
  return parts_.unit() == host::map::DistanceUnit::Kilometres ? kKnotsToKmh : kKnotsToMph;
}

double GuidanceEngine::WarnDistance(double speedKnots) {
  const MMSetup& setup = parts_.setup;
  const bool fast = speedKnots >= setup.dgGuideHiKnot;
  if (setup.bgGuideUsingDist) return fast ? setup.dgGuideHiDist : setup.dgGuideLowDist;
  guideTimeAhead_ = fast ? setup.dgGuideHiHour : setup.dgGuideLoHour;
  return (speedKnots + kSpeedMarginKnots) * UnitFactor() * guideTimeAhead_;
}

// --- The tick ---

void GuidanceEngine::GuidanceTick() {
  // A failing step gives up for this tick; the next one tries again.
  try {
    Tick();
  } catch (const std::exception& error) {
    Report("GuidanceTick", error.what());
  }
}

void GuidanceEngine::Tick() {
  SyncOffTrackSwitch();
  const gps::GpsFix& fix = parts_.fix;
  if (fix.FixMode < 1 || !HasMap()) return;
  host::map::ActiveRoute& route = *parts_.route;
  if (!route.IsCalculated()) {
    if (guideBusy_ < 1) RetryLegOrResync();
    return;
  }
  if (!goToActive_) StartGoToMode();

  GuideDisplay& display = *display_;
  if (guideCurIndex_ > 0) {
    if (display.guideShown) {
      const double approach = DistanceTo(GuideDirection(guideCurIndex_).location);
      const double next = guideNextIndex_ <= GuideDirCount()
                              ? DistanceTo(GuideDirection(guideNextIndex_).location)
                              : 0.0;
      display.UpdateDistance(approach, next);
    }
    if (guideCurIndex_ == GuideDirCount()) {
      if (!display.announceHold) GoToNextWaypoint();
      return;
    }
  }

  if (!route.IsCalculated()) {
    GMStop(!guideListBuilt_);
    return;
  }

  int first = 1;
  int last = 0;
  if (guideListBuilt_) {
    first = std::max(guideCurIndex_ - 1, 1);
    last = std::min(guideNearestAhead_ + kSearchAhead, GuideDirCount());
  } else {
    if (route.Waypoints().size() >= 3)
      display.SetInstruct(nullptr, 0, kMultipleWaypointsWarning, 0, 0);
    guideCurIndex_ = 0;
    guideDirections_.clear();
    ExpandDirs(route.Directions());
    guideListBuilt_ = true;
    last = GuideDirCount();
  }

  double minAll = kNoDistance;
  double minAhead = kNoDistance;
  const Direction* candidate = nullptr;
  for (int position = first; position <= last; ++position) {
    const double d = DistanceTo(GuideDirection(position).location);
    if (d < minAll) minAll = d;
    if (position > guideCurIndex_ && d < minAhead) {
      guideNearestAhead_ = position;
      minAhead = d;
      candidate = &GuideDirection(position);
      guideNextIndex_ = position + 1;
    }
  }

  const double speed = fix.SpeedKnots;
  const double warnDist = WarnDistance(speed);
  const MMSetup& setup = parts_.setup;
  if (minAhead > warnDist) {
    if (setup.bgGuideAutoRecalcOn && fix.FixMode >= 2 &&
        minAll > setup.dgGuideAutoRecalcThreshold) {
      ResetGuidance(true);
      RouteFromHere(false);
    }
    return;
  }
  if (display.announceHold || candidate == nullptr) return;

  const double secsUntil = setup.bgGuideUsingDist
                               ? minAhead * 3600.0 / UnitFactor() / (speed + kSpeedMarginKnots)
                               : guideTimeAhead_ * 3600.0;
  if (guideNextIndex_ <= GuideDirCount()) {
    const Direction& next = GuideDirection(guideNextIndex_);
    const auto secsBetween = static_cast<std::int32_t>(std::floor(next.timeSeconds) -
                                                       std::floor(candidate->timeSeconds));
    display.SetInstruct(candidate, candidate->timeSeconds, candidate->text, secsBetween, secsUntil);
    display.UpdateDistance(DistanceTo(candidate->location),
                           parts_.distance(candidate->location, next.location));
  } else {
    display.SetInstruct(candidate, candidate->timeSeconds, candidate->text, 0, secsUntil);
    display.UpdateDistance(DistanceTo(candidate->location), 0.0);
  }
  guideCurIndex_ = guideNearestAhead_;
}

void GuidanceEngine::ExpandDirs(const std::vector<Direction>& directions) {
  try {
    for (const Direction& direction : directions) {
      Direction flat = direction;
      flat.nested.clear();
      guideDirections_.push_back(std::move(flat));
      if (!direction.nested.empty()) ExpandDirs(direction.nested);
    }
  } catch (const std::exception& error) {
    Report("ExpandDirs", error.what());
  }
}

void GuidanceEngine::ResetGuidance(bool hide) {
  Busy busy(*this);
  guideListBuilt_ = false;
  guideCurIndex_ = 0;
  guideNearestAhead_ = 0;
  guideDirections_.clear();
  if (hide)
    display_->announceHold = false;
  else
    display_->SetInstruct2(nullptr, "");
}

void GuidanceEngine::RouteAfterCalculate() {
  try {
    if (guideBusy_ >= 1 || !goToActive_)
      ResetGuidance(true);
    else
      ResyncGoToRoute();
  } catch (const std::exception& error) {
    Report("moaMap_RouteAfterCalculate", error.what());
  }
}

// --- The switch and the keys ---

void GuidanceEngine::GuidanceSwitchChanged(bool ticked) {
  GMStop(ticked ? !goToActive_ : true);
}

void GuidanceEngine::GuidanceStep(int step) {
  GMGoWp(goToIndex_ + step);
}

}  // namespace orvo::guidance
