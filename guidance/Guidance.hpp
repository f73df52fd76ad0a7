#pragma once
// What the main window asks of the driving assistant, and the switches the guidance engine, the
// go-to window and the keyboard share. Until the assistant exists, NullGuidance keeps the switches
// and does nothing else.
namespace orvo::guidance {

struct GuidanceState {
  // Re-calculate the route when the vehicle leaves it (double R, the go-to window's check box).
  bool offTrackRecalc = false;
  // The engine's instruction list for the current route is built.
  bool guideListBuilt = false;
};

class Guidance {
 public:
  virtual ~Guidance() = default;
  virtual GuidanceState& State() = 0;
  // Each refresh tick while `chkGuidance` is checked.
  virtual void GuidanceTick() {}
  // -1 one instruction back, +1 one forward.
  virtual void GuidanceStep(int /*step*/) {}
  // Ends go-to waypoint mode; `hide` also hides its window.
  virtual void GMStop(bool /*hide*/) {}
  // `chkGuidance` was ticked or cleared.
  virtual void GuidanceSwitchChanged(bool /*ticked*/) {}
  // The compass menu's route item and a single R: a route from the current position.
  virtual void CalcRouteFromHere(bool /*keepView*/) {}
  // The go-to window's check box follows the off-track switch.
  virtual void UpdateAutoRecalc() {}
  // The guidance settings, loaded and saved with the main window's.
  virtual void LoadGuidanceSettings() {}
  virtual void SaveGuidanceSettings() {}
  // The guidance, go-to and option windows that exist are unloaded.
  virtual void UnloadWindows() {}
};

class NullGuidance final : public Guidance {
 public:
  GuidanceState& State() override { return state_; }

 private:
  GuidanceState state_;
};

}  // namespace orvo::guidance
