#pragma once
#include <string>

namespace orvo::addin {

inline constexpr const char* kProductTitle = "ORVO";

struct Version {
  int major;
  int minor;
  int revision;
};

Version ProgramVersion();
// "major.minor.revision", as the About box and the main window show it.
std::string VersionText();

}  // namespace orvo::addin
