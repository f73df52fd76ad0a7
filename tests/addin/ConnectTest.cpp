#include <gtest/gtest.h>

#include "addin/Connect.hpp"
#include "tests/addin/MainWindowFixture.hpp"

namespace orvo::addin {
namespace {

struct ConnectFixture : ::testing::Test, orvo::testing::MainWindowFixture {
  Connect connect{desktop, store, [this] {
                    ++windowsMade;
                    return std::move(window);
                  }};
  int windowsMade = 0;
};

TEST_F(ConnectFixture, MenuCommandOpensTheWindowAndTheNextStartRemembersIt) {
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
  connect.MainWindow()->receiver.cboPort.SetText("6");

  connect.AddinInstance_OnDisconnection();
  EXPECT_FALSE(connect.MainWindow()->IsLoaded());
  EXPECT_EQ(store.GetSetting("Settings", "DisplayOnConnect", ""), "1");
  EXPECT_EQ(store.GetSetting("Settings", "Port", ""), "6") << "the unload saved the settings";

  // The next start opens the window by itself.
  Make();
  Connect next(desktop, store, [this] { return std::move(window); });
  next.AddinInstance_OnConnection();
  next.AddinInstance_OnStartupComplete();
  ASSERT_NE(next.MainWindow(), nullptr);
  EXPECT_EQ(next.MainWindow()->receiver.cboPort.Text(), "6");
  EXPECT_EQ(windowsMade, 1);
}

}  // namespace
}  // namespace orvo::addin
