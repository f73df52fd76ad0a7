#include "tracking/StatusPanel.hpp"

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"
#include "host/ui/Desktop.hpp"
#include "tracking/Bearing.hpp"

namespace orvo::tracking {

using host::platform::FormatNumber;
using host::ui::Rgb;

namespace {

const char* const kStateTexts[] = {"No GPS", "Acquiring", "2-D", "3-D"};
const int kStateColors[][3] = {{128, 128, 128}, {255, 0, 0}, {255, 255, 0}, {0, 255, 0}};
const int kStateSymbolOffsets[] = {0, 1, 2, 6};
const char* const kSyncHint = "(click to sync the system time)";

int CheckedState(int fixMode) {
  if (fixMode < 0 || fixMode > 3)
    throw std::out_of_range("fix state " + std::to_string(fixMode) + " is not 0 to 3");
  return fixMode;
}

}  // namespace

StatusPanel::StatusPanel(host::ui::Window& window, const gps::GpsFix& fix, ReadingsPanel& readings,
                         host::ui::TabControl& tabs, host::ui::MenuItem& syncTimeMenu,
                         host::platform::SystemClock& clock)
    : dwGPSState(window, "dwGPSState", 2),
      lblGPSState(window, "lblGPSState", 2),
      lblGPSTime(window, "lblGPSTime", 2),
      lblSaCaption(window, "lblSaCaption"),
      lblSaNumber(window, "lblSaNumber"),
      shpSkyHorizon(window, "shpSkyHorizon"),
      shpSkyMiddle(window, "shpSkyMiddle"),
      lnSkyNorthSouth(window, "lnSkyNorthSouth"),
      lnSkyEastWest(window, "lnSkyEastWest"),
      lblSP(window, "lblSP", 12),
      lblSaID(window, "lblSaID", 12),
      lnSaDir(window, "lnSaDir"),
      txtSaInfo(window, "txtSaInfo"),
      window_(window),
      fix_(fix),
      readings_(readings),
      tabs_(tabs),
      syncTimeMenu_(syncTimeMenu),
      clock_(clock) {
  for (int index : {0, 1}) lblGPSTime[index].onClick = [this] { SyncSystemTimeForUser(); };
}

const char* StatusPanel::StateText(int fixMode) {
  return kStateTexts[CheckedState(fixMode)];
}

std::string StatusPanel::StateColor(int fixMode) {
  const int* color = kStateColors[CheckedState(fixMode)];
  return Rgb(color[0], color[1], color[2]);
}

int StatusPanel::GpsStateSymbolOffset(int fixMode) {
  return kStateSymbolOffsets[CheckedState(fixMode)];
}

void StatusPanel::RefreshVisibleTab() {
  switch (tabs_.Tab()) {
    case kTabTracking:
      return UpdateTrackTab();
    case kTabSatellite:
      return UpdateSatTab();
    default:
      return;
  }
}

// A fix state outside 0..3 ends the refresh where it stands; the next one tries again.
void StatusPanel::UpdateTrackTab() {
  const int state = fix_.FixMode;
  dwGPSState[0].SetFillColor(StateColor(state));
  lblGPSState[0].SetCaption(StateText(state));
  syncTimeMenu_.SetEnabled(state >= gps::kFixModeNoFix);
  ShowGpsTime(0);
  readings_.ShowLatLng();
  readings_.ShowSpeed();
  readings_.ShowHeading();
  readings_.ShowElevation();
}

void StatusPanel::UpdateSatTab() {
  dwGPSState[1].SetFillColor(StateColor(fix_.FixMode));
  lblGPSState[1].SetCaption(StateText(fix_.FixMode));
  ShowGpsTime(1);
  lblSaNumber.SetCaption(std::to_string(fix_.SatCount));
  DrawSkyPlot();
  UpdateSaInfo();
}

void StatusPanel::DrawSkyPlot() {
  for (std::size_t slot = 0; slot < gps::kSatelliteSlots; ++slot) {
    host::ui::Label& dot = lblSP[static_cast<int>(slot)];
    host::ui::Label& id = lblSaID[static_cast<int>(slot)];
    dot.SetVisible(false);
    id.SetVisible(false);
    const auto elevation = fix_.SatElevation[slot];
    if (!elevation) continue;
    // A slot reported without an azimuth sits as if at azimuth 0.
    const double azimuth = fix_.SatAzimuth[slot].value_or(0);
    const auto [xTwips, yTwips] =
        PointOnBearing(kSkyCentreX, kSkyCentreY, (90 - *elevation) * kTwipsPerDegree, azimuth);
    const auto x = static_cast<int>(host::platform::RoundHalfEven(xTwips));
    const auto y = static_cast<int>(host::platform::RoundHalfEven(yTwips));
    if (x <= 0) continue;  // only below the horizon
    dot.Move(x, y);
    id.Move(x + 100, y + 20);
    id.SetCaption(fix_.SatId[slot] ? std::to_string(*fix_.SatId[slot]) : std::string{});
    dot.SetForeColor(fix_.SatSNR[slot] ? Rgb(0, 255, 0) : Rgb(128, 128, 128));
    dot.SetVisible(true);
    id.SetVisible(true);
  }
  PointLine(lnSaDir, kHeadingLineTwips, readings_.DisplayHeading());
}

void StatusPanel::UpdateSaInfo() {
  std::string text = "Id Db Azm El\r\n";
  try {
    const auto field = [](const std::optional<std::int16_t>& value, const char* pattern,
                          const char* missing) {
      return (value ? FormatNumber(*value, pattern) : std::string(missing)) + " ";
    };
    for (std::size_t slot = 0; slot < gps::kSatelliteSlots; ++slot) {
      if (!fix_.SatId[slot]) continue;
      text += field(fix_.SatId[slot], "00", "--") + field(fix_.SatSNR[slot], "00", "--") +
              field(fix_.SatAzimuth[slot], "000", "---") +
              field(fix_.SatElevation[slot], "00", "--") + "\r\n";
    }
    const auto& locale = readings_.NumberLocale();
    // The two lines differ on purpose: only HDOP ends with a line end.
    if (fix_.HDOP >= 0)
      text += "HDOP=" + host::platform::FormatGeneralNumber(fix_.HDOP, locale) + "\r\n";
    if (fix_.VDOP >= 0) text += "VDOP=" + host::platform::FormatGeneralNumber(fix_.VDOP, locale);
    txtSaInfo.SetText(text);
    // All of it selected, so the box's own copy takes the whole list.
    txtSaInfo.Select(0, static_cast<int>(text.size()));
  } catch (const std::exception& error) {
    txtSaInfo.SetText(text);
    window_.GetDesktop().MsgBox(std::string("UpdateSaInfo:") + error.what());
  }
}

void StatusPanel::ShowGpsTime(int index) {
  host::ui::Label& label = lblGPSTime[index];
  if (fix_.FixMode == gps::kFixModeNoData) {
    label.SetCaption("");
    label.SetToolTipText("");
    return;
  }
  label.SetCaption(fix_.GpsDateTime.Format("h:mm:ss AMPM"));
  label.SetToolTipText(fix_.UtcDateText.empty()
                           ? std::string(kSyncHint)
                           : fix_.GpsDateTime.Format("mm/dd/yy") + " " + kSyncHint);
}

void StatusPanel::SyncSystemTime() {
  if (fix_.FixMode <= gps::kFixModeNoData) return;
  clock_.SetTimeOfDay(fix_.GpsDateTime.TimePart());
}

void StatusPanel::SyncSystemTimeForUser() {
  try {
    SyncSystemTime();
  } catch (const std::exception& error) {
    // The platform's own words for the refusal, such as a missing right to set the clock.
    window_.GetDesktop().MsgBox(error.what());
  }
}

}  // namespace orvo::tracking
