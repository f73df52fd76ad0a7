#include <gtest/gtest.h>

#include <tuple>

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
  using O = frmGuidanceOpt;
  const struct {
    bool km;
    host::ui::ScrollBar O::*bar;
    int value;
    host::ui::Label O::*label;
    std::string shown;
    double MMSetup::*setting;  // none: the hide time, checked below
    double stored;
  } cases[] = {
      {true, &O::hsGuideLowDist, 5, &O::lblGuideLowDist, "0.05 km", &MMSetup::dgGuideLowDist, 0.05},
      {false, &O::hsGuideHiDist, 125, &O::lblGuideHiDist, "1.25 mi", &MMSetup::dgGuideHiDist, 1.25},
      {false, &O::hsGuideHighSpeed, 40, &O::lblGuideHighSpeed, "40 MPH", &MMSetup::dgGuideHiKnot,
       40 / O::kMphPerKnot},
      {true, &O::hsGuideHighSpeed, 90, &O::lblGuideHighSpeed, "90 KmH", &MMSetup::dgGuideHiKnot,
       90 / O::kKmhPerKnot},
      {true, &O::hsGuideLoSec, 18, &O::lblGuideLoSec, "18 seconds.", &MMSetup::dgGuideLoHour,
       0.005},
      {true, &O::hsGuideHiSec, 36, &O::lblGuideHiSec, "36 seconds.", &MMSetup::dgGuideHiHour, 0.01},
      {true, &O::hsGuideRerouteThreshold, 12, &O::lblGuideRerouteThreshold, "0.12 km",
       &MMSetup::dgGuideAutoRecalcThreshold, 0.12},
      {true, &O::hsHideTime, 0, &O::lblHideTime, "Not hide.", nullptr, 0},
      {true, &O::hsHideTime, 45, &O::lblHideTime, "45 seconds.", nullptr, 0},
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
  EXPECT_EQ(dialogs.FileRequests().size(), 2u);
  d.lstItems.SetListIndex(4);  // another row leaves this one as it is
  EXPECT_EQ(row.Wav, "/home/me/left.wav");
}

TEST_F(Options, CloseWarnsOfReCalculationUntilSuppressedAndSavesTheSettings) {
  const struct {
    bool recalc;
    MsgBoxResult answer;
    std::size_t prompts;
    std::string suppressed;
  } cases[] = {
      {false, MsgBoxResult::Ok, 0, ""},
      {true, MsgBoxResult::Ok, 1, ""},
      {true, MsgBoxResult::Cancel, 1, "True"},
      {true, MsgBoxResult::Ok, 0, "True"},
  };
  for (const auto& c : cases) {
    setup.bgGuideAutoRecalcOn = c.recalc;
    frmGuidanceOpt& d = Open();
    d.hsHideTime.SetValue(77);
    dialogs.Forget();
    if (c.prompts != 0) dialogs.QueueAnswer(c.answer);
    d.cmdOK.Press();
    EXPECT_FALSE(d.IsLoaded());
    ASSERT_EQ(dialogs.Prompts().size(), c.prompts);
    for (const std::string& prompt : dialogs.Prompts())
      EXPECT_TRUE(prompt.starts_with("FYI: Auto route recalculation")) << prompt;
    EXPECT_EQ(store.GetSetting(kGuideSection, kNotWarnAutoRecalcKey, ""), c.suppressed);
    MMSetup reread("/opt/orvo/data", {});
    reread.LoadGuidanceSettings(settings::SettingsStore(folder.Path() / "ORVO.ini"));
    EXPECT_EQ(reread.lgGuideHide, 77);
  }
}

}  // namespace
}  // namespace orvo::guidance
