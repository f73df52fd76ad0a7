#pragma once
// The connection object the map host creates at start-up: it adds "Orvo&net" to the host's menu
// and opens the main window on demand.
#include <functional>
#include <memory>
#include <string_view>

#include "addin/frmAddIn.hpp"

namespace orvo::addin {

class Connect {
 public:
  // Makes the main window when it is first needed.
  using MainWindowFactory = std::function<std::unique_ptr<frmAddIn>()>;

  using DiagnosticSink = std::function<void(std::string_view)>;

  // The connection events trap their own errors and end quietly; `diagnostics` hears of them.
  Connect(host::ui::Desktop& desktop, settings::SettingsStore& settings,
          MainWindowFactory makeMainWindow, DiagnosticSink diagnostics = {});
  ~Connect();

  void AddinInstance_OnConnection();
  void AddinInstance_OnStartupComplete();
  void ShowCtrl();
  void AddinInstance_OnDisconnection();

  bool DisplayOnConnect() const { return displayOnConnect_; }
  frmAddIn* MainWindow() const { return mainWindow_.get(); }

 private:
  host::ui::Desktop& desktop_;
  settings::SettingsStore& settings_;
  void Trapped(const char* procedure, const std::function<void()>& action) const;

  MainWindowFactory makeMainWindow_;
  DiagnosticSink diagnostics_;
  std::unique_ptr<frmAddIn> mainWindow_;
  bool displayOnConnect_ = false;
};

}  // namespace orvo::addin
