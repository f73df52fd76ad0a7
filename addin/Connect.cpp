#include "addin/Connect.hpp"

namespace orvo::addin {

Connect::Connect(host::ui::Desktop& desktop, settings::SettingsStore& settings,
                 MainWindowFactory makeMainWindow, DiagnosticSink diagnostics)
    : desktop_(desktop),
      settings_(settings),
      makeMainWindow_(std::move(makeMainWindow)),
      diagnostics_(std::move(diagnostics)) {}

Connect::~Connect() = default;

// Every connection event ends quietly on an error: the host goes on without what failed.
void Connect::Trapped(const char* procedure, const std::function<void()>& action) const {
  try {
    action();
  } catch (const std::exception& error) {
    if (diagnostics_) diagnostics_(std::string(procedure) + ": " + error.what());
  }
}

void Connect::AddinInstance_OnConnection() {
  Trapped("AddinInstance_OnConnection", [this] {
    desktop_.AddMenuCommand("ShowCtrl", "Orvo&net", [this] { ShowCtrl(); });
    displayOnConnect_ = settings_.GetSetting("Settings", "DisplayOnConnect", "0") == "1";
  });
}

void Connect::AddinInstance_OnStartupComplete() {
  Trapped("AddinInstance_OnStartupComplete", [this] {
    if (displayOnConnect_) ShowCtrl();
  });
}

void Connect::ShowCtrl() {
  Trapped("ShowCtrl", [this] {
    if (!mainWindow_) mainWindow_ = makeMainWindow_();
    mainWindow_->Show();
    displayOnConnect_ = true;
  });
}

void Connect::AddinInstance_OnDisconnection() {
  // Apart, so that a store that cannot be written still lets the window unload.
  Trapped("AddinInstance_OnDisconnection", [this] {
    settings_.SaveSetting("Settings", "DisplayOnConnect", displayOnConnect_ ? "1" : "0");
  });
  Trapped("AddinInstance_OnDisconnection", [this] {
    if (mainWindow_) mainWindow_->Unload();
  });
}

}  // namespace orvo::addin
