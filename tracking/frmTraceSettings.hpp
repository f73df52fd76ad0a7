#pragma once
// "Plot Options": when to plot the trail, how many pins to keep, the symbol set, pin names and
// notes, and stop detection. Distances and speeds are shown in the user's units and converted
// to nautical miles and knots only when OK is pressed.
#include <cstdint>
#include <optional>

#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"
#include "tracking/TraceOptions.hpp"

namespace orvo::tracking {

// An image whose picture is a pushpin symbol number: the page draws it from the symbol
// catalogue (property "symbol"), as it draws the pins on the map.
class SymbolImage final : public host::ui::Image {
 public:
  SymbolImage(host::ui::Window& owner, std::string name, std::optional<int> index = {});
  int Symbol() const { return Get<int>("symbol"); }
  void SetSymbol(int symbol) { Set("symbol", symbol); }
};

class frmTraceSettings final : public host::ui::Window {
 public:
  static constexpr double kMphPerKnot = 1.1507794;
  static constexpr double kKmhPerKnot = 1.852;
  static constexpr double kFeetPerMile = 5280;
  static constexpr double kMetresPerKilometre = 1000;

  explicit frmTraceSettings(host::ui::Desktop& desktop);

  // Shows the dialog and returns when OK or Cancel (or the close box) has unloaded it.
  void ShowModal();

  // Handed in before the dialog loads and read back after it has closed.
  bool bTraceByMoving = true;
  double dTraceThreasholdKnote = 0.00216;  // nautical miles
  std::int16_t iTraceThreasholdUnit = 0;   // 0 feet and MPH, 1 metres and KmH
  std::int16_t iPushPinNameOpt = 0;
  bool bTraceNote = false;
  std::int16_t iTraceNoteOpt = 31;
  std::int16_t iTraceNoteFormat = 0;
  std::int32_t lNPPs = 0;
  std::int16_t ppSymBase = 24;
  bool bStopDetection = false;
  double dStopTKt = 4;  // knots
  std::int32_t lStopSec = 10;
  std::int32_t lStopMinSec = 1;

  host::ui::CheckBox chkTracebyMoving;
  host::ui::Label Label1;
  host::ui::ScrollBar sclTraceThreashold;
  host::ui::Label lblTraceThreashold;
  host::ui::Label Label3;
  host::ui::ScrollBar scrNPPs;
  host::ui::Label lbNPPs;
  host::ui::Frame Frame1;
  host::ui::ControlArray<host::ui::OptionButton> optPPSymbol;
  host::ui::ControlArray<SymbolImage> picSym;
  host::ui::CheckBox chkTraceNote;
  host::ui::CheckBox chkGPSTime;
  host::ui::CheckBox chkLatLng;
  host::ui::CheckBox chkElv;
  host::ui::CheckBox chkSpeed;
  host::ui::CheckBox chkHeading;
  host::ui::Label lblNoteformat;
  host::ui::ListBox lstNoteFormat;
  host::ui::Label Label2;
  host::ui::ComboBox cboPPName;
  host::ui::Frame Frame2;
  host::ui::CheckBox chkStopDetection;
  host::ui::ControlArray<host::ui::Label> lbDetectStop;  // 0 the speed's caption, 1 the time's
  host::ui::ScrollBar scrStopTKt;
  host::ui::Label lbStopThreasholdSpeed;
  host::ui::ScrollBar scrStopTSeconds;
  host::ui::Label lbStopThreasholdSeconds;
  host::ui::Button OKButton;
  host::ui::Button CancelButton;

 protected:
  void OnLoad() override;

 private:
  void LayOut();
  void ApplyEnabling();
  // The shared accelerating arrow step of the threshold and pin-limit bars.
  void Accelerate(host::ui::ScrollBar& bar);
  void ShowThreshold();
  void ShowPinLimit();
  void OKButton_Click();

  std::optional<host::ui::Milliseconds> lastStepChange_;
  double stepFactor_ = 1;
};

// The main window's cmdTraceOption: hands the options to the dialog, shows it modally, and reads
// every value back (Cancel hands back what was handed in, and the symbol set clicked).
void EditTraceOptions(host::ui::Desktop& desktop, host::ui::Window& mainWindow,
                      const host::ui::CheckBox& chkAlwaysTop, TraceOptions& options,
                      std::int16_t elevationUnit, int refreshRateSeconds);

}  // namespace orvo::tracking
