#include "addin/Connect.hpp"

namespace orvo::addin {

Connect::Connect(host::ui::Desktop& desktop, settings::SettingsStore& settings,
                 MainWindowFactory makeMainWindow)
    : desktop_(desktop), settings_(settings), makeMainWindow_(std::move(makeMainWindow)) {}

Connect::~Connect() = default;

void Connect::AddinInstance_OnConnection() {
  try {
    desktop_.AddMenuCommand("ShowCtrl", "Orvo&net", [this] { ShowCtrl(); });
    displayOnConnect_ = settings_.GetSetting("Settings", "DisplayOnConnect", "0") == "1";
  } catch (const std::exception&) {
    // Connection events end quietly; the host goes on without the command.
  }
}

void Connect::AddinInstance_OnStartupComplete() {
  if (displayOnConnect_) ShowCtrl();
}

void Connect::ShowCtrl() {
  try {
    if (!mainWindow_) mainWindow_ = makeMainWindow_();
    mainWindow_->Show();
    displayOnConnect_ = true;
  } catch (const std::exception&) {
    // As with every connection event: trapped, and the event ends quietly.
  }
}

void Connect::AddinInstance_OnDisconnection() {
  try {
    settings_.SaveSetting("Settings", "DisplayOnConnect", displayOnConnect_ ? "1" : "0");
  } catch (const std::exception&) {
  }
  if (mainWindow_) mainWindow_->Unload();
}

}  // namespace orvo::addin
