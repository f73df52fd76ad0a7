// Every main function by a single key, for a driver who cannot take a hand off the wheel for long.
#include "addin/frmAddIn.hpp"
#include "addin/frmShortKeyFlash.hpp"

namespace orvo::addin {
namespace {

// Windows virtual-key codes of the command table.
enum Key : int {
  kPageUp = 33,
  kPageDown = 34,
  k1 = 49,
  k2 = 50,
  k3 = 51,
  k4 = 52,
  kA = 65,
  kC = 67,
  kG = 71,
  kI = 73,
  kK = 75,
  kL = 76,
  kN = 78,
  kO = 79,
  kP = 80,
  kR = 82,
  kS = 83,
  kT = 84,
  kX = 88,
  kZ = 90,
  kKeypadPlus = 107,
  kKeypadMinus = 109,
  kF5 = 116,
  kF7 = 118,
  kEqualsPlus = 187,
  kCommaLess = 188,
  kMinusUnderscore = 189,
  kPeriodGreater = 190,
};

constexpr int kLowestKey = 33;
constexpr int kHighestKey = 190;

void Toggle(host::ui::CheckBox& box) {
  box.SetValue(box.Value() == 0 ? 1 : 0);
}

}  // namespace

void frmAddIn::OnKeyUp(int keyCode, int shift) {
  HandleShortKey(keyCode, shift);
}

void frmAddIn::FlashKey(std::string featureName, std::string stateText) {
  if (!flash_) flash_ = std::make_unique<frmShortKeyFlash>(services_.desktop);
  flash_->Log(std::move(featureName), std::move(stateText));
}

void frmAddIn::FlashOnOff(std::string featureName, const host::ui::CheckBox& box) {
  FlashKey(std::move(featureName), box.Value() == 1 ? "ON" : "OFF");
}

// The shift state is passed on but unused: every command works with or without Shift, Ctrl, Alt.
void frmAddIn::HandleShortKey(int keyCode, int /*shift*/) {
  if (textEntryActive_ || keyCode < kLowestKey || keyCode > kHighestKey) return;

  const auto flashTrackFactor = [this] {
    const int value = sclTrackFactor.Value();
    FlashKey("Track Refresh", value >= 1 ? std::to_string(value) : "AUTO");
  };
  const auto flashRefreshRate = [this] {
    const int value = sclRefreshRate.Value();
    FlashKey("GPS Refresh", value >= 1 ? std::to_string(value) + " sec" : " AUTO ");
  };

  switch (keyCode) {
    case kPageUp:
      return guidance_->GuidanceStep(-1);
    case kPageDown:
      return guidance_->GuidanceStep(+1);
    case k1:
    case kT:
      return SSTab.SetTab(kTabTracking);
    case k2:
    case kA:
      return SSTab.SetTab(kTabSatellite);
    case k3:
    case kO:
      return SSTab.SetTab(kTabOptions);
    case k4:
    case kS:
      return SSTab.SetTab(kTabSettings);
    case kC:
      if (mnuCompassLocate.Enabled()) mapActions_->LocateCurrentPosition();
      return;
    case kG:
      if (!receiver.cmdGPSAction.Enabled()) return;
      receiver.cmdGPSAction.Press();
      return FlashKey("GPS", receiver.GpsRunning() ? "Started" : "Stoped");
    case kI:
      Toggle(chkTrail);
      return FlashOnOff("Plot Trail", chkTrail);
    case kK:
      Toggle(chkTrkOnMap);
      FlashOnOff("Track Position", chkTrkOnMap);
      if (chkTrkOnMap.onClick) chkTrkOnMap.onClick();
      return;
    case kL:
      return cmdClearTrail.Press();
    case kN:
      Toggle(chkAlwaysTop);
      FlashOnOff("Always on Top", chkAlwaysTop);
      if (chkAlwaysTop.onClick) chkAlwaysTop.onClick();
      return;
    case kP:
      if (mnuCompassPushAPin.Enabled()) mapActions_->PushPinHere();
      return;
    case kR:
      if (!tmrDoubleClick.TimerEnabled()) {
        tmrDoubleClick.SetTimerEnabled(true);
        return;
      }
      tmrDoubleClick.SetTimerEnabled(false);
      {
        bool& offTrackRecalc = guidance_->State().offTrackRecalc;
        offTrackRecalc = !offTrackRecalc;
        guidance_->UpdateAutoRecalc();
        return FlashKey("Off-track re-calc", offTrackRecalc ? "ON" : "OFF");
      }
    case kX:
      return mapActions_->ZoomMap(-1);
    case kZ:
      return mapActions_->ZoomMap(+1);
    case kKeypadPlus:
    case kEqualsPlus:
      if (chkTrkOnMap.Value() == 1 && sclTrackFactor.Value() < sclTrackFactor.Max())
        sclTrackFactor.SetValue(sclTrackFactor.Value() + 1);
      return flashTrackFactor();
    case kKeypadMinus:
    case kMinusUnderscore:
      if (chkTrkOnMap.Value() == 1 && sclTrackFactor.Value() > sclTrackFactor.Min())
        sclTrackFactor.SetValue(sclTrackFactor.Value() - 1);
      return flashTrackFactor();
    case kF5:
      Toggle(receiver.chkRecord);
      if (receiver.chkRecord.onClick) receiver.chkRecord.onClick();
      return FlashOnOff("NMEA Capture", receiver.chkRecord);
    case kF7:
      Toggle(chkGuidance);
      if (chkGuidance.onClick) chkGuidance.onClick();
      return FlashOnOff("Driving Assistant", chkGuidance);
    case kCommaLess:
      if (sclRefreshRate.Value() > sclRefreshRate.Min())
        sclRefreshRate.SetValue(sclRefreshRate.Value() - 1);
      return flashRefreshRate();
    case kPeriodGreater:
      if (sclRefreshRate.Value() < sclRefreshRate.Max())
        sclRefreshRate.SetValue(sclRefreshRate.Value() + 1);
      return flashRefreshRate();
    default:
      return;
  }
}

}  // namespace orvo::addin
