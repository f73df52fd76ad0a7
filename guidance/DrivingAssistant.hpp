#pragma once
// The driving assistant in one piece, as the main window owns it: the guidance settings, the
// guidance window with its voice, the go-to window, the options dialog and the engine that drives
// them, built in that order (each needs the ones before).
#include <functional>
#include <memory>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "guidance/GuidanceEngine.hpp"
#include "guidance/MMSetup.hpp"
#include "guidance/frmGM.hpp"
#include "guidance/frmGuidanceOpt.hpp"
#include "guidance/frmGuide.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/map/ActiveRoute.hpp"
#include "host/map/MapHost.hpp"
#include "host/platform/Locale.hpp"
#include "host/speech/Speech.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::guidance {

struct DrivingAssistantParts {
  host::ui::Desktop& desktop;
  settings::SettingsStore& store;
  host::map::ActiveRoute& route;
  const host::map::MapHost& mapHost;
  host::map::MapApplication* map;      // null: no map beside ORVO
  host::map::MapView* view;            // null: no map beside ORVO
  host::speech::SpeechEngine* speech;  // null: silent
  const gps::GpsFix& fix;
  host::platform::NumberLocale numberLocale;
  // The main window's: its top-most state and its key handler, for the windows that pass keys on.
  std::function<bool()> alwaysOnTop;
  std::function<void(int keyCode, int shift)> keyUp;
  std::function<void(std::string_view)> diagnostics;
};

class DrivingAssistant {
 public:
  explicit DrivingAssistant(DrivingAssistantParts parts);
  ~DrivingAssistant();
  DrivingAssistant(const DrivingAssistant&) = delete;
  DrivingAssistant& operator=(const DrivingAssistant&) = delete;

  GuidanceEngine& Engine() { return *engine_; }
  frmGM& GoToWindow() { return *goTo_; }
  frmGuide& GuideWindow() { return *guide_; }
  frmGuidanceOpt& Options() { return *options_; }
  MMSetup& Setup() { return *setup_; }
  // The windows that exist go with the main window.
  void UnloadWindows();

 private:
  std::unique_ptr<MMSetup> setup_;
  std::unique_ptr<frmGuide> guide_;
  std::unique_ptr<frmGuidanceOpt> options_;
  std::unique_ptr<GuidanceEngine> engine_;
  std::unique_ptr<frmGM> goTo_;
};

}  // namespace orvo::guidance
