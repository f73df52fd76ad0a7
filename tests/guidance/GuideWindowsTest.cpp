// The guidance window and the guidance options dialog on a stepped clock, a real settings file
// and the real espeak-ng, whose results come back to the test's own thread.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "guidance/GuideAudio.hpp"
#include "guidance/GuideSounds.hpp"
#include "guidance/frmGuidanceOpt.hpp"
#include "guidance/frmGuide.hpp"
#include "host/speech/EspeakSpeech.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/SettingsStore.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::guidance {
namespace {

using host::map::Direction;
using host::map::DirectionAction;
using host::map::DirectionType;
using host::ui::MsgBoxResult;
using std::chrono::milliseconds;

struct AudioMessages final : host::ui::UiObserver {
  void UiMessage(const host::ui::Json& message) override {
    const std::string type = message.value("type", "");
    if (type == "sound" || type == "speech") messages.push_back(message);
  }
  std::vector<host::ui::Json> messages;
};

// Finished speech waits here until the test runs it, as the event loop would.
struct SpeechDelivery {
  host::speech::EspeakSpeech::Deliver Deliver() {
    return [this](std::function<void()> work) {
      const std::lock_guard lock(mutex);
      waiting.push_back(std::move(work));
      changed.notify_all();
    };
  }
  // Runs COUNT deliveries, waiting for them as long as synthesis may take.
  void Run(std::size_t count) {
    for (std::size_t done = 0; done < count; ++done) {
      std::function<void()> work;
      {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, std::chrono::seconds(60), [&] { return !waiting.empty(); });
        if (waiting.empty()) return;
        work = std::move(waiting.front());
        waiting.pop_front();
      }
      work();
    }
  }
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> waiting;
};

struct GuideFixture {
  GuideFixture() { desktop.AddObserver(audio); }
  ~GuideFixture() { desktop.RemoveObserver(audio); }

  host::speech::EspeakSpeech& Speech() {
    if (!speech) speech = std::make_unique<host::speech::EspeakSpeech>(delivery.Deliver());
    return *speech;
  }

  orvo::testing::TempFolder folder;
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  AudioMessages audio;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  guidance::MMSetup setup{"/opt/orvo/data", {}};
  SpeechDelivery delivery;
  // Last: it goes first, answering what it still holds into the delivery above.
  std::unique_ptr<host::speech::EspeakSpeech> speech;
};

struct Guide : ::testing::Test, GuideFixture {
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
  using Sounds = std::vector<std::pair<std::string, bool>>;  // file, waited for
  // The direction type, the action, and the sounds.
  const std::tuple<long, long, Sounds> cases[] = {
      {1, 3, {{"/sounds/driving.wav", true}, {chime, false}}},
      {1, 4, {{"/sounds/driving.wav", true}}},
      {9, 3, {{chime, false}}},                   // a fresh user's mute waypoint
      {12, 4, {{chime, true}}},                   // out of range: the "Other" row
      {-1, 13, {{chime, true}, {chime, false}}},  // the empty slot plays the chime
  };
  for (const auto& [directionType, action, expected] : cases) {
    Sounds sounds;
    for (const SoundToPlay& sound : AnnouncementSounds(setup, directionType, action))
      sounds.emplace_back(sound.file, sound.waitForEnd);
    EXPECT_EQ(sounds, expected) << directionType << " " << action;
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
  // The hide time, and what closes the window otherwise.
  const std::pair<int, std::function<void(frmGuide&)>> cases[] = {
      {3, nullptr},
      {0, [](frmGuide& g) { g.KeyUp(13, 0); }},
      {0, [](frmGuide& g) { g.lblInstruction.UserDoubleClick(); }},
  };
  for (const auto& [hide, act] : cases) {
    setup.lgGuideHide = hide;
    frmGuide& guide = Window();
    EXPECT_TRUE(guide.guideShown);
    scheduler.Advance(milliseconds(2999));
    EXPECT_TRUE(guide.IsLoaded());
    if (act) {
      scheduler.Advance(std::chrono::hours(1));
      ASSERT_TRUE(guide.IsLoaded());
      act(guide);
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
  const auto mouse = [&](const char* type, double x, double y) {
    guide.lblInstruction.UserMouse(type, {.x = x, .y = y});
  };
  mouse("mousemove", 300, 300);  // no button down: stays
  mouse("mousedown", 300, 300);
  mouse("mousemove", 450, 600);
  EXPECT_EQ(std::make_pair(guide.Left(), guide.Top()), std::make_pair(110, 70));
  mouse("mouseup", 450, 600);
  mouse("mousemove", 900, 600);
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

struct Options : ::testing::Test, GuideFixture {
  frmGuidanceOpt& Open(bool withSpeech = true) {
    dialog = std::make_unique<frmGuidanceOpt>(
        desktop, setup, store, withSpeech ? &Speech() : nullptr, [this] { return kilometres; });
    dialog->Start();
    return *dialog;
  }
  bool kilometres = true;
  std::unique_ptr<frmGuidanceOpt> dialog;
};

TEST_F(Options, EachControlWritesItsSettingAtOnceInTheHostsUnit) {
  using O = frmGuidanceOpt;
  const struct {
    bool km;
    int value;
    host::ui::ScrollBar O::*bar;
    host::ui::Label O::*label;
    std::string shown;
    double MMSetup::*setting;  // none: the hide time, checked below
    double stored;
  } cases[] = {
      {true, 5, &O::hsGuideLowDist, &O::lblGuideLowDist, "0.05 km", &MMSetup::dgGuideLowDist, 0.05},
      {false, 125, &O::hsGuideHiDist, &O::lblGuideHiDist, "1.25 mi", &MMSetup::dgGuideHiDist, 1.25},
      {false, 40, &O::hsGuideHighSpeed, &O::lblGuideHighSpeed, "40 MPH", &MMSetup::dgGuideHiKnot,
       40 / O::kMphPerKnot},
      {true, 90, &O::hsGuideHighSpeed, &O::lblGuideHighSpeed, "90 KmH", &MMSetup::dgGuideHiKnot,
       90 / O::kKmhPerKnot},
      {true, 18, &O::hsGuideLoSec, &O::lblGuideLoSec, "18 seconds.", &MMSetup::dgGuideLoHour,
       0.005},
      {true, 36, &O::hsGuideHiSec, &O::lblGuideHiSec, "36 seconds.", &MMSetup::dgGuideHiHour, 0.01},
      {true, 12, &O::hsGuideRerouteThreshold, &O::lblGuideRerouteThreshold, "0.12 km",
       &MMSetup::dgGuideAutoRecalcThreshold, 0.12},
      {true, 0, &O::hsHideTime, &O::lblHideTime, "Not hide.", nullptr, 0},
      {true, 45, &O::hsHideTime, &O::lblHideTime, "45 seconds.", nullptr, 0},
  };
  for (const auto& c : cases) {
    kilometres = c.km;
    frmGuidanceOpt& d = Open();
    (d.*c.bar).SetValue(c.value);
    EXPECT_NEAR(c.setting ? setup.*c.setting : 0, c.stored, 1e-12) << c.shown;
    EXPECT_EQ((d.*c.label).Caption(), c.shown);
    d.Unload();
  }
  EXPECT_EQ(setup.lgGuideHide, 45);
  frmGuidanceOpt& d = Open();
  d.chkSkip1stWp.SetValue(1);  // ticked: the start is a destination, not skipped
  d.chkAutoRecalc.SetValue(1);
  d.cboRouteCalc.SetListIndex(2);
  d.chkGuideEnableTTS.SetValue(1);
  EXPECT_EQ(std::make_tuple(setup.gbGMSkip1stWp, setup.bgGuideAutoRecalcOn, setup.giRouteCalc,
                            setup.bgGuideTTS),
            std::make_tuple(false, true, std::int16_t{2}, true));
  EXPECT_EQ(d.cboRouteCalc.Text(), "Preferred");
}

TEST_F(Options, ControlsShowTheSettingsAndTheMethodShowsItsFrame) {
  setup.bgGuideUsingDist = true;
  setup.dgGuideHiKnot = 40 / frmGuidanceOpt::kMphPerKnot;
  setup.gbGMSkip1stWp = false;
  setup.lgGuideHide = 0;
  kilometres = false;
  frmGuidanceOpt& d = Open();
  EXPECT_TRUE(d.optGuideMethod[0].Value());
  EXPECT_TRUE(d.fmGuideDist.Visible());
  EXPECT_FALSE(d.fmGuideETA.Visible());
  EXPECT_EQ(d.hsGuideLowDist.Value(), 3);
  EXPECT_EQ(d.hsGuideHighSpeed.Value(), 40);
  EXPECT_EQ(d.hsGuideLoSec.Value(), 15);  // 15.12 s shown whole
  EXPECT_EQ(d.chkSkip1stWp.Value(), 1);
  EXPECT_EQ(d.lblHideTime.Caption(), "Not hide.");
  EXPECT_EQ(d.cboGuideTTSVoice.Items().size(), Speech().GetVoices().size());
  EXPECT_TRUE(audio.messages.empty());  // showing the voice speaks no sample

  d.optGuideMethod[1].SetValue(true);
  EXPECT_FALSE(setup.bgGuideUsingDist);
  EXPECT_FALSE(d.fmGuideDist.Visible());
  EXPECT_TRUE(d.fmGuideETA.Visible());

  setup.lgGuideHide = 99;
  d.cmdResetAll.Press();
  EXPECT_EQ(d.lblHideTime.Caption(), "10 seconds.");
  EXPECT_TRUE(d.chkSkip1stWp.Value() == 1);  // the reset leaves the go-to skip alone
}

TEST_F(Options, ChoosingAVoiceSpeaksTheSampleWithIt) {
  frmGuidanceOpt& d = Open();
  ASSERT_GE(d.cboGuideTTSVoice.Items().size(), 2u);
  d.cboGuideTTSVoice.SetListIndex(1);
  EXPECT_EQ(setup.lgGuideTTSVoice, 1);
  delivery.Run(1);  // the stop before it: SpeechOnlyWhenOnAndNoneFromAClosedWindow
  ASSERT_FALSE(audio.messages.empty());
  EXPECT_TRUE(audio.messages.back()["wav"].get<std::string>().starts_with("UklGR"));
}

TEST_F(Options, WithoutSpeechTheMessageAndSpeechStaysOff) {
  setup.bgGuideTTS = true;
  frmGuidanceOpt& d = Open(false);
  EXPECT_EQ(dialogs.Prompts().size(), 1u);
  EXPECT_FALSE(setup.bgGuideTTS);
  EXPECT_EQ(d.chkGuideEnableTTS.Value(), 0);
  EXPECT_TRUE(d.cboGuideTTSVoice.Items().empty());
}

TEST_F(Options, SoundAndPictureOfEveryTypeRowByRow) {
  frmGuidanceOpt& d = Open();
  EXPECT_EQ(d.lstItems.Items().size(), kDirectionTypeRows);
  EXPECT_EQ(d.chkWavMute.Value(), 1);  // a fresh user's direction rows are mute
  EXPECT_FALSE(d.txtWav.Enabled());
  EXPECT_FALSE(d.txtPic.Enabled());

  d.cboType.SetListIndex(1);
  d.lstItems.SetListIndex(3);
  EXPECT_EQ(d.lblDesc.Caption(), "Turn left");
  EXPECT_EQ(d.txtPic.Text(), "/opt/orvo/data/TurnLeft.gif");
  EXPECT_EQ(d.chkWavDefault.Value(), 1);
  GuidanceTypeEntry& row = setup.ActionTypeTable[3];
  // A step, then the row's sound and whether its path can be edited.
  const std::tuple<std::function<void()>, std::string, bool> steps[] = {
      {[&] { d.chkWavMute.SetValue(1); }, "-", false},
      {[&] { d.chkWavMute.SetValue(0); }, "", true},
      {[&] {
         dialogs.QueueFile("/home/me/left.wav");
         d.cmdBrwWav.Press();
       },
       "/home/me/left.wav", true},
      {[&] { d.chkWavDefault.SetValue(1); }, "", false},
      {[&] { d.chkWavMute.SetValue(1); }, "-", false},  // Mute clears Default
      {[&] { d.chkWavMute.SetValue(0); }, "/home/me/left.wav", true},
  };
  for (const auto& [act, wav, pathEnabled] : steps) {
    act();
    EXPECT_EQ(row.Wav, wav);
    EXPECT_EQ(d.txtWav.Enabled(), pathEnabled) << wav;
    EXPECT_EQ(d.cmdBrwWav.Enabled(), pathEnabled) << wav;
  }
  dialogs.QueueFile("/home/me/left.bmp");
  d.cmdBrwPic.Press();
  EXPECT_EQ(row.Picture, "/home/me/left.bmp");
  EXPECT_EQ(dialogs.FileRequests().size(), 2u);
  d.lstItems.SetListIndex(4);  // another row leaves this one as it is
  EXPECT_EQ(row.Wav, "/home/me/left.wav");
}

TEST_F(Options, CloseWarnsOfReCalculationUntilSuppressedAndSavesTheSettings) {
  // Re-calculation on, the answer to the warning (none: not warned), the suppression stored.
  const std::tuple<bool, std::optional<MsgBoxResult>, std::string> cases[] = {
      {false, std::nullopt, ""},
      {true, MsgBoxResult::Ok, ""},
      {true, MsgBoxResult::Cancel, "True"},
      {true, std::nullopt, "True"},
  };
  for (const auto& [recalc, answer, suppressed] : cases) {
    setup.bgGuideAutoRecalcOn = recalc;
    frmGuidanceOpt& d = Open();
    d.hsHideTime.SetValue(77);
    dialogs.Forget();
    if (answer) dialogs.QueueAnswer(*answer);
    d.cmdOK.Press();
    EXPECT_FALSE(d.IsLoaded());
    ASSERT_EQ(dialogs.Prompts().size(), answer ? 1u : 0u);
    for (const std::string& prompt : dialogs.Prompts())
      EXPECT_TRUE(prompt.starts_with("FYI: Auto route recalculation")) << prompt;
    EXPECT_EQ(store.GetSetting(kGuideSection, kNotWarnAutoRecalcKey, ""), suppressed);
    MMSetup reread("/opt/orvo/data", {});
    reread.LoadGuidanceSettings(settings::SettingsStore(folder.Path() / "ORVO.ini"));
    EXPECT_EQ(reread.lgGuideHide, 77);
  }
}

}  // namespace
}  // namespace orvo::guidance
