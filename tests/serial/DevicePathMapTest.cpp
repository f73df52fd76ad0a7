#include "host/serial/DevicePathMap.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/TestSupport.hpp"

namespace orvo::host::serial {
namespace {

namespace fs = std::filesystem;

class DevicePathMapTest : public ::testing::Test {
 protected:
  fs::path Device(const std::string& name) {
    std::ofstream(folder_ / name).put('\0');
    return folder_ / name;
  }

  orvo::testing::TempFolder temp_;
  const fs::path& folder_ = temp_.Path();
};

std::string ResolveError(const DevicePathMap& map, int portNumber) {
  try {
    map.Resolve(portNumber);
  } catch (const SerialError& error) {
    return error.what();
  }
  return "resolved";
}

TEST_F(DevicePathMapTest, AnOverrideWinsThenUsbThenAcmThenTheBuiltInPort) {
  DevicePathMap map(folder_);
  EXPECT_EQ(ResolveError(map, 2),
            "serial port 2: no device found (looked for " + (folder_ / "ttyUSB1").string() + ", " +
                (folder_ / "ttyACM1").string() + ", " + (folder_ / "ttyS1").string() + ")");
  for (const char* name : {"ttyS1", "ttyACM1", "ttyUSB1"}) {
    const fs::path device = Device(name);
    EXPECT_EQ(map.Resolve(2), device);
  }
  // Port N is device N-1: port 1 does not take port 2's devices.
  EXPECT_NE(ResolveError(map, 1).find("no device found"), std::string::npos);

  // An override wins, for its own port only.
  const fs::path usb = Device("ttyUSB0");
  map.SetOverride(1, "/dev/orvo-receiver");
  EXPECT_EQ(map.Resolve(1), "/dev/orvo-receiver");
  EXPECT_NE(ResolveError(map, 3).find("no device found"), std::string::npos);
  map.SetOverride(1, {});
  EXPECT_EQ(map.Resolve(1), usb);

  EXPECT_NE(ResolveError(map, 0).find("port numbers start at 1"), std::string::npos);
  EXPECT_THROW(map.SetOverride(-1, "/dev/ttyUSB0"), SerialError);
}

}  // namespace
}  // namespace orvo::host::serial
