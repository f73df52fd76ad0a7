#pragma once
// The trail's pin cache: every trail pin placed on the map, in an array that grows in steps of
// 500 while unlimited and turns into a ring when a limit is set. When the ring is full the
// oldest pin is deleted at once, so a limit of L keeps L - 1 pins on the map; that off-by-one is
// how the trail has always behaved and users' limits are set by it.
//
// The array is addressed by its upper bound like the old one: an empty cache has upper bound 0
// (one slot). Every operation but a lowered limit is O(1) amortised, whatever the count: a day's
// trail is a hundred thousand pins and the refresh tick must not slow down as it grows.
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "host/map/ActiveMap.hpp"

namespace orvo::tracking {

class PinCache {
 public:
  static constexpr std::int32_t kGrowthStep = 500;

  explicit PinCache(std::function<void(std::string_view)> diagnostics = {})
      : diagnostics_(std::move(diagnostics)) {}

  // SavePPinCache: records the pin just added and applies `limit` (0 unlimited), deleting from
  // the map the pins it pushes out.
  void Save(const host::map::PushpinRef& pin, std::int32_t limit);

  std::int32_t Count() const { return count_; }
  std::int32_t NextIndex() const { return next_; }
  std::int32_t UpperBound() const { return static_cast<std::int32_t>(slots_.size()) - 1; }
  // The pin in a slot; nothing for an empty slot or one beyond the array.
  std::optional<host::map::PushpinRef> Slot(std::int32_t index) const;
  // Empties a slot and returns what it held.
  std::optional<host::map::PushpinRef> Take(std::int32_t index);
  // An empty array and a count of 0; the next index stays, the next Save re-fits the array.
  void Forget();

 private:
  void Resize(std::int32_t upperBound);
  void DeleteSlot(std::int32_t index);

  std::vector<std::optional<host::map::PushpinRef>> slots_ =
      std::vector<std::optional<host::map::PushpinRef>>(1);
  std::int32_t count_ = 0;
  std::int32_t next_ = 0;
  std::function<void(std::string_view)> diagnostics_;
};

}  // namespace orvo::tracking
