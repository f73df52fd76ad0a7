#pragma once
// The main window's receiver controls: the start/stop button with the port, settings and DTR
// boxes it locks while running, the playback button, and capture to a file. The panel owns these
// controls (the window lays them out) and drives the receiver session with them.
#include <string_view>

#include "gps/ReceiverSession.hpp"
#include "host/ui/Control.hpp"
#include "host/ui/Window.hpp"

namespace orvo::gps {

// What the receiver's controls need of the window around them.
class ReceiverPanelOwner {
 public:
  virtual ~ReceiverPanelOwner() = default;
  virtual void UpdateTrackTab() = 0;
  // The receiver stopped: go-to waypoint mode ends.
  virtual void ReceiverStopped() = 0;
  virtual void LogDiagnostic(std::string_view procedure, std::string_view text) = 0;
};

class ReceiverPanel {
 public:
  // The button's caption is also the receiver's state: Stopped or Running.
  static constexpr const char* kStartGpsCaption = "Start &GPS";
  static constexpr const char* kStopGpsCaption = "Stop &GPS";

  // `refreshTimer` runs while the receiver runs; `tabs` shows its first tab when it starts.
  ReceiverPanel(host::ui::Window& window, ReceiverSession& session, host::ui::Timer& refreshTimer,
                host::ui::TabControl& tabs, ReceiverPanelOwner& owner);

  // What a press of cmdGPSAction does: start or stop the receiver.
  void cmdGPSAction_Click();
  // The serial connection is open; saved as "GPSStart" so that the next load starts it again.
  bool GpsRunning() const { return gpsRunning_; }
  void SetGpsRunning(bool running) { gpsRunning_ = running; }
  // The controls as a freshly loaded window has them: receiver stopped, capture off.
  void ShowStopped();

  host::ui::Button cmdGPSAction;
  host::ui::Button cmdOpenNMEA;
  host::ui::Label lblPortCaption;
  host::ui::ComboBox cboPort;
  host::ui::Label lblBaudCaption;
  host::ui::TextBox txtBaud;
  host::ui::CheckBox chkDTR;
  host::ui::CheckBox chkRecord;
  host::ui::TextBox txtRecOutFileName;
  host::ui::Button cmdBrowseNmea;

 private:
  void StartReceiver();
  void StopReceiver();
  void EnableReceiverSettings(bool enabled);
  void chkRecord_Click();
  void cmdBrowseNmea_Click();

  host::ui::Window& window_;
  ReceiverSession& session_;
  host::ui::Timer& refreshTimer_;
  host::ui::TabControl& tabs_;
  ReceiverPanelOwner& owner_;
  bool gpsRunning_ = false;
};

}  // namespace orvo::gps
