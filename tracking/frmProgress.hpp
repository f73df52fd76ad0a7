#pragma once
// The progress window of long jobs (clearing the trail): a bar of cells and a Cancel button that
// the job polls between its steps.
#include <cstdint>
#include <string>

#include "host/ui/ControlArray.hpp"
#include "host/ui/Window.hpp"

namespace orvo::tracking {

class frmProgress final : public host::ui::Window {
 public:
  // 100 percent fills all cells: one cell per 6.6 percent.
  static constexpr int kCells = 15;
  static constexpr double kPercentPerCell = 6.6;

  explicit frmProgress(host::ui::Desktop& desktop);

  std::int16_t Percent() const { return percent_; }
  // Clamped to 0..100; redraws the bar.
  void SetPercent(int percent);
  std::string Title() const { return Caption(); }
  void SetTitle(std::string title) { SetCaption(std::move(title)); }
  // Set by the Cancel button; false again whenever the window loads.
  bool Cancel() const { return cancel_; }

  host::ui::ControlArray<host::ui::Shape> shpCell;
  host::ui::Label lblPercent;  // the figure beside the bar, "40 %"
  host::ui::Button cmdCancel;

 protected:
  void OnLoad() override;

 private:
  void DrawBar();

  std::int16_t percent_ = 0;
  bool cancel_ = false;
};

}  // namespace orvo::tracking
