#pragma once
// Writes the active map a short while after its first change, so that all changes of a burst
// (a refresh tick, a trail being cleared pin by pin between events) share one transaction, and
// a crash loses at most that while.
#include <functional>
#include <string_view>

#include "host/map/MapHost.hpp"
#include "host/ui/Scheduler.hpp"

namespace orvo::host::map {

class MapFlushTimer {
 public:
  // Short enough that nothing the user saw is lost, long enough to gather a burst.
  static constexpr ui::Milliseconds kDefaultDelay{50};
  // After a failed write (a full disk) the next attempt waits longer.
  static constexpr ui::Milliseconds kRetryDelay{1000};

  // Takes over HOST's onDirty.
  MapFlushTimer(MapHost& host, ui::Scheduler& scheduler, ui::Milliseconds delay = kDefaultDelay);
  // Writes what is pending.
  ~MapFlushTimer();
  MapFlushTimer(const MapFlushTimer&) = delete;
  MapFlushTimer& operator=(const MapFlushTimer&) = delete;

  // A failed write, for the diagnostic log; the changes stay pending and are tried again.
  std::function<void(std::string_view)> diagnostics;

 private:
  void Arm(ui::Milliseconds delay);
  void Fire();

  MapHost& host_;
  ui::Scheduler& scheduler_;
  ui::Milliseconds delay_;
  std::optional<ui::Scheduler::TimerId> timer_;
};

}  // namespace orvo::host::map
