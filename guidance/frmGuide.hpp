#pragma once
// "Driving Assistant": the small topmost window that shows the guidance engine's current
// instruction, its picture and distances, announces it with the type tables' sounds and speaks
// it. It has no title bar: the mouse drags it, a double-click or Enter closes it, and it closes
// itself after "lgGuideHide" seconds. Space repeats the instruction; other keys go on to the
// main window.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "guidance/GuideDisplay.hpp"
#include "guidance/MMSetup.hpp"
#include "host/speech/Speech.hpp"
#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::guidance {

// A first start lays the windows out along the page's top, right to left, 12 px apart: the main
// window at the right edge (336 px wide), the guidance window, then the go-to window, which thus
// stays clear of the page's route planner at the top left.
inline constexpr int kFirstStartGap = 12;
inline constexpr int kMainWindowBand = 336 + 2 * kFirstStartGap;
inline constexpr int kGuideWidth = 330;

// What the window needs of its owner besides the desktop, the settings and the store.
struct GuideLinks {
  host::speech::SpeechEngine* speech = nullptr;  // none: the window stays silent
  // The main window's key handler, for the keys the window does not use itself.
  std::function<void(int keyCode, int shift)> forwardKey;
  // True when the host measures in kilometres, else miles.
  std::function<bool()> kilometres;
  // The program-wide date offset of the arrival estimate.
  double baseTime = 0;
};

class frmGuide final : public host::ui::Window, public GuideDisplay {
 public:
  static constexpr int kMinHoldMs = 2000;
  static constexpr int kMaxHoldMs = 65535;
  static constexpr int kDesignHoldMs = 5000;

  frmGuide(host::ui::Desktop& desktop, MMSetup& setup, settings::SettingsStore& store,
           GuideLinks links);
  ~frmGuide() override;

  void SetInstruct(const host::map::Direction* direction, double time, const std::string& text,
                   std::int32_t secsBetween, double secsUntil) override;
  void UpdateDistance(double approachDist, double nextTurnDist) override;
  void SpeakDirection() override;
  void ShowDisplay() override { Show(); }

  // The hold after an announcement: a little longer than the time to reach it, 2 to 65.5 s.
  static int HoldMs(double secsUntil);

  host::ui::Frame Frame1;
  host::ui::Image imgAct;
  host::ui::Label lblInstruction;
  host::ui::ControlArray<host::ui::Label> Label1;
  host::ui::Label lblApproachDist;
  host::ui::Label lblNextTurnDist;
  host::ui::Label lblEstArriveTime;
  host::ui::Label lblHelpText;
  host::ui::Timer Timer1;
  host::ui::Timer TimerExpireDisplay;

 protected:
  void OnLoad() override;
  void OnUnload() override;
  void OnKeyUp(int keyCode, int shift) override;

 private:
  void Play(const std::vector<std::string>& files);
  void ShowPicture(const std::string& file);
  void Close();
  void Drag(host::ui::Control& control);

  MMSetup& setup_;
  GuideLinks links_;
  settings::FormPlacement placement_;
  std::string distUnitText_ = " Mi";
  std::int32_t secsBetween_ = 0;
  double segmentLength_ = 0;
  double instructTime_ = 0;
  double directionTime_ = 0;
  bool dragging_ = false;
  int dragX_ = 0;
  int dragY_ = 0;
  // Speech that comes back after the window has gone is dropped.
  std::shared_ptr<frmGuide*> self_;
};

}  // namespace orvo::guidance
