#include "host/serial/DevicePathMap.hpp"

#include <string>
#include <system_error>
#include <utility>

namespace orvo::host::serial {
namespace {

void RequireValidPortNumber(int portNumber) {
  if (portNumber < 1) {
    throw SerialError("serial port number " + std::to_string(portNumber) +
                      " is not valid; port numbers start at 1");
  }
}

}  // namespace

DevicePathMap::DevicePathMap(std::filesystem::path deviceFolder)
    : deviceFolder_(std::move(deviceFolder)) {}

void DevicePathMap::SetOverride(int portNumber, std::filesystem::path devicePath) {
  RequireValidPortNumber(portNumber);
  if (devicePath.empty()) {
    overrides_.erase(portNumber);
    return;
  }
  overrides_[portNumber] = std::move(devicePath);
}

std::vector<std::filesystem::path> DevicePathMap::Candidates(int portNumber) const {
  RequireValidPortNumber(portNumber);
  const std::string index = std::to_string(portNumber - 1);
  return {deviceFolder_ / ("ttyUSB" + index), deviceFolder_ / ("ttyACM" + index),
          deviceFolder_ / ("ttyS" + index)};
}

std::filesystem::path DevicePathMap::Resolve(int portNumber) const {
  RequireValidPortNumber(portNumber);
  if (const auto found = overrides_.find(portNumber); found != overrides_.end())
    return found->second;
  const std::vector<std::filesystem::path> candidates = Candidates(portNumber);
  std::string tried;
  for (const std::filesystem::path& candidate : candidates) {
    std::error_code error;
    if (std::filesystem::exists(candidate, error)) return candidate;
    tried += (tried.empty() ? "" : ", ") + candidate.string();
  }
  throw SerialError("serial port " + std::to_string(portNumber) + ": no device found (looked for " +
                    tried + ")");
}

}  // namespace orvo::host::serial
