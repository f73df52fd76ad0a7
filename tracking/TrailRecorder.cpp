#include "tracking/TrailRecorder.hpp"

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include "host/platform/Numeric.hpp"
#include "settings/WindowPlacement.hpp"
#include "tracking/PinSymbols.hpp"
#include "tracking/frmProgress.hpp"
#include "tracking/frmTraceSettings.hpp"

namespace orvo::tracking {
namespace {

constexpr const char* kCrLf = "\r\n";

// Whole seconds since the zero date. Fix times carry at most hundredths of a second, so a
// microsecond of tolerance absorbs the rounding of the day fraction without moving a boundary.
double WholeSeconds(host::platform::DateValue when) {
  return std::floor(when.OleDays() * 86400.0 + 1e-6);
}

// The page shows the wait cursor while a long job runs.
class WaitCursor {
 public:
  explicit WaitCursor(host::ui::Desktop& desktop) : desktop_(desktop) {
    desktop_.Publish(host::ui::Json{{"type", "cursor"}, {"cursor", "wait"}});
  }
  ~WaitCursor() { desktop_.Publish(host::ui::Json{{"type", "cursor"}, {"cursor", "default"}}); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  host::ui::Desktop& desktop_;
};

}  // namespace

std::string GeneralDateText(host::platform::DateValue when) {
  const bool hasDate = when.DatePart().OleDays() != 0;
  const bool hasTime = when.TimePart().OleDays() != 0;
  if (hasDate && hasTime) return when.Format("yyyy-mm-dd hh:nn:ss");
  if (hasDate) return when.Format("yyyy-mm-dd");
  return when.Format("hh:nn:ss");
}

TrailRecorder::TrailRecorder(host::ui::Desktop& desktop, TrailControls controls,
                             const gps::GpsFix& fix, TraceOptions& options,
                             host::map::MapApplication& application, const ReadingsText& readings,
                             std::function<void(std::string_view)> diagnostics)
    : desktop_(desktop),
      controls_(controls),
      fix_(fix),
      options_(options),
      application_(application),
      readings_(readings),
      diagnostics_(std::move(diagnostics)),
      cache_([this](std::string_view text) {
        if (diagnostics_) diagnostics_(text);
      }) {
  controls_.cmdClearTrail.onClick = [this] { cmdClearTrail_Click(); };
  controls_.cmdTraceOption.onClick = [this] { cmdTraceOption_Click(); };
}

void TrailRecorder::cmdTraceOption_Click() {
  EditTraceOptions(desktop_, controls_.mainWindow, controls_.chkAlwaysTop, options_,
                   readings_.ElevationUnit(), controls_.sclRefreshRate.Value());
}

void TrailRecorder::TrailStep(host::map::ActiveMap& map, const host::map::MapLocation& location) {
  if (pendingTrailPin_) {
    const host::map::PushpinRef pin = map.AddPushpin(*pendingTrailPin_, pendingName_);
    pin.SetSymbol(pendingSymbol_);
    pin.SetBalloonState(host::map::kBalloonClosed);
    if (options_.note) pin.SetNote(pendingNote_);
    SavePPinCache(pin);
    pendingTrailPin_.reset();
  }
  if (options_.stopDetection) DetectStop(location);
  if (pendingTrailPin_) return;
  if (!options_.byMoving) return QueueTrailPin(location);
  // Deliberately the plain sum of both differences in minutes of arc: no latitude correction,
  // no great circle. Thresholds users have tuned depend on it.
  const double distance =
      (std::abs(lastPlotLat_ - fix_.Latitude) + std::abs(lastPlotLng_ - fix_.Longitude)) * 60.0;
  if (distance > options_.threasholdKnot) {
    lastPlotLat_ = fix_.Latitude;
    lastPlotLng_ = fix_.Longitude;
    QueueTrailPin(location);
  }
}

void TrailRecorder::DetectStop(const host::map::MapLocation& location) {
  if (fix_.FixMode <= gps::kFixModeNoFix) {
    isSlow_ = false;
    return;
  }
  if (!(fix_.SpeedKnots < options_.stopDetectKnots)) {
    isSlow_ = false;  // the stop speed itself counts as moving
    return;
  }
  if (!isSlow_) {
    slowSince_ = fix_.GpsDateTime;
    isSlow_ = true;
    stopMarked_ = false;
    return;
  }
  if (stopMarked_) return;
  const double seconds = WholeSeconds(fix_.GpsDateTime) - WholeSeconds(slowSince_);
  if (seconds > options_.stopDetectSeconds) {
    QueueTrailPin(location);
    pendingSymbol_ = kStopPinSymbol;
    stopMarked_ = true;
  }
}

void TrailRecorder::QueueTrailPin(const host::map::MapLocation& location) {
  pendingTrailPin_ = location;
  switch (options_.ppName) {
    case 0:
      pendingName_.reset();
      break;
    case 1:
      pendingName_ = GeneralDateText(fix_.GpsDateTime);
      break;
    case 2:
      pendingName_ = "ORVO_" + std::to_string(trailPinCounter_);
      if (trailPinCounter_ == std::numeric_limits<std::int32_t>::max())
        throw std::overflow_error("the trail pin counter overflowed");
      ++trailPinCounter_;
      break;
    default:
      break;  // the previous name stays
  }
  pendingSymbol_ = host::platform::ToInt16(static_cast<double>(GpsStateSymbolOffset(fix_.FixMode)) +
                                           options_.symbolBase);
  pendingNote_ = options_.note ? BuildPinNote() : std::string{};
}

std::string TrailRecorder::BuildPinNote() const {
  const int items = options_.noteOpt;
  const int format = options_.noteFormat;
  if (format != 0 && format != 1) return {};
  const bool regular = format == 0;
  std::string note;
  if (items & 1) note += GeneralDateText(fix_.GpsDateTime) + (regular ? kCrLf : ",");
  if (items & 2) {
    const TextWithUnit latitude = readings_.Latitude();
    const TextWithUnit longitude = readings_.Longitude();
    if (regular) {
      note += "Latitude: " + latitude.text + latitude.unit + kCrLf +
              "Longitude: " + longitude.text + longitude.unit + kCrLf;
    } else {
      note += latitude.text + "," + longitude.text + ",";
    }
  }
  if (items & 4) {
    const TextWithUnit elevation = readings_.Elevation();
    note +=
        regular ? "Elevation: " + elevation.text + elevation.unit + kCrLf : elevation.text + ",";
  }
  if (items & 8)
    note += regular ? "Speed:  " + readings_.Speed() + " " + readings_.SpeedUnit() + kCrLf
                    : readings_.Speed() + ",";
  if (items & 16) note += regular ? "Heading: " + readings_.Heading() : readings_.Heading();
  return note;
}

std::optional<PendingPin> TrailRecorder::Pending() const {
  if (!pendingTrailPin_) return std::nullopt;
  return PendingPin{*pendingTrailPin_, pendingName_, pendingSymbol_, pendingNote_};
}

std::optional<PendingPin> TrailRecorder::TakePendingPin() {
  auto pending = Pending();
  pendingTrailPin_.reset();
  return pending;
}

void TrailRecorder::ClearPushPins() {
  try {
    if (application_.GetActiveMap() == nullptr || cache_.Count() == 0) return;
    WaitCursor wait(desktop_);
    ClearTrail(true);
  } catch (const std::exception& error) {
    Report("ClearPushPins", error.what());
    desktop_.MsgBox(std::string("ClearPushPins: ") + error.what());
  }
}

void TrailRecorder::ClearTrail(bool deleteFromMap) {
  const bool stayOnTop = controls_.chkAlwaysTop.Value() == 1;
  if (stayOnTop) settings::ClearTopMost(controls_.mainWindow);
  const std::int32_t count = cache_.Count();
  std::int32_t step = host::platform::ToInt32(count / 10.0);
  if (step == 0) step = 1;

  // Only deleting takes long enough to need a window; forgetting the cache is instant.
  std::unique_ptr<frmProgress> progress;
  if (deleteFromMap) {
    progress = std::make_unique<frmProgress>(desktop_);
    progress->Show();
    progress->SetTitle("Clear Trail");
    progress_ = progress.get();
  }
  bool finished = true;
  for (std::int32_t index = 0; index < count; ++index) {
    // A tick during the event processing may have re-fitted the array under the loop.
    const auto pin = cache_.Take(index);
    if (deleteFromMap && pin) {
      try {
        pin->Delete();
      } catch (const std::exception&) {
        // Already gone from the map: the slot is simply emptied.
      }
    }
    if (progress && index % step == 0) {
      progress->SetPercent(host::platform::ToInt32(index * 10.0 / step));
      ProcessPendingEvents();
    }
    if (progress && progress->Cancel()) {
      finished = false;
      break;
    }
  }
  if (progress) {
    progress_ = nullptr;
    progress->Unload();
  }
  // After a cancel the cache keeps its size and count; the slots already visited are empty.
  if (finished) cache_.Forget();
  if (controls_.chkAlwaysTop.Value() == 1) settings::SetTopMost(controls_.mainWindow);
}

void TrailRecorder::cmdClearTrail_Click() {
  if (desktop_.MsgBox(kClearTraceQuestion, host::ui::MsgBoxButtons::YesNo, kClearTraceTitle) !=
      host::ui::MsgBoxResult::Yes)
    return;
  ClearPushPins();
  trailPinCounter_ = 0;
}

void TrailRecorder::SettleTrailOnUnload() {
  if (application_.GetActiveMap() == nullptr) return ClearTrail(false);
  if (cache_.Count() < 1) return;
  if (desktop_.MsgBox(kUnloadQuestion, host::ui::MsgBoxButtons::YesNo) ==
      host::ui::MsgBoxResult::Yes)
    ClearPushPins();
  else
    ClearTrail(false);
}

// Lets the event loop run what is already waiting (a Cancel click, a timer tick) and come back:
// a marker posted behind it ends the wait.
void TrailRecorder::ProcessPendingEvents() {
  auto reached = std::make_shared<bool>(false);
  desktop_.GetScheduler().Post([reached] { *reached = true; });
  desktop_.GetScheduler().RunUntil([reached] { return *reached; });
}

void TrailRecorder::Report(std::string_view procedure, std::string_view text) const {
  if (diagnostics_) diagnostics_(std::string(procedure) + ": " + std::string(text));
}

}  // namespace orvo::tracking
