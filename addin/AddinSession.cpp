#include "addin/AddinSession.hpp"

#include <iostream>
#include <optional>

#include "addin/Connect.hpp"
#include "addin/frmVerbose.hpp"
#include "gps/frmPlayback.hpp"
#include "host/declination/DecimalYear.hpp"
#include "host/declination/WorldMagneticModel.hpp"
#include "host/platform/Clock.hpp"
#include "host/serial/AsioSerialPort.hpp"

namespace orvo::addin {

namespace {
constexpr int kPortNumbers = 8;
}

struct AddinSession::Parts {
  explicit Parts(HostServices& host)
      : services(host),
        verbose(host.desktop),
        settings(host.configFolder / "ORVO.ini",
                 [this](std::string_view text) { verbose.Log(text, true); }),
        serialPort(host.io, [this](std::string_view text) { verbose.Log(text, true); }),
        connect(host.desktop, settings, [this] { return MakeMainWindow(); }) {
    host.desktop.diagnostics = [this](std::string_view text) { verbose.Log(text, true); };
    if (host.serialDevice)
      for (int port = 1; port <= kPortNumbers; ++port)
        serialPort.SetDevicePathOverride(port, *host.serialDevice);
  }

  std::unique_ptr<frmAddIn> MakeMainWindow() {
    auto window = std::make_unique<frmAddIn>(MainWindowServices{
        services.desktop, settings, verbose, clock, timeZone, serialPort,
        [this](double latitude, double longitude, host::platform::DateValue when) {
          return Declination(latitude, longitude, when);
        }});
    frmAddIn& main = *window;
    playback = std::make_unique<gps::frmPlayback>(services.desktop, main);
    main.openPlayback = [this] { playback->Start(); };
    main.onAlwaysTopChanged = [this] {
      if (playback->IsLoaded()) playback->UpdateShowTopFromParent();
    };
    main.unloadOtherWindows = [this] { playback->Unload(); };
    if (services.mapView != nullptr) {
      main.zoomMap = [this](int direction) {
        if (direction > 0)
          services.mapView->ZoomIn();
        else
          services.mapView->ZoomOut();
      };
    }
    return window;
  }

  // The magnetic model is read on first need and kept; without it no magnetic heading is shown.
  std::optional<double> Declination(double latitude, double longitude,
                                    host::platform::DateValue when) {
    if (!model && !modelFailed) {
      try {
        model = host::declination::WorldMagneticModel::LoadFile(
            host::declination::WorldMagneticModel::DefaultFilePath());
      } catch (const std::exception& error) {
        modelFailed = true;
        verbose.Log(std::string("DisplayHeading: ") + error.what(), true);
      }
    }
    if (!model) return std::nullopt;
    const auto civil = when.ToCivil();
    const auto year = host::declination::DecimalYear(civil.year, civil.month, civil.day, civil.hour,
                                                     civil.minute, civil.second);
    if (!year) return std::nullopt;
    return model->DeclinationDegrees(latitude, longitude, 0.0, *year);
  }

  HostServices& services;
  frmVerbose verbose;
  settings::SettingsStore settings;
  host::platform::LinuxSystemClock clock;
  host::platform::LinuxTimeZoneSource timeZone;
  host::serial::AsioSerialPort serialPort;
  std::optional<host::declination::WorldMagneticModel> model;
  bool modelFailed = false;
  Connect connect;
  // After the main window it refers to, so it goes first.
  std::unique_ptr<gps::frmPlayback> playback;
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
    if (parts.playback && parts.playback->OpenFile(*services.replayFile)) {
      parts.playback->Start();
      parts.playback->cmdPlay.Press();
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

}  // namespace orvo::addin
