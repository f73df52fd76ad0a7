#pragma once
// The About box: product title, version, and the system information of the machine ORVO runs on.
#include "host/ui/Window.hpp"

namespace orvo::addin {

class frmAbout final : public host::ui::Window {
 public:
  explicit frmAbout(host::ui::Desktop& desktop);

  // Shows the box and returns when the user has closed it.
  void ShowModal();
  // What "System Info..." shows: the operating system, the machine, its memory and ORVO's build.
  static std::string SystemInformation();

  host::ui::Image imgIcon;
  host::ui::Label lblTitle;
  host::ui::Label lblVersion;
  host::ui::Label lblDescription;
  host::ui::Label lblDisclaimer;
  host::ui::Button cmdOK;
  host::ui::Button cmdSysInfo;
};

}  // namespace orvo::addin
