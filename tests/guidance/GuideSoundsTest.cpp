#include <gtest/gtest.h>

#include <stdexcept>

#include "guidance/GuideSounds.hpp"

namespace orvo::guidance {
namespace {

TEST(GuideSounds, DirectionSoundFirstAndWaitedForThenTheActionsMuteLeftOut) {
  MMSetup setup("/opt/orvo/data", {});
  setup.DirectionTypeTable[1].Wav = "/sounds/driving.wav";
  setup.DirectionTypeTable[0].Wav = "";
  setup.ActionTypeTable[4].Wav = "-";
  const std::string chime = "/opt/orvo/data/DEFAULT.WAV";
  const struct {
    long directionType;
    long action;
    std::vector<std::pair<std::string, bool>> sounds;
  } cases[] = {
      {1, 3, {{"/sounds/driving.wav", true}, {chime, false}}},
      {1, 4, {{"/sounds/driving.wav", true}}},
      {9, 3, {{chime, false}}},                   // a fresh user's mute waypoint
      {12, 4, {{chime, true}}},                   // out of range: the "Other" row
      {-1, 13, {{chime, true}, {chime, false}}},  // the empty slot plays the chime
  };
  for (const auto& c : cases) {
    std::vector<std::pair<std::string, bool>> sounds;
    for (const SoundToPlay& sound : AnnouncementSounds(setup, c.directionType, c.action))
      sounds.emplace_back(sound.file, sound.waitForEnd);
    EXPECT_EQ(sounds, c.sounds) << c.directionType << " " << c.action;
  }
  EXPECT_EQ(ActionPicture(setup, 10), "/opt/orvo/data/UTurn.gif");
  EXPECT_EQ(ActionPicture(setup, 13), "");
  EXPECT_THROW(ActionPicture(setup, 14), std::out_of_range);
  EXPECT_THROW(AnnouncementSounds(setup, 0, -1), std::out_of_range);
}

}  // namespace
}  // namespace orvo::guidance
