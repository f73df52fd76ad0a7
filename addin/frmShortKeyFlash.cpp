#include "addin/frmShortKeyFlash.hpp"

#include "host/ui/Desktop.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::addin {

frmShortKeyFlash::frmShortKeyFlash(host::ui::Desktop& desktop)
    : Window(desktop, "frmShortKeyFlash", "", 220, 64),
      Frame1(*this, "Frame1"),
      lblFn(*this, "lblFn"),
      lblMsg(*this, "lblMsg"),
      Timer1(*this, "Timer1", desktop.GetScheduler()) {
  SetBorderless(true);
  Frame1.Place(0, 0, 220 * host::ui::kTwipsPerPixel, 64 * host::ui::kTwipsPerPixel);
  for (host::ui::Label* label : {&lblFn, &lblMsg}) {
    label->SetContainer(Frame1);
    label->SetStyle("alignment", "center");
    label->SetStyle("bold", true);
  }
  lblFn.Place(60, 60, 3180, 360);
  lblFn.SetStyle("fontSize", 11);
  lblMsg.Place(60, 420, 3180, 420);
  lblMsg.SetStyle("fontSize", 16);
  lblMsg.SetForeColor(host::ui::Rgb(0, 96, 192));
  Timer1.SetInterval(kShowMs);
  Timer1.onTimer = [this] { Close(); };
  Frame1.onClick = [this] { Close(); };
}

void frmShortKeyFlash::Log(std::string featureName, std::string stateText) {
  lblFn.SetCaption(std::move(featureName));
  lblMsg.SetCaption(std::move(stateText));
  // Near the top of the page, in the middle, where a driver's eye finds it.
  const auto viewport = GetDesktop().Viewport();
  Move(std::max(0, (viewport.width - Width()) / 2), 72);
  Show();
  settings::SetTopMost(*this);
  // Enabling again restarts the count: the flash stays 700 ms after the last message.
  Timer1.SetTimerEnabled(true);
}

void frmShortKeyFlash::OnKeyUp(int, int) {
  Close();
}

void frmShortKeyFlash::Close() {
  Timer1.SetTimerEnabled(false);
  Unload();
}

}  // namespace orvo::addin
