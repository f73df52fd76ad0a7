#pragma once
// The route planner's traffic with the pages: the active route (waypoints, whether it is
// calculated, its road, distance, time and directions) reaches every page after each change, and
// the user's planning comes back.
//
// orvo -> page: {"type":"route", "open":bool, "unit":"km"|"miles",
//                "waypoints":[{"name","lat","lon","type":"start"|"stop"|"end"}],
//                "preference":"quickest"|"shortest"|"preferred", "calculated":bool,
//                "optimized":bool, "path":[[lat,lon],...], "distance":d, "time":seconds,
//                "directions":[{"text","depth","action","distance"}]}, also in the snapshot
// page -> orvo: {"type":"route","action":"add","lat","lon","as":"start"|"stop"|"end"}
//               {"type":"route","action":"delete"|"up"|"down","position":N}
//               {"type":"route","action":"rename","position":N,"name":"..."}
//               {"type":"route","action":"preference","preference":"quickest"|...}
//               {"type":"route","action":"calculate"|"optimize"|"clear"}
//               {"type":"route","action":"search","text":"..."}, answered by
// orvo -> page: {"type":"routesearch","text":"...","results":[{"name","kind","lat","lon"}]}
// "add" may carry a "name" (a street found by its name).
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/map/DocumentRoute.hpp"
#include "host/map/MapHost.hpp"
#include "host/map/RegionNames.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/WebBridge.hpp"

namespace orvo::host::map {

class RouteChannel {
 public:
  // Takes over HOST's onRouteChange. NAMES is the region's index of street and place names,
  // read when first searched.
  RouteChannel(MapHost& host, DocumentRoute& route, ui::WebBridge& bridge, ui::Desktop& desktop,
               std::filesystem::path names);
  RouteChannel(const RouteChannel&) = delete;
  RouteChannel& operator=(const RouteChannel&) = delete;

  // The route as the pages show it.
  ui::Json State();
  // Applies one planning message; a route the host cannot calculate is told to the user.
  void Apply(const ui::Json& message);

  std::function<void(std::string_view)> diagnostics;

 private:
  void Changed();
  void Search(const std::string& text);

  MapHost& host_;
  DocumentRoute& route_;
  ui::WebBridge& bridge_;
  ui::Desktop& desktop_;
  bool sendPosted_ = false;
  std::filesystem::path namesFile_;
  std::optional<NameIndex> names_;
};

}  // namespace orvo::host::map
