#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/ui/Desktop.hpp"
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"
#include "settings/WindowPlacement.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::settings {
namespace {

namespace fs = std::filesystem;

TEST(SettingsStore, KeepsTextExactlyAcrossReopeningAndFindsKeysWithoutCase) {
  orvo::testing::TempFolder folder;
  const fs::path file = folder.Path() / "ORVO" / "ORVO.ini";
  {
    SettingsStore store(file);
    store.SaveSetting("Settings", "Baud", "4800,n,8,1");
    store.SaveSetting("Settings", "txtRecOutFileName", " /tmp/a b=c\\d\r\nnext ");
    store.SaveSetting("FormLoc", "frmAddIn-X", "12");
    store.SaveSetting("settings", "BAUD", "9600,n,8,1");  // the same key
  }
  SettingsStore reopened(file);
  EXPECT_EQ(reopened.GetSetting("SETTINGS", "baud", "x"), "9600,n,8,1");
  EXPECT_EQ(reopened.GetSetting("Settings", "txtRecOutFileName", ""), " /tmp/a b=c\\d\r\nnext ");
  EXPECT_EQ(reopened.GetSetting("Settings", "Missing", "default"), "default");
  reopened.DeleteSetting("FormLoc", "frmAddIn-X");
  EXPECT_FALSE(SettingsStore(file).Find("FormLoc", "frmAddIn-X"));
}

TEST(SettingsStore, DamagedLinesAreReportedAndKept) {
  orvo::testing::TempFolder folder;
  const fs::path file = folder.Path() / "ORVO.ini";
  std::ofstream(file)
      << "garbage before any section\n[Settings]\nPort=3\n\x01\x02 binary\n=novalue\n";
  std::vector<std::string> reports;
  SettingsStore store(file, [&](std::string_view text) { reports.emplace_back(text); });
  EXPECT_EQ(store.GetSetting("Settings", "Port", "1"), "3");
  EXPECT_EQ(reports.size(), 3u);
  store.SaveSetting("Settings", "Port", "4");
  std::ifstream in(file);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("garbage before any section"), std::string::npos);
  EXPECT_NE(text.find("\x01\x02 binary"), std::string::npos);
  EXPECT_NE(text.find("Port=4"), std::string::npos);
}

TEST(SettingsStore, BooleansReadTheWayTheOldStoreWroteThem) {
  EXPECT_EQ(ParseBoolean("True"), true);
  EXPECT_EQ(ParseBoolean("false"), false);
  EXPECT_EQ(ParseBoolean(" TRUE "), true);
  EXPECT_EQ(ParseBoolean("-1"), true);
  EXPECT_EQ(ParseBoolean("0"), false);
  EXPECT_EQ(ParseBoolean("yes"), std::nullopt);
  EXPECT_EQ(BooleanText(true), "True");
}

// A process killed in the middle of saving leaves either the old or the new store, whole.
TEST(SettingsStore, SurvivesAProcessKilledWhileSaving) {
  orvo::testing::TempFolder folder;
  const fs::path file = folder.Path() / "ORVO.ini";
  const std::string big(std::size_t{64} * 1024, 'x');
  for (int round = 0; round < 12; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      SettingsStore store(file);
      for (long generation = 0;; ++generation) {
        SettingsStore::Batch batch(store);
        store.SaveSetting("Settings", "Generation", std::to_string(generation));
        store.SaveSetting("Settings", "Padding", big + std::to_string(generation));
        store.SaveSetting("Settings", "Check", std::to_string(generation));
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + round * 7));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    SettingsStore store(file);
    const std::string generation = store.GetSetting("Settings", "Generation", "none");
    if (generation == "none") continue;  // killed before the first save finished
    EXPECT_EQ(store.GetSetting("Settings", "Check", "missing"), generation);
    EXPECT_EQ(store.GetSetting("Settings", "Padding", ""), big + generation);
  }
}

struct PlacementFixture : ::testing::Test {
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  host::ui::Window window{desktop, "frmPlayback", "Playback", 300, 120};
  orvo::testing::TempFolder folder;
  SettingsStore store{folder.Path() / "ORVO.ini"};
};

TEST_F(PlacementFixture, SavedPlaceIsUsedOnlyWhenItLiesOnTheDesktop) {
  desktop.SetViewport({1000, 700});
  window.Move(40, 50);
  SaveFormLoc(window, store);
  EXPECT_EQ(store.GetSetting("FormLoc", "frmPlayback-X", ""), "40");
  window.Move(0, 0);
  LoadFormLoc(window, store);
  EXPECT_EQ(window.Left(), 40);
  EXPECT_EQ(window.Top(), 50);

  const std::vector<std::pair<std::string, std::string>> offDesktop = {
      {"1001", "10"}, {"10", "701"}, {"-5", "10"}, {"abc", "10"}};
  for (const auto& [x, y] : offDesktop) {
    window.Move(7, 8);
    store.SaveSetting("FormLoc", "frmPlayback-X", x);
    store.SaveSetting("FormLoc", "frmPlayback-Y", y);
    LoadFormLoc(window, store);
    EXPECT_EQ(window.Left(), 7) << x << "," << y;
    EXPECT_EQ(window.Top(), 8) << x << "," << y;
  }
}

TEST_F(PlacementFixture, TheOneTimePortMigrationAddsOneToTheStoredNumber) {
  const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
      {std::nullopt, "2"}, {"1", "2"}, {" 3", "4"}, {"7 ", "8"}, {"COM", "COM"}};
  for (const auto& [stored, migrated] : cases) {
    store.DeleteSetting("Settings", "CommaReset1");
    store.DeleteSetting("Settings", "Port");
    if (stored) store.SaveSetting("Settings", "Port", *stored);
    std::string log;
    ApplyCommaReset(store, [&](std::string_view text) { log += text; });
    EXPECT_EQ(store.GetSetting("Settings", "Port", ""), migrated) << stored.value_or("(none)");
    EXPECT_EQ(store.GetSetting("Settings", "CommaReset1", ""), "True");
    EXPECT_EQ(log.starts_with("ApplyCommaReset: "), migrated == "COM") << log;
    ApplyCommaReset(store);
    EXPECT_EQ(store.GetSetting("Settings", "Port", ""), migrated) << "runs once only";
  }
}

}  // namespace
}  // namespace orvo::settings
