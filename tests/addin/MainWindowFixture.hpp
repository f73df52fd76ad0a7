#pragma once
// The main window on test doubles of the platform: a stepped clock, scripted message boxes, a
// serial port that does what the test says, and a real settings file in a temporary folder.
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "addin/frmAddIn.hpp"
#include "addin/frmVerbose.hpp"
#include "host/map/MapView.hpp"
#include "host/platform/Clock.hpp"
#include "host/serial/SerialPort.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/SettingsStore.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::testing {

class FakeSerialPort final : public host::serial::SerialPort {
 public:
  void SetCommPort(int portNumber) override {
    if (portNumber < 1) throw host::serial::SerialError("port number below 1");
    commPort = portNumber;
  }
  int CommPort() const override { return commPort; }
  void SetDevicePathOverride(int, std::filesystem::path) override {}
  void SetSettings(std::string text) override { settings = std::move(text); }
  const std::string& Settings() const override { return settings; }
  void SetDTREnable(bool enabled) override { dtr = enabled; }
  bool DTREnable() const override { return dtr; }
  void Open() override { open = true; }
  void Close() override {
    if (failClose) throw host::serial::SerialError("device busy");
    open = false;
  }
  bool IsOpen() const override { return open; }
  std::string ReadInput() override { return {}; }
  void Write(std::string_view) override {}
  int CommEvent() const override { return host::serial::kEventReceive; }
  void SetOnComm(CommEventHandler) override {}

  int commPort = 1;
  std::string settings = "4800,n,8,1";
  bool dtr = false;
  bool open = false;
  bool failClose = false;
};

// A declination the test chooses; nothing stands for "the model has no value here".
class FixedDeclination final : public tracking::DeclinationLookup {
 public:
  Result Declination(double, double, host::platform::DateValue) override { return {degrees, {}}; }
  std::optional<double> degrees = 10.0;
};

// Counts what the main window asks of the map and the map step.
struct CountingMapFeatures final : tracking::MapActions, tracking::MapTracking {
  void LocateCurrentPosition() override { ++locates; }
  void PushPinHere() override { ++pins; }
  void CalcRouteFromHere() override { ++routes; }
  void ZoomMap(int) override {}
  void UpdatePositionOnMap() override {
    ++ticks;
    if (failTick) throw std::runtime_error("map step failed");
  }
  int locates = 0, pins = 0, routes = 0, ticks = 0;
  bool failTick = false;
};

struct MainWindowFixture {
  MainWindowFixture() { Make(); }

  // The fixture's parts as the main window's services; a test adds what it needs more.
  addin::MainWindowServices Services() {
    addin::MainWindowServices services{desktop, store, verbose, clock, timeZone, port, declination};
    services.mapView = &view;
    return services;
  }

  void Make() {
    window.reset();
    window = std::make_unique<addin::frmAddIn>(Services());
    window->UseMapActions(map);
    window->UseMapTracking(map);
  }

  TempFolder folder;
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  addin::frmVerbose verbose{desktop, folder.Path() / "ORVO.log"};
  host::platform::FixedClock clock{host::platform::DateValue::FromCivil({2026, 11, 21, 9, 30, 0})};
  host::platform::FixedTimeZone timeZone{0, false};
  FakeSerialPort port;
  FixedDeclination declination;
  host::map::MapView view{desktop};
  CountingMapFeatures map;
  std::unique_ptr<addin::frmAddIn> window;
};

}  // namespace orvo::testing
