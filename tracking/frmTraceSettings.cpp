#include "tracking/frmTraceSettings.hpp"

#include <algorithm>
#include <string>

#include "host/platform/NumberFormat.hpp"
#include "host/platform/Numeric.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::tracking {

using host::ui::ScrollBar;

namespace {

constexpr int kSymbolSets = 8;
constexpr int kSymbolsPerSet = 8;
constexpr const char* kNoteItemBitsHelp = "Items of each pin's note";

// A bar value from a converted reading; a reading the bar cannot show leaves the bar as it is.
void SetBarFrom(ScrollBar& bar, double value) {
  try {
    bar.SetValue(host::platform::ToInt16(value));
  } catch (const host::platform::ConversionError&) {
  }
}

}  // namespace

SymbolImage::SymbolImage(host::ui::Window& owner, std::string name, std::optional<int> index)
    : Image(owner, std::move(name), index) {
  Set("symbol", 0);
}

frmTraceSettings::frmTraceSettings(host::ui::Desktop& desktop)
    : Window(desktop, "frmTraceSettings", "Plot Options", 420, 470),
      chkTracebyMoving(*this, "chkTracebyMoving"),
      Label1(*this, "Label1"),
      sclTraceThreashold(*this, "sclTraceThreashold", ScrollBar::Orientation::Horizontal),
      lblTraceThreashold(*this, "lblTraceThreashold"),
      Label3(*this, "Label3"),
      scrNPPs(*this, "scrNPPs", ScrollBar::Orientation::Horizontal),
      lbNPPs(*this, "lbNPPs"),
      Frame1(*this, "Frame1"),
      optPPSymbol(*this, "optPPSymbol", kSymbolSets),
      picSym(*this, "picSym", kSymbolSets),
      chkTraceNote(*this, "chkTraceNote"),
      chkGPSTime(*this, "chkGPSTime"),
      chkLatLng(*this, "chkLatLng"),
      chkElv(*this, "chkElv"),
      chkSpeed(*this, "chkSpeed"),
      chkHeading(*this, "chkHeading"),
      lblNoteformat(*this, "lblNoteformat"),
      lstNoteFormat(*this, "lstNoteFormat"),
      Label2(*this, "Label2"),
      cboPPName(*this, "cboPPName"),
      Frame2(*this, "Frame2"),
      chkStopDetection(*this, "chkStopDetection"),
      lbDetectStop(*this, "lbDetectStop", 2),
      scrStopTKt(*this, "scrStopTKt", ScrollBar::Orientation::Horizontal),
      lbStopThreasholdSpeed(*this, "lbStopThreasholdSpeed"),
      scrStopTSeconds(*this, "scrStopTSeconds", ScrollBar::Orientation::Horizontal),
      lbStopThreasholdSeconds(*this, "lbStopThreasholdSeconds"),
      OKButton(*this, "OKButton"),
      CancelButton(*this, "CancelButton") {
  LayOut();
  sclTraceThreashold.SetRange(1, 32767);
  sclTraceThreashold.SetValue(1);
  scrNPPs.SetRange(0, 4001);
  scrNPPs.SetValue(0);
  scrStopTKt.SetRange(0, 1000);
  scrStopTKt.SetValue(1);
  scrStopTSeconds.SetRange(0, 32767);
  scrStopTSeconds.SetValue(10);
  sclTraceThreashold.SetChanges(1, 100);
  scrNPPs.SetChanges(1, 100);
  scrStopTKt.SetChanges(1, 50);
  scrStopTSeconds.SetChanges(1, 10);

  chkTracebyMoving.onClick = [this] { ApplyEnabling(); };
  chkTraceNote.onClick = [this] { ApplyEnabling(); };
  sclTraceThreashold.onChange = [this] {
    Accelerate(sclTraceThreashold);
    ShowThreshold();
  };
  scrNPPs.onChange = [this] {
    Accelerate(scrNPPs);
    ShowPinLimit();
  };
  scrStopTKt.onChange = [this] {
    const std::string unit =
        iTraceThreasholdUnit == 0 ? " MPH" : (iTraceThreasholdUnit == 1 ? " KmH" : "");
    lbStopThreasholdSpeed.SetCaption(
        host::platform::FormatGeneralNumber(scrStopTKt.Value() / 100.0) + unit);
  };
  scrStopTSeconds.onChange = [this] {
    lbStopThreasholdSeconds.SetCaption(std::to_string(scrStopTSeconds.Value()) + " seconds");
  };
  for (int index = 0; index < kSymbolSets; ++index) {
    optPPSymbol[index].onClick = [this, index] {
      ppSymBase = host::platform::ToInt16(static_cast<double>(index) * kSymbolsPerSet);
    };
  }
  OKButton.onClick = [this] { OKButton_Click(); };
  CancelButton.onClick = [this] { Unload(); };
}

void frmTraceSettings::LayOut() {
  chkTracebyMoving.Place(240, 180, 3000, 330);
  chkTracebyMoving.SetCaption("Plot only while moving");
  Label1.Place(240, 570, 1360, 300);
  Label1.SetCaption("exceed over");
  sclTraceThreashold.Place(1620, 550, 2400, 300);
  lblTraceThreashold.Place(4140, 570, 1500, 300);

  Label3.Place(240, 1020, 5400, 300);
  Label3.SetCaption("Max number of pins can be plotted on map");
  scrNPPs.Place(480, 1380, 3540, 300);
  lbNPPs.Place(4140, 1400, 1500, 300);

  Frame1.Place(240, 1860, 5640, 1020);
  Frame1.SetCaption("PP Symbol");
  for (int index = 0; index < kSymbolSets; ++index) {
    const int left = 120 + index * 690;
    optPPSymbol[index].SetContainer(Frame1);
    optPPSymbol[index].Place(left, 600, 240, 240);
    picSym[index].SetContainer(Frame1);
    picSym[index].Place(left + 240, 300, 360, 360);
    // The state-coloured shape of a 3-D fix in each set: what the trail looks like.
    picSym[index].SetSymbol(index * kSymbolsPerSet + 6);
  }

  chkTraceNote.Place(240, 3060, 3000, 330);
  chkTraceNote.SetCaption("Add push pin notes");
  const struct {
    host::ui::CheckBox* box;
    const char* caption;
  } items[] = {{&chkGPSTime, "GPS Time"},
               {&chkLatLng, "Lat/Lng"},
               {&chkElv, "Elevation"},
               {&chkSpeed, "Speed"},
               {&chkHeading, "Heading"}};
  for (int index = 0; index < 5; ++index) {
    items[index].box->Place(480 + (index % 3) * 1500, 3420 + (index / 3) * 360, 1440, 330);
    items[index].box->SetCaption(items[index].caption);
    items[index].box->SetToolTipText(kNoteItemBitsHelp);
  }
  lblNoteformat.Place(3480, 3800, 700, 300);
  lblNoteformat.SetCaption("Format");
  lstNoteFormat.Place(4200, 3780, 1500, 500);
  lstNoteFormat.AddItem("Regular");
  lstNoteFormat.AddItem("Raw (csv)");

  Label2.Place(240, 4440, 2400, 300);
  Label2.SetCaption("Trail push pin naming");
  cboPPName.Place(2700, 4400, 2000, 330);
  cboPPName.AddItem("None");
  cboPPName.AddItem("Time");
  cboPPName.AddItem("ORVO Counter");

  Frame2.Place(240, 4920, 5640, 1200);
  chkStopDetection.SetContainer(Frame2);
  chkStopDetection.Place(120, 0, 1800, 300);
  chkStopDetection.SetCaption("Detect Stops");
  lbDetectStop[0].SetCaption("Stop threashold speed");
  lbDetectStop[1].SetCaption("Stop threashold time");
  for (int row = 0; row < 2; ++row) {
    const int top = 380 + row * 400;
    lbDetectStop[row].SetContainer(Frame2);
    lbDetectStop[row].Place(120, top + 20, 2140, 300);
    ScrollBar& bar = row == 0 ? scrStopTKt : scrStopTSeconds;
    host::ui::Label& value = row == 0 ? lbStopThreasholdSpeed : lbStopThreasholdSeconds;
    bar.SetContainer(Frame2);
    bar.Place(2280, top, 1700, 300);
    value.SetContainer(Frame2);
    value.Place(4080, top + 20, 1400, 300);
  }

  OKButton.Place(3000, 6300, 1320, 400);
  OKButton.SetCaption("OK");
  CancelButton.Place(4500, 6300, 1320, 400);
  CancelButton.SetCaption("Cancel");
}

void frmTraceSettings::OnLoad() {
  const double knots = dTraceThreasholdKnote;
  if (iTraceThreasholdUnit == 0) SetBarFrom(sclTraceThreashold, knots * kMphPerKnot * kFeetPerMile);
  if (iTraceThreasholdUnit == 1)
    SetBarFrom(sclTraceThreashold, knots * kKmhPerKnot * kMetresPerKilometre);
  if (iTraceThreasholdUnit == 0) SetBarFrom(scrStopTKt, dStopTKt * kMphPerKnot * 100);
  if (iTraceThreasholdUnit == 1) SetBarFrom(scrStopTKt, dStopTKt * kKmhPerKnot * 100);
  ShowThreshold();
  scrStopTKt.onChange();

  if (ppSymBase >= 0 && ppSymBase <= 56) {
    const double set =
        host::platform::RoundHalfEven(ppSymBase / static_cast<double>(kSymbolsPerSet));
    ppSymBase = static_cast<std::int16_t>(set * kSymbolsPerSet);
    optPPSymbol[static_cast<int>(set)].SetValue(true);
  }

  chkTracebyMoving.SetValue(bTraceByMoving ? 1 : 0);
  cboPPName.SetListIndex(iPushPinNameOpt);
  chkTraceNote.SetValue(bTraceNote ? 1 : 0);
  chkGPSTime.SetValue((iTraceNoteOpt & 1) != 0 ? 1 : 0);
  chkLatLng.SetValue((iTraceNoteOpt & 2) != 0 ? 1 : 0);
  chkElv.SetValue((iTraceNoteOpt & 4) != 0 ? 1 : 0);
  chkSpeed.SetValue((iTraceNoteOpt & 8) != 0 ? 1 : 0);
  chkHeading.SetValue((iTraceNoteOpt & 16) != 0 ? 1 : 0);
  lstNoteFormat.SetListIndex(iTraceNoteFormat);
  scrNPPs.SetValue(lNPPs);
  ShowPinLimit();
  chkStopDetection.SetValue(bStopDetection ? 1 : 0);
  scrStopTSeconds.SetRange(lStopMinSec, std::max<std::int32_t>(lStopMinSec, 32767));
  // A stored stop time below what the refresh rate allows shows as the shortest one allowed.
  scrStopTSeconds.SetValue(std::max(lStopSec, lStopMinSec));
  scrStopTSeconds.onChange();
  ApplyEnabling();
}

void frmTraceSettings::ShowModal() {
  const auto viewport = GetDesktop().Viewport();
  Move(std::max(0, (viewport.width - Width()) / 2), std::max(0, (viewport.height - Height()) / 4));
  Show();
  SetTopMost(true);
  GetDesktop().GetScheduler().RunUntil([this] { return !IsLoaded(); });
}

void frmTraceSettings::ApplyEnabling() {
  const bool byMoving = chkTracebyMoving.Value() == 1;
  sclTraceThreashold.SetEnabled(byMoving);
  lblTraceThreashold.SetEnabled(byMoving);
  const bool notes = chkTraceNote.Value() == 1;
  for (auto* box : {&chkGPSTime, &chkLatLng, &chkElv, &chkSpeed, &chkHeading})
    box->SetEnabled(notes);
  lstNoteFormat.SetEnabled(notes);
}

// Holding an arrow down speeds up by 10 percent per step; a pause of more than a second, or an
// end of the bar, starts again at 1.
void frmTraceSettings::Accelerate(ScrollBar& bar) {
  const host::ui::Milliseconds now = GetDesktop().GetScheduler().Now();
  const bool paused = !lastStepChange_ || now - *lastStepChange_ > host::ui::Milliseconds(1000);
  if (paused || bar.Value() == bar.Min() || bar.Value() == bar.Max())
    stepFactor_ = 1;
  else
    stepFactor_ *= 1.1;
  bar.SetChanges(static_cast<int>(host::platform::RoundHalfEven(stepFactor_)), bar.LargeChange());
  lastStepChange_ = now;
}

void frmTraceSettings::ShowThreshold() {
  const std::string unit =
      iTraceThreasholdUnit == 0 ? " ft" : (iTraceThreasholdUnit == 1 ? " m" : "");
  lblTraceThreashold.SetCaption(std::to_string(sclTraceThreashold.Value()) + unit);
}

void frmTraceSettings::ShowPinLimit() {
  lbNPPs.SetCaption(scrNPPs.Value() == scrNPPs.Min() ? std::string("Unlimited")
                                                     : std::to_string(scrNPPs.Value()));
}

void frmTraceSettings::OKButton_Click() {
  bTraceByMoving = chkTracebyMoving.Value() == 1;
  const double threshold = sclTraceThreashold.Value();
  if (iTraceThreasholdUnit == 0) dTraceThreasholdKnote = threshold / kMphPerKnot / kFeetPerMile;
  if (iTraceThreasholdUnit == 1)
    dTraceThreasholdKnote = threshold / kKmhPerKnot / kMetresPerKilometre;
  iPushPinNameOpt = static_cast<std::int16_t>(cboPPName.ListIndex());
  bTraceNote = chkTraceNote.Value() == 1;
  iTraceNoteOpt = 0;
  if (chkGPSTime.Value() == 1) iTraceNoteOpt |= 1;
  if (chkLatLng.Value() == 1) iTraceNoteOpt |= 2;
  if (chkElv.Value() == 1) iTraceNoteOpt |= 4;
  if (chkSpeed.Value() == 1) iTraceNoteOpt |= 8;
  if (chkHeading.Value() == 1) iTraceNoteOpt |= 16;
  iTraceNoteFormat = static_cast<std::int16_t>(lstNoteFormat.ListIndex());
  lNPPs = scrNPPs.Value();
  bStopDetection = chkStopDetection.Value() == 1;
  const double stopSpeed = scrStopTKt.Value();
  if (iTraceThreasholdUnit == 0) dStopTKt = stopSpeed / 100 / kMphPerKnot;
  if (iTraceThreasholdUnit == 1) dStopTKt = stopSpeed / 100 / kKmhPerKnot;
  lStopSec = scrStopTSeconds.Value();
  Unload();
}

void EditTraceOptions(host::ui::Desktop& desktop, host::ui::Window& mainWindow,
                      const host::ui::CheckBox& chkAlwaysTop, TraceOptions& options,
                      std::int16_t elevationUnit, int refreshRateSeconds) {
  if (chkAlwaysTop.Value() == 1) settings::ClearTopMost(mainWindow);
  frmTraceSettings dialog(desktop);
  dialog.bTraceByMoving = options.byMoving;
  dialog.dTraceThreasholdKnote = options.threasholdKnot;
  dialog.iTraceThreasholdUnit = elevationUnit;
  dialog.iPushPinNameOpt = options.ppName;
  dialog.bTraceNote = options.note;
  dialog.iTraceNoteOpt = options.noteOpt;
  dialog.iTraceNoteFormat = options.noteFormat;
  dialog.lNPPs = options.ppCacheLimit;
  dialog.ppSymBase = options.symbolBase;
  dialog.bStopDetection = options.stopDetection;
  dialog.dStopTKt = options.stopDetectKnots;
  dialog.lStopMinSec = host::platform::ToInt16(static_cast<double>(refreshRateSeconds) + 1);
  dialog.lStopSec = options.stopDetectSeconds;
  dialog.ShowModal();
  options.byMoving = dialog.bTraceByMoving;
  options.threasholdKnot = dialog.dTraceThreasholdKnote;
  options.ppName = dialog.iPushPinNameOpt;
  options.note = dialog.bTraceNote;
  options.noteOpt = dialog.iTraceNoteOpt;
  options.noteFormat = dialog.iTraceNoteFormat;
  options.ppCacheLimit = dialog.lNPPs;
  options.symbolBase = dialog.ppSymBase;
  options.stopDetection = dialog.bStopDetection;
  options.stopDetectKnots = dialog.dStopTKt;
  options.stopDetectSeconds = dialog.lStopSec;
  if (chkAlwaysTop.Value() == 1) settings::SetTopMost(mainWindow);
}

}  // namespace orvo::tracking
