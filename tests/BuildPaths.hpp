#pragma once
// Where the build put the program and where the source tree is. Defined in a file the build
// generates, so that no other test source differs between two checkouts and a compiler cache
// can share their objects.
namespace orvo::build_paths {
extern const char* const kOrvoBinary;
extern const char* const kSourceDir;
extern const char* const kTestData;
}  // namespace orvo::build_paths

#define ORVO_BINARY ::orvo::build_paths::kOrvoBinary
#define ORVO_SOURCE_DIR ::orvo::build_paths::kSourceDir
#define ORVO_TEST_DATA ::orvo::build_paths::kTestData
