#include "guidance/GuideSounds.hpp"

#include <stdexcept>

namespace orvo::guidance {
namespace {

const GuidanceTypeEntry& ActionRow(const MMSetup& setup, long action) {
  if (action < 0 || action >= static_cast<long>(kActionTypeSlots))
    throw std::out_of_range("no action type " + std::to_string(action));
  return setup.ActionTypeTable[static_cast<std::size_t>(action)];
}

}  // namespace

std::optional<std::string> SoundFile(const MMSetup& setup, const std::string& wav) {
  if (wav == "-") return std::nullopt;
  if (wav.empty()) return (setup.AppFolder() / kDefaultSound).string();
  return wav;
}

std::vector<SoundToPlay> AnnouncementSounds(const MMSetup& setup, long directionType, long action) {
  const GuidanceTypeEntry& actionRow = ActionRow(setup, action);
  const auto directionRow =
      directionType >= 0 && directionType < static_cast<long>(kDirectionTypeRows)
          ? static_cast<std::size_t>(directionType)
          : 0;
  std::vector<SoundToPlay> sounds;
  if (auto file = SoundFile(setup, setup.DirectionTypeTable[directionRow].Wav))
    sounds.push_back({std::move(*file), true});
  if (auto file = SoundFile(setup, actionRow.Wav)) sounds.push_back({std::move(*file), false});
  return sounds;
}

const std::string& ActionPicture(const MMSetup& setup, long action) {
  return ActionRow(setup, action).Picture;
}

}  // namespace orvo::guidance
