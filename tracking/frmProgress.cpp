#include "tracking/frmProgress.hpp"

#include <algorithm>

#include "host/platform/Numeric.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::tracking {
namespace {

constexpr int kCellTwips = 240;
constexpr int kGapTwips = 30;
constexpr int kMarginTwips = 180;

}  // namespace

frmProgress::frmProgress(host::ui::Desktop& desktop)
    : Window(desktop, "frmProgress", "", 300, 110),
      shpCell(*this, "shpCell", kCells),
      lblPercent(*this, "lblPercent"),
      cmdCancel(*this, "cmdCancel") {
  for (int cell = 0; cell < kCells; ++cell) {
    shpCell[cell].SetShape("rectangle");
    shpCell[cell].Place(kMarginTwips + cell * (kCellTwips + kGapTwips), kMarginTwips, kCellTwips,
                        300);
  }
  lblPercent.Place(kMarginTwips, 700, 1500, 300);
  cmdCancel.Place(3180, 660, 1200, 380);
  cmdCancel.SetCaption("Cancel");
  cmdCancel.onClick = [this] { cancel_ = true; };
  DrawBar();
}

void frmProgress::OnLoad() {
  percent_ = 0;
  cancel_ = false;
  DrawBar();
  const auto viewport = GetDesktop().Viewport();
  Move(std::max(0, (viewport.width - Width()) / 2), std::max(0, (viewport.height - Height()) / 3));
}

void frmProgress::SetPercent(int percent) {
  percent_ = static_cast<std::int16_t>(std::clamp(percent, 0, 100));
  DrawBar();
}

void frmProgress::DrawBar() {
  const double filled = host::platform::RoundHalfEven(percent_ / kPercentPerCell);
  const std::string navy = host::ui::Rgb(0, 0, 128);
  const std::string grey = host::ui::Rgb(128, 128, 128);
  for (int cell = 0; cell < kCells; ++cell) shpCell[cell].SetFillColor(cell < filled ? navy : grey);
  lblPercent.SetCaption(std::to_string(percent_) + " %");
}

}  // namespace orvo::tracking
