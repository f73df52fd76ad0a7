#include "tracking/PinCache.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace orvo::tracking {

void PinCache::Save(const host::map::PushpinRef& pin, std::int32_t limit) {
  if (limit < 0)
    throw std::invalid_argument("the pin limit " + std::to_string(limit) + " is below 0");
  if (limit == 0) {
    if (UpperBound() <= count_) Resize(count_ + kGrowthStep);
    slots_[static_cast<std::size_t>(count_)] = pin;
    ++count_;
    next_ = count_;
    return;
  }
  if (UpperBound() < limit) {
    Resize(limit);
    next_ = count_;
  } else if (UpperBound() > limit) {
    // The limit was lowered, or an unlimited cache is capped: the slots from limit - 1 on go.
    if (count_ > limit) {
      next_ = limit - 1;
      for (std::int32_t index = limit - 1; index < count_; ++index) DeleteSlot(index);
    }
    Resize(limit);
    // Even when fewer pins were cached: the empty slots then pass through the ring harmlessly.
    count_ = limit;
  }
  slots_.at(static_cast<std::size_t>(next_)) = pin;
  ++next_;
  if (count_ < limit) count_ = next_;
  if (next_ >= limit) next_ = 0;
  if (count_ < limit) return;
  DeleteSlot(next_);  // the oldest
}

std::optional<host::map::PushpinRef> PinCache::Slot(std::int32_t index) const {
  if (index < 0 || index > UpperBound()) return std::nullopt;
  return slots_[static_cast<std::size_t>(index)];
}

std::optional<host::map::PushpinRef> PinCache::Take(std::int32_t index) {
  if (index < 0 || index > UpperBound()) return std::nullopt;
  return std::exchange(slots_[static_cast<std::size_t>(index)], std::nullopt);
}

void PinCache::Forget() {
  slots_.assign(1, std::nullopt);
  count_ = 0;
}

void PinCache::Resize(std::int32_t upperBound) {
  // resize() grows the capacity geometrically, so steps of 500 slots cost O(1) per pin.
  slots_.resize(static_cast<std::size_t>(upperBound) + 1);
}

void PinCache::DeleteSlot(std::int32_t index) {
  const auto pin = Take(index);
  if (!pin) return;
  try {
    pin->Delete();
  } catch (const host::map::PushpinGone&) {
    // The user deleted it by hand already: the slot is simply emptied.
  } catch (const std::exception& error) {
    if (diagnostics_) diagnostics_(std::string("SavePPinCache: ") + error.what());
  }
}

}  // namespace orvo::tracking
