#include <gtest/gtest.h>

#include <stdexcept>

#include "guidance/GuideAudio.hpp"
#include "guidance/GuideSounds.hpp"
#include "guidance/frmGuide.hpp"
#include "tests/guidance/GuideFixture.hpp"

namespace orvo::guidance {
namespace {

using host::map::Direction;
using host::map::DirectionAction;
using host::map::DirectionType;
using std::chrono::milliseconds;

struct Guide : ::testing::Test, testing::GuideFixture {
  frmGuide& Window(bool withSpeech = false) {
    GuideLinks links;
    links.speech = withSpeech ? &Speech() : nullptr;
    links.forwardKey = [this](int key, int shift) { forwarded.emplace_back(key, shift); };
    links.kilometres = [this] { return kilometres; };
    window = std::make_unique<frmGuide>(desktop, setup, store, std::move(links));
    window->Show();
    return *window;
  }
  std::vector<std::vector<std::string>> Sounds() const {
    std::vector<std::vector<std::string>> sounds;
    for (const auto& message : audio.messages)
      if (message["type"] == "sound") sounds.push_back(message["sounds"]);
    return sounds;
  }

  bool kilometres = true;
  std::vector<std::pair<int, int>> forwarded;
  std::unique_ptr<frmGuide> window;
};

Direction Turn(std::string text, std::string target = {}) {
  Direction direction;
  direction.text = std::move(text);
  direction.target = std::move(target);
  direction.action = DirectionAction::TurnLeft;
  direction.type = DirectionType::Driving;
  direction.distance = 2;
  direction.timeSeconds = 3600;
  return direction;
}

TEST(GuideWindow, HoldIsALittleLongerThanTheTimeToTheInstructionWithinItsBounds) {
  const std::pair<double, int> cases[] = {{1, 2000},     {100, 65535},   {2.5, 2550}, {0, 2000},
                                          {64.2, 65484}, {64.25, 65535}, {-3, 2000}};
  for (const auto& [secs, ms] : cases) EXPECT_EQ(frmGuide::HoldMs(secs), ms) << secs;
}

TEST(GuideWindow, AddressesOfSoundsAndPicturesAndTheSpeechEncoding) {
  const struct {
    std::string file, sound, picture;
  } cases[] = {
      {"/opt/orvo/data/DEFAULT.WAV", "/data/DEFAULT.WAV", "DEFAULT.WAV"},
      {"/opt/orvo/data/sub/a b.wav", "/data/sub/a%20b.wav", "sub/a b.wav"},
      {"/home/me/ding #1.wav", "/userfile?path=/home/me/ding%20%231.wav", "/home/me/ding #1.wav"},
      {"/opt/orvo/data/../x.wav", "/userfile?path=/opt/orvo/data/../x.wav",
       "/opt/orvo/data/../x.wav"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SoundAddress("/opt/orvo/data", c.file), c.sound);
    EXPECT_EQ(PictureValue("/opt/orvo/data", c.file), c.picture);
  }
  const std::pair<std::string, std::string> encoded[] = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"RIFF\xff", "UklGRv8="}};
  for (const auto& [bytes, text] : encoded) EXPECT_EQ(Base64(bytes), text);
}

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

TEST_F(Guide, AnInstructionShowsTextPictureAndPlaysTheTypesSoundsInOrder) {
  setup.DirectionTypeTable[1].Wav = "/home/me/driving.wav";
  setup.ActionTypeTable[3].Wav = "";
  frmGuide& guide = Window();
  const Direction withTarget = Turn("Turn left onto Rue Grimaldi", "Monte-Carlo");
  guide.SetInstruct(&withTarget, 0, "ignored", 60, 30);
  EXPECT_EQ(guide.lblInstruction.Caption(), "Turn left onto Rue Grimaldi toward Monte-Carlo");
  EXPECT_EQ(guide.imgAct.Picture(), "TurnLeft.gif");
  EXPECT_TRUE(guide.announceHold);
  EXPECT_EQ(Sounds(), (std::vector<std::vector<std::string>>{
                          {"/userfile?path=/home/me/driving.wav", "/data/DEFAULT.WAV"}}));
}

TEST_F(Guide, HoldLastsItsTimeOrUntilTheApproachDistanceFallsBelowFiveThousandths) {
  setup.lgGuideHide = 0;  // hiding would end the hold too
  frmGuide& guide = Window();
  const Direction turn = Turn("Turn left");
  // 10 s ahead: held 10.2 s, with no approach distance or one not below 0.005.
  for (const double approach : {-1.0, 0.005}) {
    guide.SetInstruct(&turn, 0, "", 10, 10);
    if (approach >= 0) guide.UpdateDistance(approach, 1);
    scheduler.Advance(milliseconds(10199));
    EXPECT_TRUE(guide.announceHold) << approach;
    scheduler.Advance(milliseconds(1));
    EXPECT_FALSE(guide.announceHold) << approach;
  }
  guide.SetInstruct(&turn, 0, "", 10, 30);
  guide.UpdateDistance(0.0049, 1);
  EXPECT_FALSE(guide.announceHold);
}

TEST_F(Guide, DistancesArrivalAndTheStoppedInstructionInBothUnits) {
  frmGuide& guide = Window();
  const Direction turn = Turn("Turn left");
  for (const bool km : {true, false}) {
    kilometres = km;
    const std::string unit = km ? " Km" : " Mi";
    guide.SetInstruct(&turn, 0, "", 60, 30);
    guide.UpdateDistance(1.234, 2.5);  // not inside the step: no estimate yet
    EXPECT_EQ(guide.lblApproachDist.Caption(), "1.23" + unit);
    EXPECT_EQ(guide.lblNextTurnDist.Caption(), "2.50" + unit);
    EXPECT_EQ(guide.lblEstArriveTime.Caption(), "");
    guide.UpdateDistance(0.5, 1);  // half the step: direction time plus half of 60 s
    EXPECT_EQ(guide.lblEstArriveTime.Caption(), "1899/12/30 1:00:30 AM");

    guide.SetInstruct(nullptr, 0, km ? "" : "Arrived", 0, 0);
    EXPECT_EQ(guide.lblInstruction.Caption(), km ? "Guidance Stopped" : "Arrived");
    EXPECT_EQ(guide.lblApproachDist.Caption(), "0.0" + unit);
    EXPECT_EQ(guide.lblNextTurnDist.Caption(), "0.0" + unit);
    EXPECT_EQ(guide.lblEstArriveTime.Caption(), "");
    EXPECT_EQ(guide.imgAct.Picture(), "Info.gif");
    EXPECT_EQ(Sounds().back(), std::vector<std::string>{"/data/DEFAULT.WAV"});
  }
}

TEST_F(Guide, HidesAfterItsTimeUnlessZeroAndClosesByEnterOrDoubleClick) {
  const struct {
    int hide;
    std::function<void(frmGuide&)> act;  // what closes it otherwise
  } cases[] = {
      {3, nullptr},
      {0, [](frmGuide& g) { g.KeyUp(13, 0); }},
      {0, [](frmGuide& g) { g.lblInstruction.UserDoubleClick(); }},
      {0, [](frmGuide& g) { g.imgAct.UserDoubleClick(); }},
  };
  for (const auto& c : cases) {
    setup.lgGuideHide = c.hide;
    frmGuide& guide = Window();
    EXPECT_TRUE(guide.guideShown);
    scheduler.Advance(milliseconds(2999));
    EXPECT_TRUE(guide.IsLoaded());
    if (c.act) {
      scheduler.Advance(std::chrono::hours(1));
      ASSERT_TRUE(guide.IsLoaded());
      c.act(guide);
    } else {
      scheduler.Advance(milliseconds(1));
    }
    EXPECT_FALSE(guide.IsLoaded());
    EXPECT_FALSE(guide.guideShown);
    EXPECT_FALSE(guide.announceHold);
  }
}

TEST_F(Guide, OtherKeysGoToTheMainWindowAndTheMouseDragsIt) {
  frmGuide& guide = Window();
  guide.KeyUp(33, 0);
  guide.KeyUp(82, 1);
  guide.KeyUp(32, 0);  // Space: repeats the instruction, not passed on
  EXPECT_EQ(forwarded, (std::vector<std::pair<int, int>>{{33, 0}, {82, 1}}));

  guide.Move(100, 50);
  host::ui::MouseEvent at;
  at.x = 300;
  at.y = 300;
  guide.lblInstruction.UserMouse("mousemove", at);  // no button down: stays
  guide.lblInstruction.UserMouse("mousedown", at);
  at.x = 450;
  at.y = 600;
  guide.lblInstruction.UserMouse("mousemove", at);
  EXPECT_EQ(std::make_pair(guide.Left(), guide.Top()), std::make_pair(110, 70));
  guide.lblInstruction.UserMouse("mouseup", at);
  at.x = 900;
  guide.lblInstruction.UserMouse("mousemove", at);
  EXPECT_EQ(guide.Left(), 110);
}

// A newer request cutting off the one under way is the speech engine's and the page's to test.
TEST_F(Guide, SpeechOnlyWhenOnAndNoneFromAClosedWindow) {
  setup.lgGuideHide = 0;
  for (const bool tts : {false, true}) {
    setup.bgGuideTTS = tts;
    frmGuide& guide = Window(true);
    EXPECT_EQ(guide.lblHelpText.Caption().starts_with("Press SPACE to repeat"), tts);
    audio.messages.clear();
    const Direction turn = Turn("Turn left onto Avenue Princesse Grace");
    guide.SetInstruct(&turn, 0, "", 10, 10);
    if (tts) delivery.Run(1);
    std::vector<std::string> said;
    for (const auto& message : audio.messages)
      if (message["type"] == "speech") said.push_back(message.contains("wav") ? "wav" : "stop");
    EXPECT_EQ(said, (tts ? std::vector<std::string>{"stop", "wav"} : std::vector<std::string>{}));
  }
  EXPECT_TRUE(audio.messages.back()["wav"].get<std::string>().starts_with("UklGR"));  // "RIFF"
  window->KeyUp(32, 0);
  window->Unload();  // the speech of a closed window is dropped
  delivery.Run(1);
  EXPECT_EQ(audio.messages.back(), SpeechMessage({}));
}

}  // namespace
}  // namespace orvo::guidance
