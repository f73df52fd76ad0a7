#include <gtest/gtest.h>

#include "guidance/frmGuidanceOpt.hpp"
#include "tests/guidance/GuideFixture.hpp"

namespace orvo::guidance {
namespace {

using host::ui::MsgBoxResult;

struct Options : ::testing::Test, testing::GuideFixture {
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
  const double mph = frmGuidanceOpt::kMphPerKnot;
  const double kmh = frmGuidanceOpt::kKmhPerKnot;
  const struct {
    bool km;
    std::function<void(frmGuidanceOpt&)> act;
    std::function<double()> setting;
    double stored;
    std::function<std::string(frmGuidanceOpt&)> label;
    std::string shown;
  } cases[] = {
      {true, [](auto& d) { d.hsGuideLowDist.SetValue(5); }, [&] { return setup.dgGuideLowDist; },
       0.05, [](auto& d) { return d.lblGuideLowDist.Caption(); }, "0.05 km"},
      {false, [](auto& d) { d.hsGuideHiDist.SetValue(125); }, [&] { return setup.dgGuideHiDist; },
       1.25, [](auto& d) { return d.lblGuideHiDist.Caption(); }, "1.25 mi"},
      {false, [](auto& d) { d.hsGuideHighSpeed.SetValue(40); }, [&] { return setup.dgGuideHiKnot; },
       40 / mph, [](auto& d) { return d.lblGuideHighSpeed.Caption(); }, "40 MPH"},
      {true, [](auto& d) { d.hsGuideHighSpeed.SetValue(90); }, [&] { return setup.dgGuideHiKnot; },
       90 / kmh, [](auto& d) { return d.lblGuideHighSpeed.Caption(); }, "90 KmH"},
      {true, [](auto& d) { d.hsGuideLoSec.SetValue(18); }, [&] { return setup.dgGuideLoHour; },
       0.005, [](auto& d) { return d.lblGuideLoSec.Caption(); }, "18 seconds."},
      {true, [](auto& d) { d.hsGuideHiSec.SetValue(36); }, [&] { return setup.dgGuideHiHour; },
       0.01, [](auto& d) { return d.lblGuideHiSec.Caption(); }, "36 seconds."},
      {true, [](auto& d) { d.hsGuideRerouteThreshold.SetValue(12); },
       [&] { return setup.dgGuideAutoRecalcThreshold; }, 0.12,
       [](auto& d) { return d.lblGuideRerouteThreshold.Caption(); }, "0.12 km"},
      {true, [](auto& d) { d.hsHideTime.SetValue(0); }, [&] { return setup.lgGuideHide; }, 0,
       [](auto& d) { return d.lblHideTime.Caption(); }, "Not hide."},
      {true, [](auto& d) { d.hsHideTime.SetValue(45); }, [&] { return setup.lgGuideHide; }, 45,
       [](auto& d) { return d.lblHideTime.Caption(); }, "45 seconds."},
      {true, [](auto& d) { d.chkSkip1stWp.SetValue(1); }, [&] { return setup.gbGMSkip1stWp; }, 0,
       [](auto& d) { return d.chkSkip1stWp.Caption(); }, "Treat starting waypoint a destination"},
      {true, [](auto& d) { d.chkAutoRecalc.SetValue(1); },
       [&] { return setup.bgGuideAutoRecalcOn; }, 1,
       [](auto& d) { return d.chkAutoRecalc.Caption(); }, "Re-calculate when position is off over"},
      {true, [](auto& d) { d.cboRouteCalc.SetListIndex(2); }, [&] { return setup.giRouteCalc; }, 2,
       [](auto& d) { return d.cboRouteCalc.Text(); }, "Preferred"},
      {true, [](auto& d) { d.chkGuideEnableTTS.SetValue(1); }, [&] { return setup.bgGuideTTS; }, 1,
       [](auto& d) { return d.chkGuideEnableTTS.Caption(); }, "Enable Text to speech"},
  };
  for (const auto& c : cases) {
    kilometres = c.km;
    frmGuidanceOpt& d = Open();
    c.act(d);
    EXPECT_NEAR(c.setting(), c.stored, 1e-12) << c.shown;
    EXPECT_EQ(c.label(d), c.shown);
    d.Unload();
  }
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
  EXPECT_EQ(d.lblGuideLowDist.Caption(), "0.03 mi");
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
  delivery.Run(1);
  ASSERT_EQ(audio.messages.size(), 2u);
  EXPECT_FALSE(audio.messages[0].contains("wav"));
  EXPECT_TRUE(audio.messages[1]["wav"].get<std::string>().starts_with("UklGR"));
}

TEST_F(Options, WithoutSpeechTheMessageAndSpeechStaysOff) {
  setup.bgGuideTTS = true;
  frmGuidanceOpt& d = Open(false);
  EXPECT_EQ(
      dialogs.Prompts(),
      std::vector<std::string>{"Please install Microsoft Speech SDK 5 or run under Windows XP"});
  EXPECT_FALSE(setup.bgGuideTTS);
  EXPECT_EQ(d.chkGuideEnableTTS.Value(), 0);
  EXPECT_TRUE(d.cboGuideTTSVoice.Items().empty());
}

TEST_F(Options, SoundAndPictureOfEveryTypeRowByRow) {
  frmGuidanceOpt& d = Open();
  EXPECT_EQ(d.lstItems.Items().size(), kDirectionTypeRows);
  EXPECT_EQ(d.lblNote.Caption(),
            "Note: Long audio playback on guidance types will affect the performance.");
  EXPECT_EQ(d.chkWavMute.Value(), 1);  // a fresh user's direction rows are mute
  EXPECT_FALSE(d.txtWav.Enabled());
  EXPECT_FALSE(d.txtPic.Enabled());

  d.cboType.SetListIndex(1);
  d.lstItems.SetListIndex(3);
  EXPECT_EQ(d.lblDesc.Caption(), "Turn left");
  EXPECT_EQ(d.txtPic.Text(), "/opt/orvo/data/TurnLeft.gif");
  EXPECT_EQ(d.chkWavDefault.Value(), 1);
  GuidanceTypeEntry& row = setup.ActionTypeTable[3];
  const struct {
    std::function<void()> act;
    std::string wav;
    bool pathEnabled;
  } steps[] = {
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
  for (const auto& step : steps) {
    step.act();
    EXPECT_EQ(row.Wav, step.wav);
    EXPECT_EQ(d.txtWav.Enabled(), step.pathEnabled) << step.wav;
    EXPECT_EQ(d.cmdBrwWav.Enabled(), step.pathEnabled) << step.wav;
  }
  dialogs.QueueFile("/home/me/left.bmp");
  d.cmdBrwPic.Press();
  EXPECT_EQ(row.Picture, "/home/me/left.bmp");
  ASSERT_EQ(dialogs.FileRequests().size(), 2u);
  EXPECT_EQ(dialogs.FileRequests()[0].filter, "Wav Files (*.wav)|*.wav");
  EXPECT_TRUE(dialogs.FileRequests()[1].filter.starts_with(
      "Picture Files|*.bmp;*.gif;*.jpg;*.wmf;*.ico;*.cur|"));
  d.lstItems.SetListIndex(4);  // another row leaves this one as it is
  EXPECT_EQ(row.Wav, "/home/me/left.wav");
}

TEST_F(Options, CloseWarnsOfReCalculationUntilSuppressedAndSavesTheSettings) {
  const std::string notice =
      "FYI: Auto route recalculation may not always works if the map or GPS is not accurate or "
      "when the thresholds value is set too low. (press CANCEL to surpress this msg in the future)";
  const struct {
    bool recalc;
    MsgBoxResult answer;
    std::vector<std::string> prompts;
    std::string suppressed;
  } cases[] = {
      {false, MsgBoxResult::Ok, {}, ""},
      {true, MsgBoxResult::Ok, {notice}, ""},
      {true, MsgBoxResult::Cancel, {notice}, "True"},
      {true, MsgBoxResult::Ok, {}, "True"},
  };
  for (const auto& c : cases) {
    setup.bgGuideAutoRecalcOn = c.recalc;
    frmGuidanceOpt& d = Open();
    d.hsHideTime.SetValue(77);
    dialogs.Forget();
    if (!c.prompts.empty()) dialogs.QueueAnswer(c.answer);
    d.cmdOK.Press();
    EXPECT_FALSE(d.IsLoaded());
    EXPECT_EQ(dialogs.Prompts(), c.prompts);
    EXPECT_EQ(store.GetSetting(kGuideSection, kNotWarnAutoRecalcKey, ""), c.suppressed);
    MMSetup reread("/opt/orvo/data", {});
    reread.LoadGuidanceSettings(settings::SettingsStore(folder.Path() / "ORVO.ini"));
    EXPECT_EQ(reread.lgGuideHide, 77);
  }
}

TEST_F(Options, AbbreviationManagerMessage) {
  frmGuidanceOpt& d = Open();
  dialogs.Forget();
  d.cmdAbbrv.Press();
  ASSERT_EQ(dialogs.Messages().size(), 1u);
  EXPECT_EQ(dialogs.Messages()[0].title, "Abbreviation Manager");
  EXPECT_EQ(dialogs.Messages()[0].prompt,
            "Abbreviation manager UI is not available yet.  Please use Notepad to modify the file "
            "/opt/orvo/data\\phraselogy.ini  for the TTS driving direction abbreviation "
            "conversion.");
}

}  // namespace
}  // namespace orvo::guidance
