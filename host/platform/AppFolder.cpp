#include "host/platform/AppFolder.hpp"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <system_error>

#include "host/platform/Files.hpp"

namespace orvo::host::platform {
namespace {

namespace fs = std::filesystem;

fs::path ProgramFolder() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  return error ? fs::path{} : program.parent_path();
}

fs::path FirstExisting(const char* environmentOverride, const fs::path& besideProgram,
                       const fs::path& installed, const fs::path& sourceTree) {
  if (const char* value = std::getenv(environmentOverride); value != nullptr && *value != '\0')
    return value;
  for (const fs::path& candidate : {besideProgram, installed, sourceTree}) {
    std::error_code error;
    if (!candidate.empty() && fs::is_directory(candidate, error)) return candidate;
  }
  return sourceTree;
}

fs::path XdgFolder(const char* variable, const char* fallbackBelowHome) {
  const char* value = std::getenv(variable);
  if (value != nullptr && *value == '/') return value;
  return HomeFolder() / fallbackBelowHome;
}

}  // namespace

fs::path AppFolder() {
  const fs::path program = ProgramFolder();
  return FirstExisting("ORVO_DATA_DIR", program.empty() ? fs::path{} : program / ".." / "data",
                       fs::path(ORVO_INSTALL_DATADIR) / "data", fs::path(ORVO_SOURCE_DIR) / "data");
}

fs::path WebFolder() {
  const fs::path program = ProgramFolder();
  return FirstExisting(
      "ORVO_WEB_DIR", program.empty() ? fs::path{} : program / ".." / "web" / "dist",
      fs::path(ORVO_INSTALL_DATADIR) / "web", fs::path(ORVO_SOURCE_DIR) / "web" / "dist");
}

fs::path UserConfigFolder() {
  return XdgFolder("XDG_CONFIG_HOME", ".config") / "ORVO";
}

fs::path UserDataFolder() {
  return XdgFolder("XDG_DATA_HOME", ".local/share") / "orvo";
}

}  // namespace orvo::host::platform
