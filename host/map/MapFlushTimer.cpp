#include "host/map/MapFlushTimer.hpp"

#include <string>

namespace orvo::host::map {

MapFlushTimer::MapFlushTimer(MapHost& host, ui::Scheduler& scheduler, ui::Milliseconds delay)
    : host_(host), scheduler_(scheduler), delay_(delay) {
  host_.onDirty = [this] { Arm(delay_); };
}

MapFlushTimer::~MapFlushTimer() {
  host_.onDirty = nullptr;
  if (timer_) scheduler_.CancelTimer(*timer_);
  try {
    host_.Flush();
  } catch (const MapError&) {  // the document's own destructor tries once more
  }
}

void MapFlushTimer::Arm(ui::Milliseconds delay) {
  if (timer_) return;
  timer_ = scheduler_.StartTimer(delay, [this] { Fire(); });
}

void MapFlushTimer::Fire() {
  timer_.reset();
  try {
    host_.Flush();
  } catch (const MapError& error) {
    if (diagnostics) diagnostics(std::string("MapFlushTimer: ") + error.what());
    Arm(kRetryDelay);
  }
}

}  // namespace orvo::host::map
