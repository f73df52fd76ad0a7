#pragma once
// The diagnostic log: what ORVO noticed but did not trouble the user with.
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "host/ui/Window.hpp"

namespace orvo::addin {

class frmVerbose final : public host::ui::Window {
 public:
  // The lines the window keeps; older ones are only in ORVO.log.
  static constexpr std::size_t kLinesShown = 5000;

  explicit frmVerbose(host::ui::Desktop& desktop, std::filesystem::path logFile = "ORVO.log");

  // Appends to the window and, with "Log to file" set, to ORVO.log. Never fails.
  void Log(std::string_view text, bool addLineEnd);
  void Clear();
  // Keeps the text box filling the window.
  void FormResize();

  host::ui::TextBox txtLog;
  host::ui::Button cmdClear;
  host::ui::CheckBox chkLogfile;

 private:
  std::filesystem::path logFile_;
};

}  // namespace orvo::addin
