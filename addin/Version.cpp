#include "addin/Version.hpp"

namespace orvo::addin {

Version ProgramVersion() {
  return {ORVO_VERSION_MAJOR, ORVO_VERSION_MINOR, ORVO_VERSION_PATCH};
}

std::string VersionText() {
  const Version version = ProgramVersion();
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
         std::to_string(version.revision);
}

}  // namespace orvo::addin
