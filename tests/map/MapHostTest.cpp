// The active map: which document opens at start, New, Open, Save As, Close, and the unit.
#include <gtest/gtest.h>

#include <fstream>

#include "host/map/MapFlushTimer.hpp"
#include "host/map/MapHost.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;

struct MapHostFixture : ::testing::Test {
  orvo::testing::TempFolder folder;
  fs::path data = folder.Path() / "orvo";
};

TEST_F(MapHostFixture, StartsWithTheLastDocumentUsedElseTheDefault) {
  {
    MapHost host(data);
    EXPECT_EQ(host.ActiveMap(), nullptr);
    host.OpenAtStart();
    ASSERT_NE(host.ActiveMap(), nullptr);
    EXPECT_EQ(host.ActiveMap()->File(), data / "Default.orvomap");
    host.ActiveMap()->AddPushpin({1, 2}, "in the default");
    host.NewMap();
    EXPECT_EQ(host.ActiveMap()->File(), data / "Map 1.orvomap");
    host.ActiveMap()->AddPushpin({1, 2}, "in map 1");
  }
  {
    MapHost host(data);
    host.OpenAtStart();
    EXPECT_EQ(host.ActiveMap()->File(), data / "Map 1.orvomap");
    EXPECT_TRUE(host.ActiveMap()->FindPushpin("in map 1"));
    EXPECT_EQ(MapFileToRead(data), data / "Map 1.orvomap");
  }
  fs::remove(data / "Map 1.orvomap");  // the last one is gone: back to the default
  MapHost host(data);
  host.OpenAtStart();
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("in the default"));
}

TEST_F(MapHostFixture, ADamagedDocumentIsReportedAndNeverReplaced) {
  fs::create_directories(data);
  const std::string damaged(4096, 'x');
  std::ofstream(data / "Default.orvomap") << damaged;
  MapHost host(data);
  EXPECT_THROW(host.OpenAtStart(), MapError);
  EXPECT_EQ(host.ActiveMap(), nullptr);
  std::ifstream stream(data / "Default.orvomap");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), damaged);
}

TEST_F(MapHostFixture, NewOpenSaveAsAndCloseSwitchTheActiveMap) {
  MapHost host(data);
  host.OpenAtStart();
  host.ActiveMap()->AddPushpin({1, 2}, "a");
  host.NewMap(folder.Path() / "b.orvomap");
  EXPECT_THROW(host.NewMap(folder.Path() / "b.orvomap"), MapError) << "never over a file";
  EXPECT_EQ(host.ActiveMap()->PushpinCount(), 0u);
  host.OpenMap(data / "Default.orvomap");
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("a"));
  EXPECT_THROW(host.OpenMap(folder.Path() / "missing.orvomap"), MapError);
  EXPECT_TRUE(host.ActiveMap()->FindPushpin("a")) << "a failed open keeps the active map";

  // Save As copies the document, and the handles work on in the copy.
  Pushpin pin = *host.ActiveMap()->FindPushpin("a");
  const fs::path saved = folder.Path() / "sub" / "saved.orvomap";
  host.SaveMapAs(saved);
  EXPECT_EQ(host.LastMapFile(), saved);
  pin.SetNote("after the copy");
  EXPECT_NO_THROW(MapDocument{data / "Default.orvomap"}) << "the old file is free";

  host.CloseMap();
  EXPECT_EQ(host.ActiveMap(), nullptr);
  EXPECT_FALSE(pin.Exists());
  EXPECT_THROW(pin.Name(), MapError);
  for (const auto& [file, note] :
       {std::pair{data / "Default.orvomap", ""}, std::pair{saved, "after the copy"}})
    EXPECT_EQ(MapDocument(file, MapDocument::Access::ReadOnly).FindPushpin("a")->Note(), note);
  host.Flush();
  host.CloseMap();  // nothing open: nothing to do
  EXPECT_THROW(host.SaveMapAs(folder.Path() / "x.orvomap"), MapError);
}

TEST_F(MapHostFixture, TheDistanceUnitIsKilometresUntilChangedAndIsRemembered) {
  {
    MapHost host(data);
    EXPECT_EQ(host.Unit(), DistanceUnit::Kilometres);
    host.SetUnit(DistanceUnit::Miles);
  }
  EXPECT_EQ(MapHost(data).Unit(), DistanceUnit::Miles);

  std::ofstream(data / "maphost.json") << "{ broken";
  MapHost host(data);
  EXPECT_EQ(host.Unit(), DistanceUnit::Kilometres);
  EXPECT_EQ(MapFileToRead(data), data / "Default.orvomap");
}

TEST_F(MapHostFixture, TheFlushTimerWritesABurstOfChangesOnceAfterItsFirstChange) {
  ui::ManualScheduler scheduler;
  MapHost host(data);
  host.OpenAtStart();
  MapFlushTimer flusher(host, scheduler);
  const auto stored = [this] {
    return MapDocument(data / "Default.orvomap", MapDocument::Access::ReadOnly).PushpinCount();
  };
  host.ActiveMap()->AddPushpin({1, 2});
  scheduler.Advance(MapFlushTimer::kDefaultDelay / 2);
  host.ActiveMap()->AddPushpin({1, 2});
  EXPECT_EQ(scheduler.PendingTimers(), 1u);
  EXPECT_EQ(stored(), 0u);
  scheduler.Advance(MapFlushTimer::kDefaultDelay / 2);
  EXPECT_EQ(stored(), 2u);
  EXPECT_EQ(scheduler.PendingTimers(), 0u);
  host.ActiveMap()->AddPushpin({1, 2});
  EXPECT_EQ(scheduler.PendingTimers(), 1u);
}

}  // namespace
}  // namespace orvo::host::map
