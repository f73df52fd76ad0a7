// The main window's load and unload, the refresh tick, and the About box.
#include "addin/Version.hpp"
#include "addin/frmAbout.hpp"
#include "addin/frmAddIn.hpp"
#include "addin/frmShortKeyFlash.hpp"

namespace orvo::addin {

// The host may show the same window object again after the user closed it: every load starts
// from the controls as a fresh window has them, and runs all its steps again.
void frmAddIn::OnLoad() {
  receiver.ShowStopped();
  tmrDoubleClick.SetTimerEnabled(false);
  SSTab.SetTab(kTabTracking);

  numberLocale_ = services_.numberLocale();
  readings.SetNumberLocale(numberLocale_);
  LoadSettings();
  session_.ResetGpsFix();
  Timer1.SetTimerEnabled(false);
  RefreshVisibleTab();
  if (receiver.GpsRunning()) receiver.cmdGPSAction.Press();
  lblVersionNo.SetCaption("Version " + VersionText());
  placement_.LoadFormLoc();
}

void frmAddIn::OnUnload() {
  const auto step = [this](const char* procedure, const auto& action) {
    try {
      action();
    } catch (const std::exception& error) {
      LogDiagnostic(procedure, error.what());
    }
  };
  step("GMStop", [this] { guidance_->GMStop(true); });
  placement_.SaveFormLoc();
  session_.ClosePort();
  Timer1.SetTimerEnabled(false);
  step("ClearTrail", [this] { mapTracking_->ClearTrailOnUnload(); });
  SaveSettings();
  if (flash_) flash_->Unload();
  playback_->Unload();
  step("Form_Unload", [this] {
    if (assistant_)
      assistant_->UnloadWindows();
    else
      guidance_->UnloadWindows();
  });
}

template <class Step>
void frmAddIn::TickStep(const char* procedure, Step step) {
  try {
    step();
  } catch (const std::exception& error) {
    LogDiagnostic(procedure, error.what());
  }
}

void frmAddIn::RefreshTick() {
  TickStep("DisplayHeading", [this] { readings.ComputeDisplayHeading(); });
  TickStep("RefreshVisibleTab", [this] { status.RefreshVisibleTab(); });
  TickStep("UpdatePositionOnMap", [this] { mapTracking_->UpdatePositionOnMap(); });
  if (chkGuidance.Value() == 1) TickStep("GuidanceTick", [this] { guidance_->GuidanceTick(); });
}

void frmAddIn::ShowAbout() {
  settings::ClearTopMost(*this);
  frmAbout about(services_.desktop);
  about.ShowModal();
  settings::ApplyAlwaysOnTop(*this, chkAlwaysTop.Value());
}

}  // namespace orvo::addin
