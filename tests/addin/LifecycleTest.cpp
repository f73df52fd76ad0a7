// The main window's load and unload on the real settings file, failures that must neither stop
// ORVO nor go unseen, and the diagnostic log that shows them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <boost/asio/io_context.hpp>

#include "addin/Connect.hpp"
#include "addin/frmVerbose.hpp"
#include "host/serial/AsioSerialPort.hpp"
#include "tests/PseudoTerminal.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::addin {
namespace {

using orvo::testing::MainWindowFixture;

bool Logged(const frmVerbose& verbose, std::string_view text) {
  return verbose.txtLog.Text().find(text) != std::string::npos;
}

// The host shows the same window object again after the user closed it ("display on connect"):
// a receiver running at the close starts again, and stays saved as running.
TEST(MainWindowLifecycle, ClosingAndReopeningTheSameWindowKeepsTheReceiverRunning) {
  boost::asio::io_context io;
  host::ui::AsioScheduler scheduler{io};
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  orvo::testing::TempFolder folder;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  frmVerbose verbose{desktop, folder.Path() / "ORVO.log"};
  host::platform::FixedClock clock{host::platform::DateValue::FromCivil({2026, 1, 1, 0, 0, 0})};
  host::platform::FixedTimeZone timeZone{0, false};
  host::serial::AsioSerialPort port{io};
  orvo::testing::PseudoTerminal terminal;
  orvo::testing::FixedDeclination declination;
  for (int number = 1; number <= gps::kPortCount; ++number)
    port.SetDevicePathOverride(number, terminal.path);
  Connect connect(desktop, store, [&] {
    return std::make_unique<frmAddIn>(
        MainWindowServices{desktop, store, verbose, clock, timeZone, port, declination});
  });
  const auto close = [&] { desktop.Dispatch({{"type", "close"}, {"window", "frmAddIn"}}); };
  const auto gpsStart = [&] { return store.GetSetting("Settings", "GPSStart", ""); };

  connect.ShowCtrl();
  frmAddIn* main = connect.MainWindow();
  main->receiver.cmdGPSAction.UserClick();
  ASSERT_TRUE(port.IsOpen()) << verbose.txtLog.Text();
  EXPECT_EQ(main->receiver.cmdGPSAction.Caption(), "Stop &GPS");

  for (int round = 1; round <= 2; ++round) {
    close();
    EXPECT_FALSE(main->IsLoaded());
    EXPECT_FALSE(port.IsOpen()) << "round " << round << ": the unload closes the port";
    EXPECT_EQ(gpsStart(), "True") << "round " << round;
    EXPECT_EQ(main->Fix().FixMode, 0);

    ASSERT_TRUE(
        terminal.Send("$GPRMC,120000,A,4344.3820,N,00725.4500,E,12.5,90.0,211126,,*00\r\n"));
    connect.ShowCtrl();
    ASSERT_EQ(connect.MainWindow(), main) << "the same window object";
    EXPECT_TRUE(port.IsOpen()) << "round " << round << ": the load starts the receiver again";
    EXPECT_EQ(main->receiver.cmdGPSAction.Caption(), "Stop &GPS");
    EXPECT_FALSE(main->receiver.cboPort.Enabled());
    EXPECT_TRUE(main->GpsRunning());
    EXPECT_EQ(main->Fix().FixMode, 0) << "the load resets the fix";
  }
  EXPECT_TRUE(dialogs.Prompts().empty());
  main->receiver.cmdGPSAction.UserClick();
  close();
  EXPECT_EQ(gpsStart(), "False") << "stopped by the user: stays stopped";
}

struct Lifecycle : ::testing::Test, MainWindowFixture {};

TEST_F(Lifecycle, TheMenuCommandOpensTheWindowAndTheNextStartRemembersIt) {
  int windowsMade = 0;
  Connect connect(desktop, store, [&] {
    ++windowsMade;
    return std::move(window);
  });
  connect.AddinInstance_OnConnection();
  connect.AddinInstance_OnStartupComplete();
  EXPECT_EQ(connect.MainWindow(), nullptr) << "not shown at the last disconnection";
  const auto commands = desktop.Snapshot()["commands"];
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0]["caption"], "Orvo&net");

  desktop.Dispatch({{"type", "command"}, {"id", commands[0]["id"]}});
  ASSERT_NE(connect.MainWindow(), nullptr);
  EXPECT_TRUE(connect.MainWindow()->Visible());
  EXPECT_TRUE(connect.DisplayOnConnect());

  connect.AddinInstance_OnDisconnection();
  EXPECT_FALSE(connect.MainWindow()->IsLoaded());

  // The next start opens the window by itself (its settings: EverySettingSurvivesUnloadAndLoad).
  Make();
  Connect next(desktop, store, [this] { return std::move(window); });
  next.AddinInstance_OnConnection();
  next.AddinInstance_OnStartupComplete();
  EXPECT_NE(next.MainWindow(), nullptr);
  EXPECT_EQ(windowsMade, 1);
}

// Places are checked against a viewport a page reported, never against a guess; a place nobody
// moved is never written back. A moved place kept over a restart: orvo.test.ts.
TEST_F(Lifecycle, SavedPlacesWaitForThePagesViewportAndAreNotOverwritten) {
  store.SaveSetting("FormLoc", "frmAddIn-X", "1500");
  store.SaveSetting("FormLoc", "frmAddIn-Y", "100");
  window->Show();
  EXPECT_NE(window->Left(), 1500) << "no page yet: 1500 is not known to fit";
  window->Unload();
  EXPECT_EQ(store.GetSetting("FormLoc", "frmAddIn-X", ""), "1500") << "not overwritten";

  window->Show();
  desktop.SetViewport({1920, 1080});
  EXPECT_EQ(window->Left(), 1500) << "placed once the page reported its viewport";
  EXPECT_EQ(window->Top(), 100);
  window->Unload();
  window->Show();
  EXPECT_EQ(window->Left(), 1500) << "with a viewport known, placed at once";
}

TEST_F(Lifecycle, ASettingsFileThatCannotBeWrittenIsShownAtUnload) {
  window->Show();
  window->receiver.cboPort.SetText("4");
  // A folder where the store writes its temporary file: refused even to the superuser.
  std::filesystem::create_directory(store.File().string() + ".tmp");
  window->Unload();
  ASSERT_EQ(dialogs.Prompts().size(), 1u);
  EXPECT_TRUE(dialogs.Prompts()[0].starts_with("SaveSettings: ")) << dialogs.Prompts()[0];
  EXPECT_TRUE(Logged(verbose, "SaveSettings: "));
}

// A window whose unload fails, and a window that cannot be made: the connection events end
// quietly and the log says why.
class FailingWindow final : public frmAddIn {
 public:
  using frmAddIn::frmAddIn;

 protected:
  void OnUnload() override { throw std::runtime_error("unload failed"); }
};

TEST_F(Lifecycle, ConnectionEventsTrapAndLogTheirFailures) {
  Connect failing(
      desktop, store,
      [this]() -> std::unique_ptr<frmAddIn> {
        return std::make_unique<FailingWindow>(
            MainWindowServices{desktop, store, verbose, clock, timeZone, port, declination});
      },
      [this](std::string_view text) { verbose.Log(text, true); });
  failing.ShowCtrl();
  EXPECT_NO_THROW(failing.AddinInstance_OnDisconnection());
  EXPECT_TRUE(Logged(verbose, "AddinInstance_OnDisconnection: unload failed"));
  EXPECT_EQ(store.GetSetting("Settings", "DisplayOnConnect", ""), "1");

  Connect unmade(
      desktop, store, []() -> std::unique_ptr<frmAddIn> { throw std::runtime_error("no window"); },
      [this](std::string_view text) { verbose.Log(text, true); });
  EXPECT_NO_THROW(unmade.ShowCtrl());
  EXPECT_TRUE(Logged(verbose, "ShowCtrl: no window"));
}

TEST_F(Lifecycle, ACaptureFileThatStopsTakingTextIsLoggedOnceAndTheStreamGoesOn) {
  window->Show();
  const auto folderOfCapture = folder.Path() / "captures";
  std::filesystem::create_directory(folderOfCapture);
  window->receiver.txtRecOutFileName.SetText((folderOfCapture / "drive.nmea").string());
  window->receiver.chkRecord.UserClick();
  ASSERT_EQ(window->receiver.chkRecord.Value(), 1);
  std::filesystem::remove_all(folderOfCapture);
  for (int chunk = 0; chunk < 3; ++chunk)
    window->ProcessData("$GPRMC,081500,A,4807.038,N,01131.000,E,0.0,0.0,010203,,*00\r\n");
  EXPECT_EQ(window->Fix().FixMode, 2) << "the sentences still arrive";
  const std::string& log = verbose.txtLog.Text();
  const auto first = log.find("ProcessData: capture: ");
  ASSERT_NE(first, std::string::npos) << log;
  EXPECT_EQ(log.find("ProcessData: capture: ", first + 1), std::string::npos)
      << "once, not per chunk";
}

// The diagnostic log: the window of the fixture's main window and the file beside its settings.
struct DiagnosticLog : ::testing::Test, MainWindowFixture {
  std::string FileText() const { return orvo::testing::ReadFile(file); }
  std::filesystem::path file = folder.Path() / "ORVO.log";
  frmVerbose& log = verbose;
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
