#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "addin/frmVerbose.hpp"
#include "host/ui/Desktop.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::addin {
namespace {

struct DiagnosticLog : ::testing::Test {
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  orvo::testing::TempFolder folder;
  std::filesystem::path file = folder.Path() / "ORVO.log";
  frmVerbose log{desktop, file};

  std::string FileText() const {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
};

TEST_F(DiagnosticLog, JoinsTextsWithoutTheFlagAndWritesTheFileOnlyWhenAsked) {
  log.Log("ParseGSV: ", false);
  log.Log("slot out of range", true);
  log.Log("next", true);
  EXPECT_EQ(log.txtLog.Text(), "ParseGSV: slot out of range\r\nnext\r\n");
  EXPECT_EQ(log.txtLog.SelStart(), static_cast<int>(log.txtLog.Text().size()));
  EXPECT_FALSE(std::filesystem::exists(file));

  log.chkLogfile.SetValue(1);
  log.Log("to the file", true);
  log.Log("and more", false);
  EXPECT_EQ(FileText(), "to the file\r\nand more");
  log.cmdClear.UserClick();
  EXPECT_EQ(log.txtLog.Text(), "");
  EXPECT_EQ(FileText(), "to the file\r\nand more") << "clearing the window keeps the file";
}

TEST_F(DiagnosticLog, KeepsTheNewestLinesInTheWindowAllInTheFileAndSendsOnlyWhatIsAdded) {
  struct Recorder : host::ui::UiObserver {
    std::vector<host::ui::Json> messages;
    void UiMessage(const host::ui::Json& message) override { messages.push_back(message); }
  } recorder;
  log.Show();
  desktop.AddObserver(recorder);
  log.chkLogfile.SetValue(1);
  constexpr int kLines = 12000;
  for (int i = 0; i < kLines; ++i) log.Log("line " + std::to_string(i), true);
  desktop.RemoveObserver(recorder);

  const std::string shown = log.txtLog.Text();
  EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 5000);
  EXPECT_TRUE(shown.starts_with("line 7000\r\n")) << shown.substr(0, 20);
  EXPECT_TRUE(shown.ends_with("line 11999\r\n"));
  const std::string written = FileText();
  EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), kLines);
  EXPECT_TRUE(written.starts_with("line 0\r\n"));
  // Per line: the appended text and the caret, nothing the size of the whole log.
  std::size_t appends = 0;
  for (const auto& message : recorder.messages) {
    EXPECT_LT(message.dump().size(), 200u) << message.dump().substr(0, 200);
    if (message.contains("append")) ++appends;
  }
  EXPECT_EQ(appends, static_cast<std::size_t>(kLines));
}

TEST_F(DiagnosticLog, AFileThatCannotBeWrittenDoesNotDisturbTheWindow) {
  // A folder where the file should be: not writable even for the superuser.
  std::filesystem::create_directory(file);
  log.chkLogfile.SetValue(1);
  log.Log("still shown", true);
  EXPECT_EQ(log.txtLog.Text(), "still shown\r\n");
  EXPECT_TRUE(std::filesystem::is_directory(file));
}

}  // namespace
}  // namespace orvo::addin
