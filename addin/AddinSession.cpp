#include "addin/AddinSession.hpp"

#include <optional>

#include "addin/Connect.hpp"
#include "addin/frmVerbose.hpp"
#include "gps/frmPlayback.hpp"

namespace orvo::addin {

struct AddinSession::Parts {
  explicit Parts(HostServices& host)
      : services(host),
        verbose(host.desktop),
        settings(host.configFolder / "ORVO.ini", [this](std::string_view text) { Log(text); }),
        connect(
            host.desktop, settings, [this] { return MakeMainWindow(); },
            [this](std::string_view text) { Log(text); }) {
    host.desktop.diagnostics = [this](std::string_view text) { Log(text); };
  }

  void Log(std::string_view text) { verbose.Log(text, true); }

  std::unique_ptr<frmAddIn> MakeMainWindow() {
    return std::make_unique<frmAddIn>(MainWindowServices{.desktop = services.desktop,
                                                         .settings = settings,
                                                         .verbose = verbose,
                                                         .clock = services.clock,
                                                         .timeZone = services.timeZone,
                                                         .serialPort = services.serialPort,
                                                         .declination = services.declination,
                                                         .map = services.map,
                                                         .mapView = services.mapView,
                                                         .route = services.route,
                                                         .mapHost = services.mapHost,
                                                         .speech = services.speech});
  }

  HostServices& services;
  frmVerbose verbose;
  settings::SettingsStore settings;
  Connect connect;
  bool connected = false;
};

AddinSession::AddinSession(HostServices& services) : parts_(std::make_unique<Parts>(services)) {
  Parts& parts = *parts_;
  parts.connect.AddinInstance_OnConnection();
  services.desktop.AddMenuCommand("ShowLog", "Diagnostic &Log", [&parts] { parts.verbose.Show(); });
  parts.connected = true;
  parts.connect.AddinInstance_OnStartupComplete();
  if (services.replayFile) {
    parts.connect.ShowCtrl();
    frmAddIn* main = parts.connect.MainWindow();
    if (main != nullptr && main->Playback().OpenFile(*services.replayFile)) {
      main->Playback().Start();
      main->Playback().cmdPlay.Press();
    }
  }
}

AddinSession::~AddinSession() {
  Shutdown();
}

void AddinSession::Shutdown() {
  if (!parts_ || !parts_->connected) return;
  parts_->connected = false;
  parts_->connect.AddinInstance_OnDisconnection();
}

void AddinSession::Log(std::string_view text) {
  parts_->Log(text);
}

}  // namespace orvo::addin
