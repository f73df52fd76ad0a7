#pragma once
// What the guidance engine asks of the guidance window: show an instruction, refresh its
// distances, speak it; and the two flags the window sets and the engine reads. frmGuide
// implements it; tests use a double.
#include <cstdint>
#include <string>

#include "host/map/ActiveRoute.hpp"

namespace orvo::guidance {

class GuideDisplay {
 public:
  virtual ~GuideDisplay() = default;

  // Shows an instruction. DIRECTION may be null: TEXT is then shown instead. SECS_BETWEEN is the
  // whole seconds to the next instruction, SECS_UNTIL the seconds until this one is reached.
  virtual void SetInstruct(const host::map::Direction* direction, double time,
                           const std::string& text, std::int32_t secsBetween,
                           double secsUntil) = 0;
  // The engine's resets: with no direction, TEXT with zero times; with one, nothing.
  void SetInstruct2(const host::map::Direction* direction, const std::string& text) {
    if (direction == nullptr) SetInstruct(nullptr, 0, text, 0, 0);
  }
  // Refreshes the two distances (host unit) and the estimated arrival.
  virtual void UpdateDistance(double approachDist, double nextTurnDist) = 0;
  // Speaks the instruction shown.
  virtual void SpeakDirection() = 0;
  // Guidance starts: the window comes up (again, if the user closed it).
  virtual void ShowDisplay() {}

  // Distances may be refreshed while this is set.
  bool guideShown = false;
  // No announcement and no move to the next waypoint while this is set.
  bool announceHold = false;
};

}  // namespace orvo::guidance
