#include "host/map/RouteChannel.hpp"

#include <utility>

#include "host/map/RouteJson.hpp"

namespace orvo::host::map {
namespace {

using ui::Json;

void AddDirections(const std::vector<Direction>& directions, int depth, Json& list) {
  for (const Direction& direction : directions) {
    list.push_back({{"text", direction.text},
                    {"depth", depth},
                    {"action", static_cast<int>(direction.action)},
                    {"distance", direction.distance}});
    AddDirections(direction.nested, depth + 1, list);
  }
}

std::size_t Position(const Json& message) {
  return message.at("position").get<std::size_t>();
}

}  // namespace

RouteChannel::RouteChannel(MapHost& host, DocumentRoute& route, ui::WebBridge& bridge,
                           ui::Desktop& desktop, std::filesystem::path names)
    : host_(host), route_(route), bridge_(bridge), desktop_(desktop), namesFile_(std::move(names)) {
  host_.onRouteChange = [this] { Changed(); };
  bridge_.AddSnapshotPart([this](Json& snapshot) { snapshot["route"] = State(); });
  bridge_.OnPageMessage("route", [this](const Json& message) { Apply(message); });
}

void RouteChannel::Changed() {
  if (std::exchange(sendPosted_, true)) return;
  // Once a turn: adding a stop and re-calculating is one change for the pages.
  desktop_.GetScheduler().Post([this] {
    sendPosted_ = false;
    bridge_.Queue(State());
  });
}

void RouteChannel::Search(const std::string& text) {
  if (!names_) names_.emplace(namesFile_);
  Json results = Json::array();
  for (const NamedPlace& place : names_->Search(text)) {
    results.push_back({{"name", place.name},
                       {"kind", place.kind},
                       {"lat", place.location.latitudeDegrees},
                       {"lon", place.location.longitudeDegrees}});
  }
  bridge_.Queue({{"type", "routesearch"}, {"text", text}, {"results", std::move(results)}});
}

Json RouteChannel::State() {
  Json state = {{"type", "route"},
                {"open", host_.ActiveMap() != nullptr},
                {"unit", host_.Unit() == DistanceUnit::Kilometres ? "km" : "miles"},
                {"waypoints", Json::array()},
                {"preference", PreferenceName(SegmentPreference::Quickest)},
                {"calculated", false},
                {"optimized", false},
                {"path", Json::array()},
                {"distance", 0.0},
                {"time", 0.0},
                {"directions", Json::array()}};
  if (host_.ActiveMap() == nullptr) return state;
  const std::vector<Waypoint> waypoints = route_.Waypoints();
  for (const Waypoint& waypoint : waypoints) {
    state["waypoints"].push_back({{"name", waypoint.name},
                                  {"lat", waypoint.location.latitudeDegrees},
                                  {"lon", waypoint.location.longitudeDegrees},
                                  {"type", WaypointTypeName(waypoint.type)}});
  }
  if (!waypoints.empty()) state["preference"] = PreferenceName(waypoints.front().preference);
  state["optimized"] = route_.IsOptimized();
  if (!route_.IsCalculated()) return state;
  state["calculated"] = true;
  for (const GeoPoint& point : route_.Path())
    state["path"].push_back({point.latitudeDegrees, point.longitudeDegrees});
  state["distance"] = route_.Distance();
  state["time"] = route_.TimeSeconds();
  AddDirections(route_.Directions(), 0, state["directions"]);
  return state;
}

void RouteChannel::Apply(const Json& message) {
  const std::string action = message.value("action", "");
  try {
    if (action == "search") {
      Search(message.at("text").get<std::string>());
      return;
    }
    if (action == "add") {
      const std::size_t added =
          route_.AddWaypoint({message.at("lat").get<double>(), message.at("lon").get<double>()},
                             message.value("name", ""));
      const std::string as = message.value("as", "end");
      if (as == "start") route_.SetWaypointType(added, WaypointType::Start);
      if (as == "stop" && added > 0 && route_.Waypoints().size() > 2)
        route_.MoveWaypoint(added, added - 1);  // before the end
    } else if (action == "delete") {
      route_.DeleteWaypoint(Position(message));
    } else if (action == "up" || action == "down") {
      const std::size_t from = Position(message);
      if (action == "up" && from > 0) route_.MoveWaypoint(from, from - 1);
      if (action == "down" && from + 1 < route_.Waypoints().size())
        route_.MoveWaypoint(from, from + 1);
    } else if (action == "rename") {
      route_.RenameWaypoint(Position(message), message.at("name").get<std::string>());
    } else if (action == "preference") {
      const std::string name = message.at("preference").get<std::string>();
      for (const auto preference : {SegmentPreference::Quickest, SegmentPreference::Shortest,
                                    SegmentPreference::Preferred}) {
        if (name != PreferenceName(preference)) continue;
        for (std::size_t i = 0; i < route_.Waypoints().size(); ++i)
          route_.SetSegmentPreference(i, preference);
      }
    } else if (action == "calculate") {
      route_.Calculate();
    } else if (action == "optimize") {
      route_.Optimize();
    } else if (action == "clear") {
      route_.Clear();
    } else {
      if (diagnostics) diagnostics("unknown route action \"" + action + "\"");
      return;
    }
  } catch (const Json::exception& error) {
    if (diagnostics) diagnostics(std::string("a route message was refused: ") + error.what());
    return;
  } catch (const std::exception& error) {
    // No road near a waypoint, no way between two, no region: the user is told why.
    desktop_.MsgBox(error.what(), ui::MsgBoxButtons::OkOnly, "Route");
  }
  Changed();
}

}  // namespace orvo::host::map
