#pragma once
// The trail: one small pushpin per refresh, or only after the vehicle has moved far enough, a
// stop sign where it stood still, names and notes as the options say, and the pin cache that
// caps the trail and lets the user wipe it.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "gps/GpsFix.hpp"
#include "host/map/ActiveMap.hpp"
#include "host/platform/DateValue.hpp"
#include "host/ui/Control.hpp"
#include "host/ui/Desktop.hpp"
#include "tracking/PinCache.hpp"
#include "tracking/ReadingsText.hpp"
#include "tracking/TraceOptions.hpp"

namespace orvo::tracking {

// The main window's controls the trail works with.
struct TrailControls {
  host::ui::Window& mainWindow;
  host::ui::CheckBox& chkAlwaysTop;
  host::ui::Button& cmdClearTrail;
  host::ui::Button& cmdTraceOption;
  const host::ui::ScrollBar& sclRefreshRate;  // the shortest stop time offered is one more
};

// The next pin, fixed when it is queued and placed on the next tick.
struct PendingPin {
  host::map::MapLocation location;
  std::optional<std::string> name;  // none: the host's default name
  std::int16_t symbol = 0;
  std::string note;
};

// GPS date-time as pin names and notes show it: "2026-06-14 09:31:57"; the date alone at
// midnight and the time alone on the zero date, as the general date form does.
std::string GeneralDateText(host::platform::DateValue when);

class TrailRecorder {
 public:
  static constexpr const char* kClearTraceQuestion =
      "It is very time consuming, do you want to continue?";
  static constexpr const char* kClearTraceTitle = "Clear trace";
  static constexpr const char* kUnloadQuestion =
      "Do you want to clear the trace (very time consuming)?";

  // Wires cmdClearTrail and cmdTraceOption. `options` are the main window's, read at every use.
  TrailRecorder(host::ui::Desktop& desktop, TrailControls controls, const gps::GpsFix& fix,
                TraceOptions& options, host::map::MapApplication& application,
                const ReadingsText& readings,
                std::function<void(std::string_view)> diagnostics = {});

  // The trail step of each tick while chkTrail is checked, with the location of the current fix.
  // Host errors propagate: the tick ends and the next one tries again.
  void TrailStep(host::map::ActiveMap& map, const host::map::MapLocation& location);
  // Makes `location` the pending pin and fixes its name, symbol and note from the current fix.
  void QueueTrailPin(const host::map::MapLocation& location);
  std::string BuildPinNote() const;
  void SavePPinCache(const host::map::PushpinRef& pin) { cache_.Save(pin, options_.ppCacheLimit); }

  // Deletes every cached pin with a progress window, if there is a map and any pin.
  void ClearPushPins();
  // Empties the cache, deleting the pins from the map when `deleteFromMap` is set (with a
  // progress window whose Cancel stops it).
  void ClearTrail(bool deleteFromMap);
  // The "Clear Trail" button: asks first; Yes also restarts the counter naming.
  void cmdClearTrail_Click();
  // "Plot Options...": edits the options in the trace settings dialog.
  void cmdTraceOption_Click();
  // The main window's unload: without a map the cache is forgotten; with cached pins the user
  // chooses between deleting them (Yes) and leaving them on the map (No).
  void SettleTrailOnUnload();

  // Hands the pending pin over (push-a-pin places it itself) and clears it.
  std::optional<PendingPin> TakePendingPin();
  std::optional<PendingPin> Pending() const;

  bool NotesOn() const { return options_.note; }
  const PinCache& Cache() const { return cache_; }
  std::int32_t TrailPinCounter() const { return trailPinCounter_; }
  bool IsSlow() const { return isSlow_; }
  bool StopMarked() const { return stopMarked_; }
  // The progress window of a running clear, for whoever wants to press its Cancel.
  class frmProgress* Progress() const {
    return progress_;
  }

 private:
  void DetectStop(const host::map::MapLocation& location);
  void ProcessPendingEvents();
  void Report(std::string_view procedure, std::string_view text) const;

  host::ui::Desktop& desktop_;
  TrailControls controls_;
  const gps::GpsFix& fix_;
  TraceOptions& options_;
  host::map::MapApplication& application_;
  const ReadingsText& readings_;
  std::function<void(std::string_view)> diagnostics_;

  // The pending pin; its name, symbol and note outlive it (a PPName outside 0..2 keeps the name).
  std::optional<host::map::MapLocation> pendingTrailPin_;
  std::optional<std::string> pendingName_;
  std::int16_t pendingSymbol_ = 0;
  std::string pendingNote_;
  std::int32_t trailPinCounter_ = 0;
  double lastPlotLat_ = 0;
  double lastPlotLng_ = 0;
  bool isSlow_ = false;
  host::platform::DateValue slowSince_;
  bool stopMarked_ = false;
  PinCache cache_;
  class frmProgress* progress_ = nullptr;
};

}  // namespace orvo::tracking
