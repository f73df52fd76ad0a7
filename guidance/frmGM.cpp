#include "guidance/frmGM.hpp"

#include <algorithm>
#include <exception>

#include "guidance/frmGuide.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::guidance {

namespace {
constexpr const char* kGMSection = "GM";
constexpr const char* kGMStopWarningKey = "GMStopWarning";

// A handler that fails does nothing further for that event.
template <class Action>
void Trapped(Action action) {
  try {
    action();
  } catch (const std::exception&) {
  }
}
}  // namespace

frmGM::frmGM(host::ui::Desktop& desktop, settings::SettingsStore& settings, GuidanceEngine& engine,
             MMSetup& setup, GoToOwner owner)
    : Window(desktop, "frmGM", "Go to waypoint", 250, 260),
      lstWp(*this, "lstWp"),
      scrWpSel(*this, "scrWpSel", host::ui::ScrollBar::Orientation::Vertical),
      chkAutoCalc(*this, "chkAutoCalc"),
      cmdGM(*this, "cmdGM"),
      lblHint(*this, "lblHint"),
      settings_(settings),
      engine_(engine),
      setup_(setup),
      owner_(std::move(owner)) {
  lstWp.Place(120, 120, 2880, 2040);
  scrWpSel.Place(3060, 120, 255, 2040);
  scrWpSel.SetRange(0, 0);
  scrWpSel.SetEnabled(false);
  chkAutoCalc.Place(120, 2280, 2000, 300);
  chkAutoCalc.SetCaption("Off-track re-calc");
  chkAutoCalc.SetToolTipText("Off-track auto re-calculation. Double-click key R to turn on / off ");
  cmdGM.Place(2160, 2250, 1155, 360);
  cmdGM.SetCaption("Stop GM");
  cmdGM.SetEnabled(false);
  lblHint.Place(120, 2700, 3200, 480);
  lblHint.SetCaption("Using shortcut PgUp PgDn to go to the waypoint.");

  scrWpSel.onChange = [this] {
    Trapped([this] {
      if (controlsLive_ && !lstWp.Items().empty() && scrWpSel.Value() > 0)
        engine_.GMGoWp(scrWpSel.Value());
    });
  };
  // The list only shows: a click cannot pick a waypoint by itself.
  lstWp.onClick = [this] {
    Trapped([this] {
      if (scrWpSel.Value() > 0 && lstWp.ListIndex() != scrWpSel.Value() - 1)
        lstWp.SetListIndex(scrWpSel.Value() - 1);
    });
  };
  chkAutoCalc.onClick = [this] {
    if (!controlsLive_) return;
    setup_.bgGuideAutoRecalcOn = chkAutoCalc.Value() == 1;
    engine_.State();  // the shared switch follows the setting
  };
  cmdGM.onClick = [this] { Trapped([this] { StopButton(); }); };
}

frmGM::~frmGM() = default;

void frmGM::GMInit() {
  if (!placed_) {
    placed_ = true;
    const int right = GetDesktop().Viewport().width - kMainWindowBand - kGuideWidth - kFirstStartGap;
    Move(std::max(0, right - Width()), kFirstStartGap);
  }
  initialised_ = true;
  Show();
  const std::vector<host::map::Waypoint>& waypoints = engine_.GoToWaypoints();
  const bool live = controlsLive_;
  controlsLive_ = false;  // filling the controls is not the user's choice
  lstWp.Clear();
  for (const host::map::Waypoint& waypoint : waypoints) lstWp.AddItem(waypoint.name);
  const int count = static_cast<int>(waypoints.size());
  scrWpSel.SetRange(1, std::max(count, 1));
  if (engine_.GoToIndex() >= 1 && engine_.GoToIndex() <= count)
    scrWpSel.SetValue(engine_.GoToIndex());
  scrWpSel.SetEnabled(true);
  if (scrWpSel.Value() >= 1 && scrWpSel.Value() <= count) lstWp.SetListIndex(scrWpSel.Value() - 1);
  controlsLive_ = live;
  UpdateAutoRecalc();
  cmdGM.SetEnabled(true);
  UpdateShowTopFromParent();
}

void frmGM::GMUpdate() {
  if (!initialised_) {
    GMInit();
    return;
  }
  controlsLive_ = false;
  SelectTarget(engine_.GoToIndex());
  controlsLive_ = true;
}

void frmGM::SelectTarget(int value) {
  if (value < scrWpSel.Min() || value > scrWpSel.Max()) return;
  scrWpSel.SetValue(value);
  if (value - 1 < static_cast<int>(lstWp.Items().size())) lstWp.SetListIndex(value - 1);
}

void frmGM::GMStop() {
  const bool live = controlsLive_;
  controlsLive_ = false;
  lstWp.Clear();
  scrWpSel.SetRange(0, 0);
  scrWpSel.SetValue(0);
  scrWpSel.SetEnabled(false);
  cmdGM.SetEnabled(false);
  controlsLive_ = live;
}

// Loads the window (without showing it) when the R key comes before any journey.
void frmGM::UpdateAutoRecalc() {
  if (!IsLoaded()) Load();
  if (!ready_) return;
  controlsLive_ = false;
  chkAutoCalc.SetValue(engine_.State().offTrackRecalc ? 1 : 0);
  controlsLive_ = true;
}

void frmGM::UpdateShowTopFromParent() {
  settings::ApplyAlwaysOnTop(*this, owner_.alwaysOnTop() ? 1 : 0);
}

void frmGM::StopButton() {
  engine_.GMStop(false);
  cmdGM.SetEnabled(false);
  if (settings_.GetSetting(kGMSection, kGMStopWarningKey, "1") != "1") return;
  if (GetDesktop().MsgBox(kGMStopWarningText, host::ui::MsgBoxButtons::OkCancel) ==
      host::ui::MsgBoxResult::Cancel)
    settings_.SaveSetting(kGMSection, kGMStopWarningKey, "0");
}

}  // namespace orvo::guidance
