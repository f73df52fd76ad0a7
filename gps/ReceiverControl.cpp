// The main window's side of the receiver: starting and stopping the serial connection, taking
// what it receives, and capturing the raw stream to a file.
#include "addin/frmAddIn.hpp"
#include "gps/Capture.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::addin {

bool frmAddIn::ProcessData(std::string_view text) {
  return intake_.ProcessData(text);
}

void frmAddIn::OnChunkReceived(std::string_view chunk) {
  if (chkRecord.Value() == 1) gps::AppendToFile(txtRecOutFileName.Text(), chunk, true);
}

void frmAddIn::cmdGPSAction_Click() {
  if (cmdGPSAction.Caption() == kStartGpsCaption)
    StartReceiver();
  else
    StopReceiver();
}

// The port's settings and playback can be changed only while the receiver is stopped.
void frmAddIn::EnableReceiverSettings(bool enabled) {
  for (host::ui::Control* control :
       std::initializer_list<host::ui::Control*>{&cboPort, &txtBaud, &chkDTR, &cmdOpenNMEA})
    control->SetEnabled(enabled);
}

// Every step runs; a failure is only looked at once the port was to be open.
void frmAddIn::StartReceiver() {
  auto& port = services_.serialPort;
  std::string failure;
  const auto step = [&failure](const auto& action) {
    try {
      action();
    } catch (const std::exception& error) {
      if (failure.empty()) failure = error.what();
    }
  };
  parser_.ResetGpsFix();
  step([&] { port.SetCommPort(host::platform::ToInt16(cboPort.Text())); });
  step([&] { port.SetSettings(txtBaud.Text()); });
  step([&] { port.SetDTREnable(chkDTR.Value() == 1); });
  step([&] { port.Open(); });

  if (failure.empty()) {
    cmdGPSAction.SetCaption(kStopGpsCaption);
    EnableReceiverSettings(false);
    gpsRunning_ = true;
    Timer1.SetTimerEnabled(true);
    SSTab.SetTab(kTabTracking);
    return;
  }
  // A port opened with an earlier port number or settings must not stay open behind the user.
  if (port.IsOpen()) step([&] { port.Close(); });
  LogDiagnostic("cmdGPSAction_Click", failure);
  gpsRunning_ = false;
  Timer1.SetTimerEnabled(false);
  UpdateTrackTab();
  services_.desktop.MsgBox("Can't open comm port");
}

void frmAddIn::StopReceiver() {
  std::string failure;
  Timer1.SetTimerEnabled(false);
  try {
    services_.serialPort.Close();
  } catch (const std::exception& error) {
    failure = error.what();
  }
  parser_.ResetGpsFix();
  UpdateTrackTab();
  gpsRunning_ = false;
  if (!failure.empty()) {
    LogDiagnostic("cmdGPSAction_Click", failure);
    services_.desktop.MsgBox("Can't close comm port");
    return;
  }
  cmdGPSAction.SetCaption(kStartGpsCaption);
  EnableReceiverSettings(true);
  if (gmStop) gmStop(!guideListBuilt);
}

void frmAddIn::PlaybackPlaying(bool playing) {
  if (playing)
    Timer1.SetTimerEnabled(sclRefreshRate.Value() >= 1);
  else if (!gpsRunning_)
    Timer1.SetTimerEnabled(false);
}

void frmAddIn::comNMEA_OnComm(int eventCode) {
  if (eventCode != host::serial::kEventReceive) return;
  auto& port = services_.serialPort;
  const bool sawSentence = ProcessData(port.ReadInput());
  if (sawSentence || !intake_.NonNmeaTextMentionsAstral()) return;
  // Some receivers announce themselves with "ASTRAL" and wait for the word back before they send
  // NMEA sentences.
  try {
    port.Write("ASTRAL\r\n");
  } catch (const std::exception& error) {
    LogDiagnostic("comNMEA_OnComm", error.what());
  }
}

void frmAddIn::chkRecord_Click() {
  if (chkRecord.Value() == 0) {
    txtRecOutFileName.SetEnabled(true);
    cmdBrowseNmea.SetEnabled(true);
    return;
  }
  const std::string fileName = txtRecOutFileName.Text();
  if (fileName.find_first_not_of(" \t") == std::string::npos) {
    services_.desktop.MsgBox("Please specify a output file name first.");
    chkRecord.SetValue(0);
    return;
  }
  try {
    // Also proves that the file can be written before anything is captured.
    gps::AppendToFile(fileName, "\r\n", false);
  } catch (const std::exception& error) {
    LogDiagnostic("chkRecord_Click", error.what());
    services_.desktop.MsgBox("NMEA Capture: Can't open file to write. ");
    chkRecord.SetValue(0);
    return;
  }
  txtRecOutFileName.SetEnabled(false);
  cmdBrowseNmea.SetEnabled(false);
}

void frmAddIn::cmdBrowseNmea_Click() {
  try {
    host::ui::FileRequest request;
    request.title = "NMEA capture file";
    request.filter = gps::kNmeaFileFilter;
    request.initialPath = txtRecOutFileName.Text();
    request.forSaving = true;
    if (auto chosen = services_.desktop.Dialogs().ChooseFile(request))
      txtRecOutFileName.SetText(*chosen);
  } catch (const std::exception& error) {
    services_.desktop.MsgBox(std::string("cmdBrowseNmea:") + error.what());
  }
}

}  // namespace orvo::addin
