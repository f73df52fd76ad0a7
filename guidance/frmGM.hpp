#pragma once
// The go-to window: the waypoints of the journey, the current target, a scroll bar to pick
// another, the off-track re-calculation switch and the button that stops go-to mode. The mode
// itself is the engine's; this window shows it and passes the user's choices back.
#include <functional>

#include "guidance/GuidanceEngine.hpp"
#include "host/ui/Control.hpp"
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::guidance {

inline constexpr const char* kGMStopWarningText =
    "GM will re-activate when you calculate a new route (in the route planner or press ORVO "
    "[R]oute from here). Press CANCEL to disable this message in the future.";

// What the window needs of the main window that owns it.
struct GoToOwner {
  std::function<bool()> alwaysOnTop = [] { return false; };
  // Keys pressed here act as in the main window.
  std::function<void(int keyCode, int shift)> keyUp = [](int, int) {};
};

class frmGM final : public host::ui::Window, public GoToView {
 public:
  frmGM(host::ui::Desktop& desktop, settings::SettingsStore& settings, GuidanceEngine& engine,
        MMSetup& setup, GoToOwner owner);
  ~frmGM() override;

  void GMInit() override;
  void GMUpdate() override;
  void GMStop() override;
  void UpdateAutoRecalc() override;
  void UnloadView() override { Unload(); }
  void UpdateShowTopFromParent();

  host::ui::ListBox lstWp;
  host::ui::ScrollBar scrWpSel;
  host::ui::CheckBox chkAutoCalc;
  host::ui::Button cmdGM;
  host::ui::Label lblHint;

  bool Ready() const { return ready_; }
  bool ControlsLive() const { return controlsLive_; }

 protected:
  void OnLoad() override { ready_ = true; }
  void OnKeyUp(int keyCode, int shift) override { owner_.keyUp(keyCode, shift); }

 private:
  void SelectTarget(int value);
  void StopButton();

  settings::SettingsStore& settings_;
  GuidanceEngine& engine_;
  MMSetup& setup_;
  GoToOwner owner_;
  bool ready_ = false;
  bool controlsLive_ = false;
  bool placed_ = false;       // the first showing has placed it
  bool initialised_ = false;  // GMInit has run: the window knows its main window
};

}  // namespace orvo::guidance
