#include "guidance/frmGuidanceOpt.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <system_error>

#include "guidance/GuideAudio.hpp"
#include "host/platform/NumberFormat.hpp"
#include "host/platform/Text.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::guidance {
namespace {

using host::ui::ScrollBar;
constexpr auto kHorizontal = ScrollBar::Orientation::Horizontal;

// Sets a bar from a setting; an unchanged value still runs its Change, so the label follows.
void ShowOnBar(ScrollBar& bar, double value) {
  const int wanted = std::clamp(static_cast<int>(std::lround(value)), bar.Min(), bar.Max());
  if (bar.Value() == wanted) {
    if (bar.onChange) bar.onChange();
  } else {
    bar.SetValue(wanted);
  }
}

}  // namespace

frmGuidanceOpt::frmGuidanceOpt(host::ui::Desktop& desktop, MMSetup& setup,
                               settings::SettingsStore& store, host::speech::SpeechEngine* speech,
                               std::function<bool()> kilometres)
    : Window(desktop, "frmGuidanceOpt", "Driving Assistant Options", 430, 372),
      sstabMain(*this, "sstabMain", {"Warning", "Route", "Voice", "Sounds and Pictures"}),
      fmGuideMethod(*this, "fmGuideMethod"),
      optGuideMethod(*this, "optGuideMethod", 2),
      fmGuideDist(*this, "fmGuideDist"),
      fmGuideETA(*this, "fmGuideETA"),
      lblCaption(*this, "lblCaption", 10),
      hsGuideLowDist(*this, "hsGuideLowDist", kHorizontal),
      lblGuideLowDist(*this, "lblGuideLowDist"),
      hsGuideHiDist(*this, "hsGuideHiDist", kHorizontal),
      lblGuideHiDist(*this, "lblGuideHiDist"),
      hsGuideLoSec(*this, "hsGuideLoSec", kHorizontal),
      lblGuideLoSec(*this, "lblGuideLoSec"),
      hsGuideHiSec(*this, "hsGuideHiSec", kHorizontal),
      lblGuideHiSec(*this, "lblGuideHiSec"),
      hsGuideHighSpeed(*this, "hsGuideHighSpeed", kHorizontal),
      lblGuideHighSpeed(*this, "lblGuideHighSpeed"),
      chkAutoRecalc(*this, "chkAutoRecalc"),
      hsGuideRerouteThreshold(*this, "hsGuideRerouteThreshold", kHorizontal),
      lblGuideRerouteThreshold(*this, "lblGuideRerouteThreshold"),
      chkSkip1stWp(*this, "chkSkip1stWp"),
      cboRouteCalc(*this, "cboRouteCalc"),
      chkGuideEnableTTS(*this, "chkGuideEnableTTS"),
      cboGuideTTSVoice(*this, "cboGuideTTSVoice"),
      hsHideTime(*this, "hsHideTime", kHorizontal),
      lblHideTime(*this, "lblHideTime"),
      cmdAbbrv(*this, "cmdAbbrv"),
      cboType(*this, "cboType"),
      lstItems(*this, "lstItems"),
      lblDesc(*this, "lblDesc"),
      txtWav(*this, "txtWav"),
      cmdBrwWav(*this, "cmdBrwWav"),
      chkWavDefault(*this, "chkWavDefault"),
      chkWavMute(*this, "chkWavMute"),
      txtPic(*this, "txtPic"),
      cmdBrwPic(*this, "cmdBrwPic"),
      lblNote(*this, "lblNote"),
      cmdResetAll(*this, "cmdResetAll"),
      cmdOK(*this, "cmdOK"),
      setup_(setup),
      store_(store),
      speech_(speech),
      kilometres_(std::move(kilometres)) {
  Layout();
  LayoutTypes();
  Wire();
  WireTypes();
}

frmGuidanceOpt::~frmGuidanceOpt() {
  *alive_ = false;
}

void frmGuidanceOpt::Layout() {
  sstabMain.Place(120, 120, 6210, 4560);
  const auto onTab = [this](host::ui::Control& control, int tab, int left, int top, int width,
                            int height) {
    control.SetContainer(sstabMain, tab);
    control.Place(left, top, width, height);
  };
  // Inside a frame, or straight on a tab of the tab control.
  const auto caption = [this](int index, host::ui::Control& container, const char* text, int left,
                              int top, int width, std::optional<int> tab = {}) {
    lblCaption[index].SetContainer(container, tab);
    lblCaption[index].Place(left, top, width, 255);
    lblCaption[index].SetCaption(text);
  };
  const auto bar = [](ScrollBar& scroll, host::ui::Label& label, host::ui::Control& container,
                      int top, int min, int max, int large, std::optional<int> tab = {}) {
    scroll.SetContainer(container, tab);
    scroll.Place(1800, top, 2400, 255);
    scroll.SetRange(min, max);
    scroll.SetChanges(1, large);
    label.SetContainer(container, tab);
    label.Place(4320, top, 1500, 255);
  };

  // Warning
  onTab(fmGuideMethod, 0, 120, 480, 5940, 660);
  fmGuideMethod.SetCaption("Warning based on");
  const char* methods[] = {"Distance", "Time"};
  for (int index = 0; index < 2; ++index) {
    optGuideMethod[index].SetContainer(fmGuideMethod);
    optGuideMethod[index].Place(240 + index * 1800, 270, 1600, 285);
    optGuideMethod[index].SetCaption(methods[index]);
  }
  onTab(fmGuideDist, 0, 120, 1260, 5940, 1020);
  fmGuideDist.SetCaption("Warning distance");
  caption(0, fmGuideDist, "Lo speed warning", 120, 300, 1620);
  bar(hsGuideLowDist, lblGuideLowDist, fmGuideDist, 300, 1, 500, 10);
  caption(1, fmGuideDist, "Hi speed warning", 120, 630, 1620);
  bar(hsGuideHiDist, lblGuideHiDist, fmGuideDist, 630, 1, 500, 10);
  onTab(fmGuideETA, 0, 120, 1260, 5940, 1020);
  fmGuideETA.SetCaption("Warning time");
  caption(2, fmGuideETA, "Lo speed warning", 120, 300, 1620);
  bar(hsGuideLoSec, lblGuideLoSec, fmGuideETA, 300, 1, 300, 10);
  caption(3, fmGuideETA, "Hi speed warning", 120, 630, 1620);
  bar(hsGuideHiSec, lblGuideHiSec, fmGuideETA, 630, 1, 300, 10);
  caption(4, sstabMain, "Hi speed over", 240, 2520, 1620, 0);
  bar(hsGuideHighSpeed, lblGuideHighSpeed, sstabMain, 2520, 10, 250, 10, 0);

  // Route
  onTab(chkAutoRecalc, 1, 240, 540, 5700, 285);
  chkAutoRecalc.SetCaption("Re-calculate when position is off over");
  bar(hsGuideRerouteThreshold, lblGuideRerouteThreshold, sstabMain, 900, 1, 500, 10, 1);
  onTab(chkSkip1stWp, 1, 240, 1380, 5700, 285);
  chkSkip1stWp.SetCaption("Treat starting waypoint a destination");
  caption(5, sstabMain, "Route calculation", 240, 1860, 1620, 1);
  onTab(cboRouteCalc, 1, 1920, 1830, 2400, 315);
  for (const char* choice : {"Quickest", "Shortest", "Preferred"}) cboRouteCalc.AddItem(choice);

  // Voice
  onTab(chkGuideEnableTTS, 2, 240, 540, 5700, 285);
  chkGuideEnableTTS.SetCaption("Enable Text to speech");
  caption(6, sstabMain, "Voice", 240, 960, 1500, 2);
  onTab(cboGuideTTSVoice, 2, 1800, 930, 4200, 315);
  caption(7, sstabMain, "Hide guidence window after", 240, 1500, 3000, 2);
  bar(hsHideTime, lblHideTime, sstabMain, 1800, 0, 300, 10, 2);
  onTab(cmdAbbrv, 2, 240, 2400, 1500, 375);
  cmdAbbrv.SetCaption("Abbrv Mgr");

  cmdResetAll.Place(120, 4860, 2100, 375);
  cmdResetAll.SetCaption("Reset all to default");
  cmdOK.Place(4830, 4860, 1500, 375);
  cmdOK.SetCaption("Close");
}

std::string frmGuidanceOpt::Number(double value) const {
  host::platform::NumberLocale locale;
  locale.decimalSeparator = setup_.DecimalSeparator();
  return host::platform::FormatGeneralNumber(value, locale);
}

bool frmGuidanceOpt::Kilometres() const {
  return kilometres_ && kilometres_();
}

std::string frmGuidanceOpt::DistanceUnit() const {
  return Kilometres() ? " km" : " mi";
}

void frmGuidanceOpt::Wire() {
  optGuideMethod[0].onClick = [this] {
    if (!optGuideMethod[0].Value()) return;
    setup_.bgGuideUsingDist = true;
    ShowMethod();
  };
  optGuideMethod[1].onClick = [this] {
    if (!optGuideMethod[1].Value()) return;
    setup_.bgGuideUsingDist = false;
    ShowMethod();
  };
  const auto distance = [this](ScrollBar& bar, host::ui::Label& label, double& setting) {
    bar.onChange = [this, &bar, &label, &setting] {
      setting = bar.Value() / 100.0;
      label.SetCaption(Number(setting) + DistanceUnit());
    };
  };
  distance(hsGuideLowDist, lblGuideLowDist, setup_.dgGuideLowDist);
  distance(hsGuideHiDist, lblGuideHiDist, setup_.dgGuideHiDist);
  distance(hsGuideRerouteThreshold, lblGuideRerouteThreshold, setup_.dgGuideAutoRecalcThreshold);
  const auto seconds = [this](ScrollBar& bar, host::ui::Label& label, double& setting) {
    bar.onChange = [&bar, &label, &setting] {
      setting = static_cast<double>(bar.Value()) / kSecondsPerHour;
      label.SetCaption(std::to_string(bar.Value()) + " seconds.");
    };
  };
  seconds(hsGuideLoSec, lblGuideLoSec, setup_.dgGuideLoHour);
  seconds(hsGuideHiSec, lblGuideHiSec, setup_.dgGuideHiHour);
  hsGuideHighSpeed.onChange = [this] {
    const bool km = Kilometres();
    setup_.dgGuideHiKnot = hsGuideHighSpeed.Value() / (km ? kKmhPerKnot : kMphPerKnot);
    lblGuideHighSpeed.SetCaption(std::to_string(hsGuideHighSpeed.Value()) + (km ? " KmH" : " MPH"));
  };
  chkAutoRecalc.onClick = [this] { setup_.bgGuideAutoRecalcOn = chkAutoRecalc.Value() == 1; };
  // Ticked keeps the start as a target: the setting says the opposite.
  chkSkip1stWp.onClick = [this] { setup_.gbGMSkip1stWp = chkSkip1stWp.Value() != 1; };
  cboRouteCalc.onClick = [this] {
    if (cboRouteCalc.ListIndex() >= 0)
      setup_.giRouteCalc = static_cast<std::int16_t>(cboRouteCalc.ListIndex());
  };
  chkGuideEnableTTS.onClick = [this] { setup_.bgGuideTTS = chkGuideEnableTTS.Value() == 1; };
  cboGuideTTSVoice.onClick = [this] {
    if (cboGuideTTSVoice.ListIndex() < 0) return;
    setup_.lgGuideTTSVoice = cboGuideTTSVoice.ListIndex();
    if (!showing_) SpeakSample();
  };
  hsHideTime.onChange = [this] {
    setup_.lgGuideHide = hsHideTime.Value();
    lblHideTime.SetCaption(hsHideTime.Value() == 0
                               ? std::string("Not hide.")
                               : std::to_string(hsHideTime.Value()) + " seconds.");
  };
  cmdAbbrv.onClick = [this] {
    GetDesktop().MsgBox(
        "Abbreviation manager UI is not available yet.  Please use Notepad to modify the file " +
            setup_.AppFolder().string() + "\\phraselogy.ini " +
            " for the TTS driving direction abbreviation conversion.",
        host::ui::MsgBoxButtons::OkOnly, "Abbreviation Manager");
  };
  cmdResetAll.onClick = [this] {
    setup_.ResetGuidanceDefaults();
    ShowSettings();
  };
  cmdOK.onClick = [this] { Close(); };
}

void frmGuidanceOpt::Start() {
  const auto viewport = GetDesktop().Viewport();
  Move(std::max(0, (viewport.width - Width()) / 2), std::max(0, (viewport.height - Height()) / 4));
  Show();
  BringToFront();
}

void frmGuidanceOpt::OnLoad() {
  FillVoices();
  ShowSettings();
}

void frmGuidanceOpt::FillVoices() {
  cboGuideTTSVoice.Clear();
  if (speech_ == nullptr || speech_->GetVoices().empty()) {
    GetDesktop().MsgBox("Please install Microsoft Speech SDK 5 or run under Windows XP");
    setup_.bgGuideTTS = false;
    return;
  }
  for (const host::speech::Voice& voice : speech_->GetVoices())
    cboGuideTTSVoice.AddItem(voice.name);
}

void frmGuidanceOpt::ShowSettings() {
  showing_ = true;
  optGuideMethod[setup_.bgGuideUsingDist ? 0 : 1].SetValue(true);
  ShowMethod();
  ShowOnBar(hsGuideLowDist, setup_.dgGuideLowDist * 100);
  ShowOnBar(hsGuideHiDist, setup_.dgGuideHiDist * 100);
  ShowOnBar(hsGuideHighSpeed, setup_.dgGuideHiKnot * (Kilometres() ? kKmhPerKnot : kMphPerKnot));
  ShowOnBar(hsGuideLoSec, setup_.dgGuideLoHour * kSecondsPerHour);
  ShowOnBar(hsGuideHiSec, setup_.dgGuideHiHour * kSecondsPerHour);
  chkAutoRecalc.SetValue(setup_.bgGuideAutoRecalcOn ? 1 : 0);
  ShowOnBar(hsGuideRerouteThreshold, setup_.dgGuideAutoRecalcThreshold * 100);
  chkSkip1stWp.SetValue(setup_.gbGMSkip1stWp ? 0 : 1);
  cboRouteCalc.SetListIndex(setup_.giRouteCalc);
  chkGuideEnableTTS.SetValue(setup_.bgGuideTTS ? 1 : 0);
  cboGuideTTSVoice.SetListIndex(setup_.lgGuideTTSVoice);
  ShowOnBar(hsHideTime, setup_.lgGuideHide);
  ShowTable();
  showing_ = false;
}

void frmGuidanceOpt::ShowMethod() {
  fmGuideDist.SetVisible(setup_.bgGuideUsingDist);
  fmGuideETA.SetVisible(!setup_.bgGuideUsingDist);
}

void frmGuidanceOpt::SpeakSample() {
  if (speech_ == nullptr) return;
  SpeakOnPage(*speech_, GetDesktop(), setup_.ApplyAbbreviations(kSampleSentence),
              static_cast<std::size_t>(setup_.lgGuideTTSVoice),
              [alive = std::weak_ptr<bool>(alive_)] { return !alive.expired(); });
}

void frmGuidanceOpt::Close() {
  if (setup_.bgGuideAutoRecalcOn) {
    const auto quiet = store_.Find(kGuideSection, kNotWarnAutoRecalcKey);
    const bool suppressed = quiet && host::platform::ToLowerAscii(*quiet) == "true";
    if (!suppressed &&
        GetDesktop().MsgBox("FYI: Auto route recalculation may not always works if the map or "
                            "GPS is not accurate or when the thresholds value is set too low. "
                            "(press CANCEL to surpress this msg in the future)",
                            host::ui::MsgBoxButtons::OkCancel) == host::ui::MsgBoxResult::Cancel)
      store_.SaveSetting(kGuideSection, kNotWarnAutoRecalcKey, "True");
  }
  Unload();
}

void frmGuidanceOpt::OnUnload() {
  try {
    setup_.SaveGuidanceSettings(store_);
  } catch (const std::system_error& error) {
    GetDesktop().MsgBox(std::string("The guidance settings could not be saved: ") + error.what());
  }
}

}  // namespace orvo::guidance
