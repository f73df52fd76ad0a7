#include "tests/TestSupport.hpp"

#include <sys/wait.h>

#include <array>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/BuildPaths.hpp"

namespace orvo::testing {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "orvo-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temp folder");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
  if (const char* old = std::getenv(name_.c_str())) previous_ = old;
  if (value) {
    ::setenv(name_.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name_.c_str());
  }
}

ScopedEnvironment::~ScopedEnvironment() {
  if (previous_) {
    ::setenv(name_.c_str(), previous_->c_str(), 1);
  } else {
    ::unsetenv(name_.c_str());
  }
}

bool RunUntil(boost::asio::io_context& io, const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  const auto work = boost::asio::make_work_guard(io);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    if (io.stopped()) io.restart();
    io.run_one_for(std::chrono::milliseconds(10));
  }
  return true;
}

std::string ShellQuote(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

OrvoRun RunCommand(const std::string& command) {
  OrvoRun run;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return run;
  std::array<char, 4096> buffer{};
  std::size_t count = 0;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
    run.out.append(buffer.data(), count);
  const int status = ::pclose(pipe);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

OrvoRun RunOrvoCommandLine(std::string_view arguments, const Environment& environment,
                           std::string_view input) {
  const TempFolder folder;
  const fs::path in = folder.Path() / "in";
  const fs::path out = folder.Path() / "out";
  const fs::path err = folder.Path() / "err";
  std::ofstream(in, std::ios::binary) << input;
  std::string command;
  for (const auto& [name, value] : environment) command += name + "=" + ShellQuote(value) + " ";
  // The redirections come first so that the arguments may redirect the input once more.
  command += "exec " + ShellQuote(ORVO_BINARY) + " <" + ShellQuote(in.string()) + " >" +
             ShellQuote(out.string()) + " 2>" + ShellQuote(err.string()) + " ";
  command += arguments;
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
}

OrvoRun RunOrvo(const std::vector<std::string>& arguments, const Environment& environment,
                std::string_view input) {
  std::string words;
  for (const std::string& argument : arguments) words += ShellQuote(argument) + " ";
  return RunOrvoCommandLine(words, environment, input);
}

}  // namespace orvo::testing
