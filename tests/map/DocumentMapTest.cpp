// The real map document behind the interface map tracking uses: handles of deleted pins throw
// PushpinGone, whoever deleted them, and nothing is there while no map is open.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/map/DocumentMap.hpp"
#include "host/map/MapView.hpp"
#include "host/map/PinMessages.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/Dialogs.hpp"
#include "host/ui/Scheduler.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map {
namespace {

TEST(DocumentMap, ActsOnTheOpenDocumentAndRefusesPinsThatAreGone) {
  ui::ManualScheduler scheduler;
  ui::ScriptedDialogs dialogs;
  ui::Desktop desktop{scheduler, dialogs};
  MapView view{desktop};
  orvo::testing::TempFolder folder;
  MapHost host(folder.Path());
  MapGeometry geometry(view, host);
  DocumentMap map(host, geometry);

  EXPECT_EQ(map.GetActiveMap(), nullptr);
  host.OpenAtStart();
  ASSERT_EQ(map.GetActiveMap(), &map);

  const PushpinRef position =
      map.AddPushpin(map.GetLocation(43.7384, 7.4246, 12), std::string("ORVO_CurrentPosition"));
  const PushpinRef unnamed = map.AddPushpin(map.GetLocation(43.74, 7.43, 0), std::nullopt);
  EXPECT_EQ(unnamed.Name(), "Pushpin 1");
  ASSERT_TRUE(map.FindPushpin("ORVO_CurrentPosition"));
  EXPECT_EQ(*map.FindPushpin("ORVO_CurrentPosition"), position);
  EXPECT_FALSE(map.FindPushpin("ORVO_1"));

  position.SetLocation(map.GetLocation(43.7390, 7.4250, 0));
  position.SetSymbol(123);
  position.SetBalloonState(kBalloonOpen);
  position.SetNote("Speed: 3 km/h");
  const PinRecord& stored = *host.ActiveMap()->Find(position.Id());
  EXPECT_DOUBLE_EQ(stored.location.latitudeDegrees, 43.7390);
  EXPECT_EQ(stored.symbol, 123);
  EXPECT_EQ(stored.balloonState, kBalloonOpen);
  EXPECT_EQ(stored.note, "Speed: 3 km/h");
  EXPECT_DOUBLE_EQ(position.Location().longitudeDegrees, 7.4250);

  // Deleted by the user in the page, and by ORVO: every use of the old handle throws.
  ApplyPageMessage(host.ActiveMap(),
                   {{"type", "pin"}, {"id", position.Id()}, {"action", "delete"}});
  unnamed.Delete();
  for (const PushpinRef& gone : {position, unnamed}) {
    EXPECT_THROW(gone.SetLocation(map.GetLocation(0, 0, 0)), PushpinGone);
    EXPECT_THROW(gone.SetSymbol(1), PushpinGone);
    EXPECT_THROW(gone.Name(), PushpinGone);
    EXPECT_THROW(gone.Delete(), PushpinGone);
  }
  EXPECT_FALSE(map.FindPushpin("ORVO_CurrentPosition"));

  // The view the page reported is the one pixels are measured in.
  view.HandleEvent({{"type", "mapview"},
                    {"lat", 43.74},
                    {"lon", 7.42},
                    {"zoom", 16},
                    {"width", 1000},
                    {"height", 700}});
  EXPECT_EQ(map.Width(), 1000);
  EXPECT_EQ(map.LocationToY(map.GetLocation(43.74, 7.42, 0)), 350);

  host.CloseMap();
  EXPECT_EQ(map.GetActiveMap(), nullptr);
  EXPECT_THROW(map.AddPushpin(map.GetLocation(0, 0, 0), std::nullopt), MapError);
}

}  // namespace
}  // namespace orvo::host::map
