#include "addin/frmAbout.hpp"

#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "addin/Version.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::addin {

frmAbout::frmAbout(host::ui::Desktop& desktop)
    : Window(desktop, std::string("About ") + kProductTitle, std::string("About ") + kProductTitle,
             360, 220),
      imgIcon(*this, "imgIcon"),
      lblTitle(*this, "lblTitle"),
      lblVersion(*this, "lblVersion"),
      lblDescription(*this, "lblDescription"),
      lblDisclaimer(*this, "lblDisclaimer"),
      cmdOK(*this, "cmdOK"),
      cmdSysInfo(*this, "cmdSysInfo") {
  imgIcon.Place(240, 240, 720, 720);
  imgIcon.SetPicture("pictures/orvo.svg");
  lblTitle.Place(1200, 240, 4000, 420);
  lblTitle.SetCaption(kProductTitle);
  lblTitle.SetStyle("fontSize", 16);
  lblTitle.SetStyle("bold", true);
  lblVersion.Place(1200, 700, 4000, 300);
  lblVersion.SetCaption("Version " + VersionText());
  lblDescription.Place(1200, 1040, 4000, 600);
  lblDescription.SetCaption("GPS tracking and driving assistant.");
  lblDisclaimer.Place(240, 1800, 5000, 600);
  lblDisclaimer.SetCaption(
      "Free software under the GNU AGPL 3.0 or later. Map data \u00A9 OpenStreetMap "
      "contributors.");
  lblDisclaimer.SetForeColor(host::ui::Rgb(96, 96, 96));
  cmdOK.Place(3900, 2640, 1260, 400);
  cmdOK.SetCaption("OK");
  cmdSysInfo.Place(2400, 2640, 1380, 400);
  cmdSysInfo.SetCaption("&System Info...");
  cmdOK.onClick = [this] { Unload(); };
  cmdSysInfo.onClick = [this] {
    GetDesktop().MsgBox(SystemInformation(), host::ui::MsgBoxButtons::OkOnly, "System Information");
  };
}

void frmAbout::ShowModal() {
  const auto viewport = GetDesktop().Viewport();
  Move(std::max(0, (viewport.width - Width()) / 2), std::max(0, (viewport.height - Height()) / 3));
  Show();
  SetTopMost(true);
  GetDesktop().GetScheduler().RunUntil([this] { return !IsLoaded(); });
}

std::string frmAbout::SystemInformation() {
  std::ostringstream text;
  text << kProductTitle << ' ' << VersionText() << "\n";
  utsname system{};
  if (uname(&system) == 0)
    text << "System: " << system.sysname << ' ' << system.release << ' ' << system.machine
         << "\nHost: " << system.nodename << "\n";
  std::ifstream osRelease("/etc/os-release");
  for (std::string line; std::getline(osRelease, line);)
    if (line.rfind("PRETTY_NAME=", 0) == 0) text << "Distribution: " << line.substr(12) << "\n";
  struct sysinfo memory {};
  if (sysinfo(&memory) == 0) {
    const auto mebibytes = [&](unsigned long amount) {
      return static_cast<unsigned long long>(amount) * memory.mem_unit / (1024 * 1024);
    };
    text << "Memory: " << mebibytes(memory.totalram) << " MiB, " << mebibytes(memory.freeram)
         << " MiB free\n";
  }
  text << "Processors: " << sysconf(_SC_NPROCESSORS_ONLN) << "\n";
  text << "Compiler: " << __VERSION__;
  return text.str();
}

}  // namespace orvo::addin
