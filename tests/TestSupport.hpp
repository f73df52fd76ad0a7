#pragma once
// What many tests need: a fresh folder, an environment variable set for a while, and the built
// `orvo` run as a program with its exit code and both outputs.
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace boost::asio {
class io_context;
}

namespace orvo::testing {

// A fresh folder for one test, removed with everything in it afterwards.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Sets (or, given no value, unsets) an environment variable for the life of the object.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

// A program's run: its exit code and outputs.
struct OrvoRun {
  int exitCode = -1;  // -1 when the program did not exit normally (a crash)
  std::string out;
  std::string err;
};

using Environment = std::vector<std::pair<std::string, std::string>>;

// Runs the built `orvo` with these arguments, these variables added to the environment and
// `input` as its standard input.
OrvoRun RunOrvo(const std::vector<std::string>& arguments, const Environment& environment = {},
                std::string_view input = {});
// The same with the arguments as shell words, quoted where needed (see ShellQuote).
OrvoRun RunOrvoCommandLine(std::string_view arguments, const Environment& environment = {},
                           std::string_view input = {});

// Runs the event loop until `done` holds; the deadline only stops a broken test from hanging.
bool RunUntil(boost::asio::io_context& io, const std::function<bool()>& done);

// Runs COMMAND with /bin/sh: its exit code (-1 when it did not exit normally) and what it wrote to
// standard output.
OrvoRun RunCommand(const std::string& command);

// `text` as one word for /bin/sh.
std::string ShellQuote(std::string_view text);
// The whole file as bytes; empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& file);

}  // namespace orvo::testing
