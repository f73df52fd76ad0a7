#pragma once
#include <filesystem>
#include <map>
#include <vector>

#include "host/serial/SerialError.hpp"

namespace orvo::host::serial {

// Which device a serial port number means. A port number counts from 1 as the old "COM" numbers
// did. An explicit override for the number (from the settings or the command line) wins; otherwise
// the first existing one of ttyUSB{N-1}, ttyACM{N-1}, ttyS{N-1} in the device folder: USB
// adapters and USB receivers first, since a car PC's built-in ttyS ports are usually unused.
class DevicePathMap {
 public:
  // `deviceFolder` is where the tty devices are looked for; tests point it at a temporary folder.
  explicit DevicePathMap(std::filesystem::path deviceFolder = "/dev");

  // An empty path removes the override. Throws SerialError for a port number below 1.
  void SetOverride(int portNumber, std::filesystem::path devicePath);

  // The device for a port number. Throws SerialError for a port number below 1, or when there is
  // no override and none of the candidates exists (the message lists them).
  std::filesystem::path Resolve(int portNumber) const;

  // The paths Resolve tries for a port number without an override, in order.
  std::vector<std::filesystem::path> Candidates(int portNumber) const;

 private:
  std::filesystem::path deviceFolder_;
  std::map<int, std::filesystem::path> overrides_;
};

}  // namespace orvo::host::serial
