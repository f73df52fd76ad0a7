#include "gps/ReceiverPanel.hpp"

#include "gps/Capture.hpp"
#include "host/platform/Text.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::gps {

ReceiverPanel::ReceiverPanel(host::ui::Window& window, ReceiverSession& session,
                             host::ui::Timer& refreshTimer, host::ui::TabControl& tabs,
                             ReceiverPanelOwner& owner)
    : cmdGPSAction(window, "cmdGPSAction"),
      cmdOpenNMEA(window, "cmdOpenNMEA"),
      lblPortCaption(window, "lblPortCaption"),
      cboPort(window, "cboPort"),
      lblBaudCaption(window, "lblBaudCaption"),
      txtBaud(window, "txtBaud"),
      chkDTR(window, "chkDTR"),
      chkRecord(window, "chkRecord"),
      txtRecOutFileName(window, "txtRecOutFileName"),
      cmdBrowseNmea(window, "cmdBrowseNmea"),
      window_(window),
      session_(session),
      refreshTimer_(refreshTimer),
      tabs_(tabs),
      owner_(owner) {
  cmdGPSAction.SetCaption(kStartGpsCaption);
  for (int port = 1; port <= kPortCount; ++port) cboPort.AddItem(std::to_string(port));
  txtBaud.SetText("4800,n,8,1");
  cmdGPSAction.onClick = [this] { cmdGPSAction_Click(); };
  chkRecord.onClick = [this] { chkRecord_Click(); };
  cmdBrowseNmea.onClick = [this] { cmdBrowseNmea_Click(); };
}

void ReceiverPanel::cmdGPSAction_Click() {
  if (cmdGPSAction.Caption() == kStartGpsCaption)
    StartReceiver();
  else
    StopReceiver();
}

void ReceiverPanel::ShowStopped() {
  cmdGPSAction.SetCaption(kStartGpsCaption);
  EnableReceiverSettings(true);
  chkRecord.SetValue(0);
}

// The port's settings and playback can be changed only while the receiver is stopped.
void ReceiverPanel::EnableReceiverSettings(bool enabled) {
  for (host::ui::Control* control :
       std::initializer_list<host::ui::Control*>{&cboPort, &txtBaud, &chkDTR, &cmdOpenNMEA})
    control->SetEnabled(enabled);
}

void ReceiverPanel::StartReceiver() {
  const auto failure =
      session_.Start(ReceiverSettings{cboPort.Text(), txtBaud.Text(), chkDTR.Value() == 1});
  if (!failure) {
    cmdGPSAction.SetCaption(kStopGpsCaption);
    EnableReceiverSettings(false);
    gpsRunning_ = true;
    refreshTimer_.SetTimerEnabled(true);
    tabs_.SetTab(0);
    return;
  }
  owner_.LogDiagnostic("cmdGPSAction_Click", *failure);
  gpsRunning_ = false;
  refreshTimer_.SetTimerEnabled(false);
  owner_.UpdateTrackTab();
  window_.GetDesktop().MsgBox("Can't open comm port");
}

void ReceiverPanel::StopReceiver() {
  refreshTimer_.SetTimerEnabled(false);
  const auto failure = session_.Stop();
  owner_.UpdateTrackTab();
  gpsRunning_ = false;
  if (failure) {
    owner_.LogDiagnostic("cmdGPSAction_Click", *failure);
    window_.GetDesktop().MsgBox("Can't close comm port");
    return;
  }
  cmdGPSAction.SetCaption(kStartGpsCaption);
  EnableReceiverSettings(true);
  owner_.ReceiverStopped();
}

void ReceiverPanel::chkRecord_Click() {
  if (chkRecord.Value() == 0) {
    session_.StopCapture();
    txtRecOutFileName.SetEnabled(true);
    cmdBrowseNmea.SetEnabled(true);
    return;
  }
  const std::string fileName = txtRecOutFileName.Text();
  if (host::platform::Trim(fileName).empty()) {
    window_.GetDesktop().MsgBox("Please specify a output file name first.");
    chkRecord.SetValue(0);
    return;
  }
  try {
    session_.StartCapture(fileName);
  } catch (const std::exception& error) {
    owner_.LogDiagnostic("chkRecord_Click", error.what());
    window_.GetDesktop().MsgBox("NMEA Capture: Can't open file to write. ");
    chkRecord.SetValue(0);
    return;
  }
  txtRecOutFileName.SetEnabled(false);
  cmdBrowseNmea.SetEnabled(false);
}

void ReceiverPanel::cmdBrowseNmea_Click() {
  try {
    host::ui::FileRequest request;
    request.title = "NMEA capture file";
    request.filter = kNmeaFileFilter;
    request.initialPath = txtRecOutFileName.Text();
    request.forSaving = true;
    if (auto chosen = window_.GetDesktop().Dialogs().ChooseFile(request))
      txtRecOutFileName.SetText(*chosen);
  } catch (const std::exception& error) {
    window_.GetDesktop().MsgBox(std::string("cmdBrowseNmea:") + error.what());
  }
}

}  // namespace orvo::gps
