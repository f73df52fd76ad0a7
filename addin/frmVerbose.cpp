#include "addin/frmVerbose.hpp"

#include <fstream>

namespace orvo::addin {

using host::ui::kTwipsPerPixel;

frmVerbose::frmVerbose(host::ui::Desktop& desktop, std::filesystem::path logFile)
    : Window(desktop, "frmVerbose", "ORVO diagnostics", 420, 260),
      txtLog(*this, "txtLog"),
      cmdClear(*this, "cmdClear"),
      chkLogfile(*this, "chkLogfile"),
      logFile_(std::move(logFile)) {
  txtLog.SetMultiLine(true);
  txtLog.SetLocked(true);
  txtLog.Move(90, 90);
  cmdClear.SetCaption("Clear");
  chkLogfile.SetCaption("Log to file");
  cmdClear.onClick = [this] { Clear(); };
  FormResize();
}

void frmVerbose::Log(std::string_view text, bool addLineEnd) {
  try {
    std::string line(text);
    if (addLineEnd) line += "\r\n";
    // The window keeps the newest lines and the pages get only what is added; the file, when
    // asked for, keeps everything.
    txtLog.AppendText(line, kLinesShown);
    // The caret at the end keeps the newest text in view.
    txtLog.Select(static_cast<int>(txtLog.Text().size()), 0);
    if (chkLogfile.Value() == 1) {
      std::ofstream file(logFile_, std::ios::binary | std::ios::app);
      file.write(line.data(), static_cast<std::streamsize>(line.size()));
    }
  } catch (...) {
    // The log is the last resort for reporting; it must not become a failure itself.
  }
}

void frmVerbose::Clear() {
  txtLog.SetText("");
  txtLog.Select(0, 0);
}

void frmVerbose::FormResize() {
  const int innerWidth = Width() * kTwipsPerPixel;
  const int innerHeight = Height() * kTwipsPerPixel;
  txtLog.Place(txtLog.Left(), txtLog.Top(), std::max(0, innerWidth - 180),
               std::max(0, innerHeight - 690));
  cmdClear.Place(90, innerHeight - 540, 1100, 400);
  chkLogfile.Place(1400, innerHeight - 520, 1800, 360);
}

}  // namespace orvo::addin
