// The main window's load and unload, the refresh tick, and the About box.
#include "addin/Version.hpp"
#include "addin/frmAbout.hpp"
#include "addin/frmAddIn.hpp"
#include "addin/frmShortKeyFlash.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::addin {

void frmAddIn::OnLoad() {
  numberLocale_ = services_.numberLocale();
  LoadSettings();
  intake_.SetLenDetectRepeat(lenDetectRepeat_);
  Timer1.SetTimerEnabled(false);
  RefreshVisibleTab();
  if (gpsRunning_) cmdGPSAction.Press();
  lblVersionNo.SetCaption("Version " + VersionText());
  // Where a first start puts the window: beside the map at the page's right edge.
  const auto viewport = services_.desktop.Viewport();
  Move(std::max(0, viewport.width - Width() - 12), 44);
  settings::LoadFormLoc(*this, services_.settings);
}

void frmAddIn::OnUnload() {
  if (gmStop) gmStop(true);
  settings::SaveFormLoc(*this, services_.settings);
  try {
    services_.serialPort.Close();
  } catch (const std::exception& error) {
    LogDiagnostic("Form_Unload", error.what());
  }
  Timer1.SetTimerEnabled(false);
  if (clearTrailOnUnload) clearTrailOnUnload();
  SaveSettings();
  if (flash_) flash_->Unload();
  if (unloadOtherWindows) unloadOtherWindows();
}

void frmAddIn::RefreshTick() {
  ComputeDisplayHeading();
  RefreshVisibleTab();
  if (updatePositionOnMap) updatePositionOnMap();
  if (chkGuidance.Value() == 1 && guidanceTick) guidanceTick();
}

void frmAddIn::RefreshVisibleTab() {
  switch (SSTab.Tab()) {
    case kTabTracking:
      return UpdateTrackTab();
    case kTabSatellite:
      return UpdateSatTab();
    default:
      return;
  }
}

void frmAddIn::ShowAbout() {
  settings::ClearTopMost(*this);
  frmAbout about(services_.desktop);
  about.ShowModal();
  if (chkAlwaysTop.Value() == 1) settings::SetTopMost(*this);
}

}  // namespace orvo::addin
