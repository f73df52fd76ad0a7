// The program itself, run as a user runs it: its options, and quitting with Ctrl+C while ORVO is
// waiting for an answer.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include "settings/SettingsStore.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/PageClient.hpp"
#include "tests/TestSupport.hpp"

namespace orvo {
namespace {

using namespace std::chrono_literals;

// `orvo ARGUMENTS...` in the background, its output going to a file.
class RunningOrvo {
 public:
  RunningOrvo(const std::vector<std::string>& arguments, const std::filesystem::path& output)
      : output_(output) {
    pid_ = fork();
    if (pid_ == 0) {
      std::FILE* out = std::fopen(output.c_str(), "w");
      dup2(fileno(out), 1);
      dup2(fileno(out), 2);
      std::vector<char*> argv{const_cast<char*>(ORVO_BINARY)};
      for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      execv(ORVO_BINARY, argv.data());
      _exit(127);
    }
  }
  ~RunningOrvo() {
    if (pid_ > 0 && !exited_) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  std::string Output() const {
    std::ifstream in(output_);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  // The page's port, once the program says it is running.
  std::optional<unsigned short> WaitUntilRunning() const {
    const std::regex running("ORVO is running at http://127\\.0\\.0\\.1:([0-9]+)");
    for (auto deadline = std::chrono::steady_clock::now() + 20s;
         std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(50ms)) {
      std::smatch match;
      const std::string text = Output();
      if (std::regex_search(text, match, running))
        return static_cast<unsigned short>(std::stoi(match[1]));
    }
    return std::nullopt;
  }
  void Interrupt() const { kill(pid_, SIGINT); }
  bool StillRunning() const { return !exited_ && waitpid(pid_, nullptr, WNOHANG) == 0; }
  // The exit status, or nothing if it did not end in time.
  std::optional<int> WaitForExit() {
    for (auto deadline = std::chrono::steady_clock::now() + 20s;
         std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(20ms)) {
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        exited_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      }
    }
    return std::nullopt;
  }

 private:
  std::filesystem::path output_;
  pid_t pid_ = -1;
  bool exited_ = false;
};

struct OrvoProgram : ::testing::Test {
  std::vector<std::string> Arguments(std::initializer_list<std::string> more) const {
    std::vector<std::string> arguments{"--listen", "127.0.0.1:0", "--config", config.string()};
    arguments.insert(arguments.end(), more);
    return arguments;
  }
  testing::TempFolder folder;
  std::filesystem::path config = folder.Path() / "config";
  std::filesystem::path output = folder.Path() / "output.txt";
};

TEST_F(OrvoProgram, UsageErrorsExitWithTwoAndSayWhatIsWrong) {
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  const std::vector<Case> cases = {
      {{"--listen", "nope"}, "--listen wants ADDRESS:PORT"},
      {{"--listen", ":8080"}, "--listen wants ADDRESS:PORT"},
      {{"--listen", "127.0.0.1:65536"}, "is not a port number"},
      {{"--listen", "127.0.0.1:8o"}, "is not a port number"},
      {{"--listen"}, "--listen needs a value"},
      // A valid --listen is taken, so the error is about what follows it.
      {{"--listen=[::1]:8080", "--bogus"}, "unknown option \"--bogus\""},
      {{"--listen", "0.0.0.0:80", "--region"}, "--region needs a value"},
      // A region is a folder below the regions folder: its name leads nowhere else.
      {{"--region", "../../etc"}, "is not a region name"},
      {{"--region", ".hidden"}, "is not a region name"},
      {{"--region", ""}, "is not a region name"},
      {{"--region", "/etc"}, "is not a region name"},
      {{"--waypoints", "43.73,7.42"}, "a route needs at least two points"},
      {{"--waypoints", "43.73,7.42;91,7"}, "\"91,7\" is not a point LAT,LON"},
      {{"--waypoints", "43.73;7.42"}, "\"43.73\" is not a point"},
  };
  for (const Case& c : cases) {
    RunningOrvo orvo(c.arguments, output);
    EXPECT_EQ(orvo.WaitForExit(), 2) << c.arguments.front();
    const std::string text = orvo.Output();
    EXPECT_NE(text.find(c.message), std::string::npos) << text;
    EXPECT_NE(text.find("orvo --help lists the options"), std::string::npos) << text;
  }
  RunningOrvo help({"--help"}, output);
  EXPECT_EQ(help.WaitForExit(), 0);
  EXPECT_NE(help.Output().find("--listen ADDRESS:PORT"), std::string::npos);
}

// No page is there to answer "Can't open comm port": Ctrl+C takes the cautious answer, and the
// settings are saved as the user would have left them.
TEST_F(OrvoProgram, CtrlCWhileAQuestionWaitsForAPageQuitsAndSaves) {
  {
    settings::SettingsStore store(config / "ORVO.ini");
    store.SaveSetting("Settings", "CommaReset1", "True");
    store.SaveSetting("Settings", "DisplayOnConnect", "1");
    store.SaveSetting("Settings", "GPSStart", "True");
  }
  RunningOrvo orvo(Arguments({"--serial", (folder.Path() / "no-such-tty").string()}), output);
  std::this_thread::sleep_for(1500ms);
  orvo.Interrupt();
  EXPECT_EQ(orvo.WaitForExit(), 0) << orvo.Output();
  settings::SettingsStore saved(config / "ORVO.ini");
  EXPECT_EQ(saved.GetSetting("Settings", "GPSStart", ""), "False") << "the start had failed";
  EXPECT_EQ(saved.GetSetting("Settings", "DisplayOnConnect", ""), "1");
}

// A page is connected, so the first Ctrl+C leaves the question of the closing save to it; when
// nobody answers, the second Ctrl+C does.
TEST_F(OrvoProgram, ASecondCtrlCAnswersTheQuestionsOfTheClosingItself) {
  {
    settings::SettingsStore store(config / "ORVO.ini");
    store.SaveSetting("Settings", "CommaReset1", "True");
    store.SaveSetting("Settings", "DisplayOnConnect", "1");
  }
  RunningOrvo orvo(Arguments({}), output);
  const auto port = orvo.WaitUntilRunning();
  ASSERT_TRUE(port) << orvo.Output();

  testing::PageClient page(*port, "/ws", {{"Origin", "http://127.0.0.1:" + std::to_string(*port)}});
  ASSERT_TRUE(page.Connected());
  std::string seen;
  std::thread reader([&] {
    try {
      for (;;) seen += page.Next().dump() + "\n";
    } catch (const std::exception&) {  // the page is closed when orvo ends
    }
  });

  // The save at closing cannot write the store: its message waits for the page.
  std::filesystem::create_directory(config / "ORVO.ini.tmp");
  orvo.Interrupt();
  std::this_thread::sleep_for(1500ms);
  EXPECT_TRUE(orvo.StillRunning()) << "the question waits for the connected page";
  orvo.Interrupt();
  EXPECT_EQ(orvo.WaitForExit(), 0) << orvo.Output();
  reader.join();
  EXPECT_NE(seen.find("SaveSettings: "), std::string::npos) << "the page was asked";
}

}  // namespace
}  // namespace orvo
