#pragma once
// "Driving Assistant Options": edits the guidance settings in place, each control writing its
// setting at once; the settings are saved when the dialog closes. Distances are in the host's
// unit, speeds in km/h or mph (stored in knots), times in seconds (stored in hours).
#include <functional>
#include <memory>
#include <string>

#include "guidance/MMSetup.hpp"
#include "host/speech/Speech.hpp"
#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"

namespace orvo::guidance {

class frmGuidanceOpt final : public host::ui::Window {
 public:
  static constexpr double kKmhPerKnot = 1.852;
  static constexpr double kMphPerKnot = 1.1507794;
  static constexpr int kSecondsPerHour = 3600;
  static constexpr const char* kSampleSentence =
      "In 300 metres, turn left onto Boulevard Albert 1er.";

  // KILOMETRES tells whether the host measures in kilometres (else miles); SPEECH may be null.
  frmGuidanceOpt(host::ui::Desktop& desktop, MMSetup& setup, settings::SettingsStore& store,
                 host::speech::SpeechEngine* speech, std::function<bool()> kilometres);
  ~frmGuidanceOpt() override;

  // cmdGuideOpt: shows the dialog in the middle of the page.
  void Start();

  host::ui::TabControl sstabMain;
  // Warning
  host::ui::Frame fmGuideMethod;
  host::ui::ControlArray<host::ui::OptionButton> optGuideMethod;
  host::ui::Frame fmGuideDist;
  host::ui::Frame fmGuideETA;
  host::ui::ControlArray<host::ui::Label> lblCaption;
  host::ui::ScrollBar hsGuideLowDist;
  host::ui::Label lblGuideLowDist;
  host::ui::ScrollBar hsGuideHiDist;
  host::ui::Label lblGuideHiDist;
  host::ui::ScrollBar hsGuideLoSec;
  host::ui::Label lblGuideLoSec;
  host::ui::ScrollBar hsGuideHiSec;
  host::ui::Label lblGuideHiSec;
  host::ui::ScrollBar hsGuideHighSpeed;
  host::ui::Label lblGuideHighSpeed;
  // Route
  host::ui::CheckBox chkAutoRecalc;
  host::ui::ScrollBar hsGuideRerouteThreshold;
  host::ui::Label lblGuideRerouteThreshold;
  host::ui::CheckBox chkSkip1stWp;
  host::ui::ComboBox cboRouteCalc;
  // Voice
  host::ui::CheckBox chkGuideEnableTTS;
  host::ui::ComboBox cboGuideTTSVoice;
  host::ui::ScrollBar hsHideTime;
  host::ui::Label lblHideTime;
  host::ui::Button cmdAbbrv;
  // Sounds and pictures
  host::ui::ComboBox cboType;
  host::ui::ListBox lstItems;
  host::ui::Label lblDesc;
  host::ui::TextBox txtWav;
  host::ui::Button cmdBrwWav;
  host::ui::CheckBox chkWavDefault;
  host::ui::CheckBox chkWavMute;
  host::ui::TextBox txtPic;
  host::ui::Button cmdBrwPic;
  host::ui::Label lblNote;

  host::ui::Button cmdResetAll;
  host::ui::Button cmdOK;

 protected:
  void OnLoad() override;
  void OnUnload() override;

 private:
  void Layout();
  void LayoutTypes();
  void Wire();
  void WireTypes();
  void FillVoices();
  void ShowSettings();
  void ShowMethod();
  void ShowTable();
  void ShowRow();
  void ApplyWavChoice();
  GuidanceTypeEntry* SelectedRow();
  std::string Number(double value) const;
  std::string DistanceUnit() const;
  bool Kilometres() const;
  void SpeakSample();
  void Close();

  MMSetup& setup_;
  settings::SettingsStore& store_;
  host::speech::SpeechEngine* speech_;
  std::function<bool()> kilometres_;
  // Controls being set from the settings: their handlers show, and do not speak or store rows.
  bool showing_ = false;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace orvo::guidance
