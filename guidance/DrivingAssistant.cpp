#include "guidance/DrivingAssistant.hpp"

#include "host/map/MapGeometry.hpp"
#include "host/platform/AppFolder.hpp"

namespace orvo::guidance {

DrivingAssistant::DrivingAssistant(DrivingAssistantParts parts) {
  const host::map::MapHost& mapHost = parts.mapHost;
  const auto kilometres = [&mapHost] {
    return mapHost.Unit() == host::map::DistanceUnit::Kilometres;
  };
  // The pictures and DEFAULT.WAV are found where the page is served them from.
  setup_ =
      std::make_unique<MMSetup>(host::platform::AppFolder(), parts.numberLocale, parts.diagnostics);
  guide_ = std::make_unique<frmGuide>(
      parts.desktop, *setup_, parts.store,
      GuideLinks{.speech = parts.speech, .forwardKey = parts.keyUp, .kilometres = kilometres});
  options_ = std::make_unique<frmGuidanceOpt>(parts.desktop, *setup_, parts.store, parts.speech,
                                              kilometres);
  host::map::MapApplication* map = parts.map;
  engine_ = std::make_unique<GuidanceEngine>(GuidanceEngineParts{
      .route = &parts.route,
      .hasMap = [map] { return map != nullptr && map->GetActiveMap() != nullptr; },
      .fix = parts.fix,
      .setup = *setup_,
      .unit = [&mapHost] { return mapHost.Unit(); },
      .distance =
          [&mapHost](const host::map::GeoPoint& from, const host::map::GeoPoint& to) {
            return host::map::Distance(from, to, mapHost.Unit());
          },
      .display = *guide_,
      .diagnostics = parts.diagnostics,
      .showMessage = [&desktop = parts.desktop](const std::string& text) { desktop.MsgBox(text); },
      .store = &parts.store,
      .view = parts.view});
  goTo_ =
      std::make_unique<frmGM>(parts.desktop, parts.store, *engine_, *setup_,
                              GoToOwner{.alwaysOnTop = parts.alwaysOnTop, .keyUp = parts.keyUp});
  engine_->UseGoToView(goTo_.get());
}

DrivingAssistant::~DrivingAssistant() = default;

void DrivingAssistant::UnloadWindows() {
  engine_->UnloadWindows();
  guide_->Unload();
  options_->Unload();
}

}  // namespace orvo::guidance
