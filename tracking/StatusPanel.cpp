// The status panel: fix state lamps, the satellite sky plot and list, and the GPS clock.
#include <cmath>

#include "addin/frmAddIn.hpp"
#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::addin {

using host::platform::FormatNumber;
using host::ui::Rgb;

namespace {

const char* const kStateTexts[] = {"No GPS", "Acquiring", "2-D", "3-D"};
const int kStateColors[][3] = {{128, 128, 128}, {255, 0, 0}, {255, 255, 0}, {0, 255, 0}};
const int kStateSymbolOffsets[] = {0, 1, 2, 6};

// The sky plot: zenith at (787, 1117) twips, 5 twips per degree of elevation.
constexpr double kSkyCentreX = 787;
constexpr double kSkyCentreY = 1117;
constexpr double kTwipsPerDegree = 5;
constexpr double kHeadingLineTwips = 400;
constexpr double kPi = 3.14159;
const char* const kSyncHint = "(click to sync the system time)";

int CheckedState(int fixMode) {
  if (fixMode < 0 || fixMode > 3)
    throw std::out_of_range("fix state " + std::to_string(fixMode) + " is not 0 to 3");
  return fixMode;
}

}  // namespace

const char* frmAddIn::StateText(int fixMode) {
  return kStateTexts[CheckedState(fixMode)];
}

std::string frmAddIn::StateColor(int fixMode) {
  const int* color = kStateColors[CheckedState(fixMode)];
  return Rgb(color[0], color[1], color[2]);
}

int frmAddIn::GpsStateSymbolOffset(int fixMode) {
  return kStateSymbolOffsets[CheckedState(fixMode)];
}

void frmAddIn::UpdateTrackTab() {
  try {
    const int state = parser_.Fix().FixMode;
    dwGPSState[0].SetFillColor(StateColor(state));
    lblGPSState[0].SetCaption(StateText(state));
    const bool positioned = state >= gps::kFixMode2D;
    lblLat[0].SetEnabled(positioned);
    lblLng[0].SetEnabled(positioned);
    mnuCompassSyncTime.SetEnabled(state >= gps::kFixModeNoFix);
    ShowGpsTime(0);
    for (const bool isLatitude : {true, false}) {
      const TextWithSuffix position = FormatLatLng(isLatitude);
      (isLatitude ? lblLat[0] : lblLng[0]).SetCaption(position.text + position.suffix);
    }
    ShowSpeed();
    ShowHeading();
    ShowElevation();
  } catch (const std::exception& error) {
    // The rest of this refresh is skipped; the next one tries again.
    LogDiagnostic("UpdateTrackTab", error.what());
  }
}

void frmAddIn::UpdateSatTab() {
  try {
    const gps::GpsFix& fix = parser_.Fix();
    dwGPSState[1].SetFillColor(StateColor(fix.FixMode));
    lblGPSState[1].SetCaption(StateText(fix.FixMode));
    ShowGpsTime(1);
    lblSaNumber.SetCaption(std::to_string(fix.SatCount));
    DrawSkyPlot();
    UpdateSaInfo();
  } catch (const std::exception& error) {
    LogDiagnostic("UpdateSatTab", error.what());
  }
}

void frmAddIn::DrawSkyPlot() {
  const gps::GpsFix& fix = parser_.Fix();
  for (int slot = 0; slot < static_cast<int>(gps::kSatelliteSlots); ++slot) {
    host::ui::Label& dot = lblSP[slot];
    host::ui::Label& id = lblSaID[slot];
    dot.SetVisible(false);
    id.SetVisible(false);
    const auto elevation = fix.SatElevation[static_cast<std::size_t>(slot)];
    if (!elevation) continue;
    // A slot reported without an azimuth sits as if at azimuth 0.
    const double azimuth = fix.SatAzimuth[static_cast<std::size_t>(slot)].value_or(0);
    const double angle = (azimuth - 90) * kPi / 180;
    const double radius = (90 - *elevation) * kTwipsPerDegree;
    const auto x =
        static_cast<int>(host::platform::RoundHalfEven(kSkyCentreX + radius * std::cos(angle)));
    const auto y =
        static_cast<int>(host::platform::RoundHalfEven(kSkyCentreY + radius * std::sin(angle)));
    if (x <= 0) continue;  // only below the horizon
    dot.Move(x, y);
    id.Move(x + 100, y + 20);
    const auto prn = fix.SatId[static_cast<std::size_t>(slot)];
    id.SetCaption(prn ? std::to_string(*prn) : std::string{});
    dot.SetForeColor(fix.SatSNR[static_cast<std::size_t>(slot)] ? Rgb(0, 255, 0)
                                                                : Rgb(128, 128, 128));
    dot.SetVisible(true);
    id.SetVisible(true);
  }
  const double heading = (displayHeading_ - 90) * kPi / 180;
  lnSaDir.SetEnd(lnSaDir.X1() + kHeadingLineTwips * std::cos(heading),
                 lnSaDir.Y1() + kHeadingLineTwips * std::sin(heading));
}

void frmAddIn::UpdateSaInfo() {
  std::string text = "Id Db Azm El\r\n";
  try {
    const gps::GpsFix& fix = parser_.Fix();
    const auto field = [](const std::optional<std::int16_t>& value, const char* pattern,
                          const char* missing) {
      return (value ? FormatNumber(*value, pattern) : std::string(missing)) + " ";
    };
    for (std::size_t slot = 0; slot < gps::kSatelliteSlots; ++slot) {
      if (!fix.SatId[slot]) continue;
      text += field(fix.SatId[slot], "00", "--") + field(fix.SatSNR[slot], "00", "--") +
              field(fix.SatAzimuth[slot], "000", "---") +
              field(fix.SatElevation[slot], "00", "--") + "\r\n";
    }
    // The two lines differ on purpose: only HDOP ends with a line end.
    if (fix.HDOP >= 0)
      text += "HDOP=" + host::platform::FormatGeneralNumber(fix.HDOP, numberLocale_) + "\r\n";
    if (fix.VDOP >= 0)
      text += "VDOP=" + host::platform::FormatGeneralNumber(fix.VDOP, numberLocale_);
    txtSaInfo.SetText(text);
    // All of it selected, so the box's own copy takes the whole list.
    txtSaInfo.Select(0, static_cast<int>(text.size()));
  } catch (const std::exception& error) {
    txtSaInfo.SetText(text);
    services_.desktop.MsgBox(std::string("UpdateSaInfo:") + error.what());
  }
}

void frmAddIn::ShowGpsTime(int index) {
  const gps::GpsFix& fix = parser_.Fix();
  host::ui::Label& label = lblGPSTime[index];
  if (fix.FixMode == gps::kFixModeNoData) {
    label.SetCaption("");
    label.SetToolTipText("");
    return;
  }
  label.SetCaption(fix.GpsDateTime.Format("h:mm:ss AMPM"));
  label.SetToolTipText(fix.UtcDateText.empty()
                           ? std::string(kSyncHint)
                           : fix.GpsDateTime.Format("mm/dd/yy") + " " + kSyncHint);
}

void frmAddIn::SyncSystemTime() {
  const gps::GpsFix& fix = parser_.Fix();
  if (fix.FixMode <= gps::kFixModeNoData) return;
  services_.clock.SetTimeOfDay(fix.GpsDateTime.TimePart());
}

}  // namespace orvo::addin
