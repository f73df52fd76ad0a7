#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include "tests/BuildPaths.hpp"

// The program starts and refuses a command it does not have yet without crashing.
TEST(Program, StartsAndExitsCleanly) {
  const std::string command = std::string(ORVO_BINARY) + " simulate >/dev/null 2>&1";
  const int status = std::system(command.c_str());
  EXPECT_TRUE(WIFEXITED(status));
}
