#pragma once
// What the guidance window plays and shows for an announcement, from the type tables: the
// direction type's sound, played to its end, then the action's sound, not waited for; and the
// action's picture.
#include <optional>
#include <string>
#include <vector>

#include "guidance/MMSetup.hpp"

namespace orvo::guidance {

struct SoundToPlay {
  std::string file;  // full path of a WAV file
  bool waitForEnd;   // the next sound starts only when this one has finished
};

// The sound file a table row's sound value names, none for "-" (mute): an empty value is ORVO's
// "DEFAULT.WAV" in the data folder, anything else the path it holds.
std::optional<std::string> SoundFile(const MMSetup& setup, const std::string& wav);

// A direction type outside 0..9 counts as 0 ("Other"). Throws std::out_of_range for an action
// outside 0..13, as the picture lookup does.
std::vector<SoundToPlay> AnnouncementSounds(const MMSetup& setup, long directionType, long action);

// The picture of an action; std::out_of_range outside 0..13 (the old picture then stays).
const std::string& ActionPicture(const MMSetup& setup, long action);

}  // namespace orvo::guidance
