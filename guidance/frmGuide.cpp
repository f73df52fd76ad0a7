#include "guidance/frmGuide.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "guidance/GuideAudio.hpp"
#include "guidance/GuideSounds.hpp"
#include "host/platform/DateValue.hpp"
#include "host/platform/NumberFormat.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::guidance {
namespace {

constexpr int kKeyEnter = 13;
constexpr int kKeySpace = 32;
constexpr double kSecondsPerDay = 86400;
constexpr double kArrived = 0.005;

}  // namespace

frmGuide::frmGuide(host::ui::Desktop& desktop, MMSetup& setup, settings::SettingsStore& store,
                   GuideLinks links)
    : Window(desktop, "frmGuide", "Driving Assistant", kGuideWidth, 166),
      Frame1(*this, "Frame1"),
      imgAct(*this, "imgAct"),
      lblInstruction(*this, "lblInstruction"),
      Label1(*this, "Label1", 3),
      lblApproachDist(*this, "lblApproachDist"),
      lblNextTurnDist(*this, "lblNextTurnDist"),
      lblEstArriveTime(*this, "lblEstArriveTime"),
      lblHelpText(*this, "lblHelpText"),
      Timer1(*this, "Timer1", desktop.GetScheduler()),
      TimerExpireDisplay(*this, "TimerExpireDisplay", desktop.GetScheduler()),
      setup_(setup),
      links_(std::move(links)),
      placement_(*this, store,
                 [this](host::ui::ViewportPixels viewport) {
                   return settings::FormPlacement::Point(
                       std::max(0, viewport.width - kMainWindowBand - Width()), 12);
                 }),
      self_(std::make_shared<frmGuide*>(this)) {
  SetBorderless(true);
  SetTopMost(true);
  Frame1.Place(0, 0, 4950, 2490);
  imgAct.Place(120, 120, 720, 720);
  lblInstruction.Place(960, 120, 3870, 780);
  lblInstruction.SetStyle("bold", true);
  const char* captions[] = {"Approach Distance", "Next Turn Distance", "Estimated Arrival"};
  host::ui::Label* values[] = {&lblApproachDist, &lblNextTurnDist, &lblEstArriveTime};
  for (int row = 0; row < 3; ++row) {
    Label1[row].Place(120, 960 + row * 270, 1740, 255);
    Label1[row].SetCaption(captions[row]);
    values[row]->Place(1920, 960 + row * 270, 2910, 255);
  }
  lblHelpText.Place(120, 1800, 4710, 510);
  Timer1.SetTimerEnabled(false);
  TimerExpireDisplay.SetTimerEnabled(false);  // runs from each load

  Timer1.onTimer = [this] { Close(); };
  TimerExpireDisplay.onTimer = [this] {
    announceHold = false;
    TimerExpireDisplay.SetTimerEnabled(false);
  };
  host::ui::Control* draggable[] = {
      &Frame1,          &imgAct,         &Label1[0],       &Label1[1],        &Label1[2],
      &lblApproachDist, &lblInstruction, &lblNextTurnDist, &lblEstArriveTime, &lblHelpText};
  for (host::ui::Control* control : draggable) Drag(*control);
}

frmGuide::~frmGuide() {
  *self_ = nullptr;
}

void frmGuide::Drag(host::ui::Control& control) {
  control.onDoubleClick = [this] { Close(); };
  control.onMouseDown = [this](const host::ui::MouseEvent& event) {
    dragging_ = true;
    dragX_ = static_cast<int>(event.x);
    dragY_ = static_cast<int>(event.y);
  };
  control.onMouseMove = [this](const host::ui::MouseEvent& event) {
    if (!dragging_) return;
    const int dx = (static_cast<int>(event.x) - dragX_) / host::ui::kTwipsPerPixel;
    const int dy = (static_cast<int>(event.y) - dragY_) / host::ui::kTwipsPerPixel;
    if (dx != 0 || dy != 0) Move(Left() + dx, Top() + dy);
  };
  control.onMouseUp = [this](const host::ui::MouseEvent&) { dragging_ = false; };
}

void frmGuide::OnLoad() {
  guideShown = true;
  // Each showing starts with a hold timer of five seconds, as the window was designed.
  TimerExpireDisplay.SetInterval(kDesignHoldMs);
  TimerExpireDisplay.SetTimerEnabled(true);
  const bool speaking = links_.speech != nullptr && setup_.bgGuideTTS;
  lblHelpText.SetCaption(std::string(speaking ? "Press SPACE to repeat the direction." : "") +
                         "\nDouble-click or press ENTER to close the window.");
  placement_.LoadFormLoc();
  if (setup_.lgGuideHide > 0) {
    Timer1.SetInterval(setup_.lgGuideHide * 1000);
    Timer1.SetTimerEnabled(true);
  }
}

void frmGuide::OnUnload() {
  guideShown = false;
  announceHold = false;
  dragging_ = false;
  TimerExpireDisplay.SetTimerEnabled(false);
  Timer1.SetTimerEnabled(false);
  placement_.SaveFormLoc();
  // The speech of a closed window stops with it.
  GetDesktop().Publish(SpeechMessage({}));
}

void frmGuide::Close() {
  Unload();
}

void frmGuide::OnKeyUp(int keyCode, int shift) {
  if (keyCode == kKeyEnter) {
    Close();
  } else if (keyCode == kKeySpace) {
    SpeakDirection();
  } else if (links_.forwardKey) {
    links_.forwardKey(keyCode, shift);
  }
}

int frmGuide::HoldMs(double secsUntil) {
  const double ms = std::round(secsUntil * 1020);
  if (!(ms >= kMinHoldMs)) return kMinHoldMs;  // NaN too
  return ms > kMaxHoldMs ? kMaxHoldMs : static_cast<int>(ms);
}

void frmGuide::Play(const std::vector<std::string>& files) {
  std::vector<std::string> addresses;
  addresses.reserve(files.size());
  for (const std::string& file : files) addresses.push_back(SoundAddress(setup_.AppFolder(), file));
  if (!addresses.empty()) GetDesktop().Publish(SoundMessage(std::move(addresses)));
}

void frmGuide::ShowPicture(const std::string& file) {
  imgAct.SetPicture(PictureValue(setup_.AppFolder(), file));
}

void frmGuide::SetInstruct(const host::map::Direction* direction, double time,
                           const std::string& text, std::int32_t secsBetween, double secsUntil) {
  if (direction == nullptr) {
    lblInstruction.SetCaption(text.empty() ? "Guidance Stopped" : text);
    lblApproachDist.SetCaption("0.0" + distUnitText_);
    lblNextTurnDist.SetCaption("0.0" + distUnitText_);
    segmentLength_ = 0;
    instructTime_ = 0;
    lblEstArriveTime.SetCaption("");
    ShowPicture(setup_.ActionTypeTable[0].Picture);
    Play({(setup_.AppFolder() / kDefaultSound).string()});
    TimerExpireDisplay.SetInterval(kMinHoldMs);
    TimerExpireDisplay.SetTimerEnabled(true);
    return;
  }
  secsBetween_ = secsBetween;
  segmentLength_ = direction->distance;
  instructTime_ = time;
  directionTime_ = direction->timeSeconds / kSecondsPerDay;
  distUnitText_ = links_.kilometres && links_.kilometres() ? " Km" : " Mi";
  lblInstruction.SetCaption(direction->target.empty()
                                ? direction->text
                                : direction->text + " toward " + direction->target);
  const auto action = static_cast<long>(direction->action);
  std::vector<SoundToPlay> sounds;
  try {
    ShowPicture(ActionPicture(setup_, action));
    sounds = AnnouncementSounds(setup_, static_cast<long>(direction->type), action);
  } catch (const std::out_of_range&) {
    return;  // an action the tables do not know ends the announcement here
  }
  std::vector<std::string> files;
  files.reserve(sounds.size());
  for (const SoundToPlay& sound : sounds) files.push_back(sound.file);
  Play(files);
  TimerExpireDisplay.SetTimerEnabled(false);
  TimerExpireDisplay.SetInterval(HoldMs(secsUntil));
  TimerExpireDisplay.SetTimerEnabled(true);
  announceHold = true;
  SpeakDirection();
}

void frmGuide::UpdateDistance(double approachDist, double nextTurnDist) {
  lblApproachDist.SetCaption(host::platform::FormatNumber(approachDist, "0.00") + distUnitText_);
  lblNextTurnDist.SetCaption(host::platform::FormatNumber(nextTurnDist, "0.00") + distUnitText_);
  if (segmentLength_ > 0 && segmentLength_ > nextTurnDist) {
    const double fraction = (segmentLength_ - nextTurnDist) / segmentLength_;
    const double estimate = directionTime_ + fraction * secsBetween_ / kSecondsPerDay -
                            (links_.baseTime + instructTime_);
    try {
      lblEstArriveTime.SetCaption(
          host::platform::DateValue(estimate).Format("yyyy/m/d h:mm:ss AMPM"));
    } catch (const std::exception&) {
      // a date out of the calendar's range leaves the last estimate
    }
  }
  if (announceHold && approachDist < kArrived) announceHold = false;
}

void frmGuide::SpeakDirection() {
  if (links_.speech == nullptr || !IsLoaded() || !setup_.bgGuideTTS) return;
  SpeakOnPage(*links_.speech, GetDesktop(), setup_.ApplyAbbreviations(lblInstruction.Caption()),
              static_cast<std::size_t>(setup_.lgGuideTTSVoice),
              [self = std::weak_ptr<frmGuide*>(self_)] {
                const auto window = self.lock();
                return window && *window != nullptr && (*window)->IsLoaded();
              });
}

}  // namespace orvo::guidance
