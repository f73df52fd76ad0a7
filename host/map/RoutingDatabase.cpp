#include "host/map/RoutingDatabase.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <sstream>
#include <system_error>
#include <utility>

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;

// Routino parses profiles and translations into process-wide tables; these remember which files
// they came from so that every database after the first reuses them.
fs::path loadedProfiles;
fs::path loadedTranslations;

void LoadProfiles(const fs::path& routinoData) {
  const fs::path file = routinoData / "profiles.xml";
  if (loadedProfiles == file) return;
  if (!loadedProfiles.empty()) Routino_FreeXMLProfiles();
  loadedProfiles.clear();
  if (Routino_ParseXMLProfiles(file.c_str()) != ROUTINO_ERROR_NONE)
    throw RoutingError("cannot load Routino's routing profiles from " + file.string() +
                       (Routino_errno == ROUTINO_ERROR_NO_PROFILES_XML ? " (missing)" : ""));
  loadedProfiles = file;
}

void LoadTranslations(const fs::path& routinoData) {
  const fs::path file = routinoData / "translations.xml";
  if (loadedTranslations == file) return;
  if (!loadedTranslations.empty()) Routino_FreeXMLTranslations();
  loadedTranslations.clear();
  if (Routino_ParseXMLTranslations(file.c_str()) != ROUTINO_ERROR_NONE)
    throw RoutingError("cannot load Routino's translations from " + file.string());
  loadedTranslations = file;
}

Routino_Translation* EnglishTranslation() {
  if (Routino_Translation* english = Routino_GetTranslation("en")) return english;
  return Routino_GetTranslation(nullptr);  // Routino's built-in English
}

double Degrees(float radians) {
  return static_cast<double>(radians) * 180.0 / std::numbers::pi;
}

std::string Describe(const GeoPoint& point) {
  std::ostringstream text;
  text.precision(6);
  text << std::fixed << point.latitudeDegrees << ", " << point.longitudeDegrees;
  return text.str();
}

struct RouteDelete {
  void operator()(Routino_Output* output) const { Routino_DeleteRoute(output); }
};

}  // namespace

RoutingDatabase::RoutingDatabase(const fs::path& folder, const std::string& prefix,
                                 const fs::path& routinoData) {
  if (Routino_CheckAPIVersion() != ROUTINO_ERROR_NONE)
    throw RoutingError("the installed Routino library does not match the one ORVO was built for");
  LoadProfiles(routinoData);
  LoadTranslations(routinoData);
  const auto fail = [&](const char* what) {
    return RoutingError(what + (folder / (prefix + "-*.mem")).string() +
                        "; import the region again with: orvo region import FILE.osm.pbf");
  };
  // Checked here because Routino_LoadDatabase leaks its file names when a file is missing.
  for (const char* part : {"nodes", "segments", "ways", "relations"}) {
    std::error_code error;
    if (!fs::is_regular_file(folder / (prefix + "-" + part + ".mem"), error))
      throw fail("no routing database ");
  }
  database_ = Routino_LoadDatabase(folder.c_str(), prefix.c_str());
  if (database_ == nullptr) throw fail("damaged routing database ");
}

RoutingDatabase::RoutingDatabase(const Region& region, const fs::path& routinoData)
    : RoutingDatabase(region.folder, region.routingPrefix, routinoData) {}

RoutingDatabase::~RoutingDatabase() {
  FreeCaches();
  if (database_ != nullptr) Routino_UnloadDatabase(database_);
}

void RoutingDatabase::FreeCaches() noexcept {
  for (const KnownWaypoint& known : knownWaypoints_) std::free(known.waypoint);
  knownWaypoints_.clear();
  for (auto& [name, profile] : preferred_) std::free(profile);
  preferred_.clear();
}

RoutingDatabase::RoutingDatabase(RoutingDatabase&& other) noexcept
    : database_(std::exchange(other.database_, nullptr)),
      knownWaypoints_(std::exchange(other.knownWaypoints_, {})),
      preferred_(std::exchange(other.preferred_, {})) {}

RoutingDatabase& RoutingDatabase::operator=(RoutingDatabase&& other) noexcept {
  if (this == &other) return *this;
  FreeCaches();
  if (database_ != nullptr) Routino_UnloadDatabase(database_);
  database_ = std::exchange(other.database_, nullptr);
  knownWaypoints_ = std::exchange(other.knownWaypoints_, {});
  preferred_ = std::exchange(other.preferred_, {});
  return *this;
}

Routino_Waypoint* RoutingDatabase::NearestRoad(const GeoPoint& location,
                                               Routino_Profile* profile) const {
  const auto known =
      std::find_if(knownWaypoints_.begin(), knownWaypoints_.end(), [&](const auto& k) {
        return k.profile == profile && k.location.latitudeDegrees == location.latitudeDegrees &&
               k.location.longitudeDegrees == location.longitudeDegrees;
      });
  if (known != knownWaypoints_.end()) {
    // The most recently used last, so that a target stays while the car's positions come and go.
    std::rotate(known, known + 1, knownWaypoints_.end());
    return knownWaypoints_.back().waypoint;
  }
  Routino_Waypoint* waypoint =
      Routino_FindWaypoint(database_, profile, location.latitudeDegrees, location.longitudeDegrees);
  if (waypoint == nullptr) return nullptr;
  // A handful is plenty: a route's waypoints and the targets guidance comes back to.
  constexpr std::size_t kMostKnown = 64;
  if (knownWaypoints_.size() == kMostKnown) {
    std::free(knownWaypoints_.front().waypoint);
    knownWaypoints_.erase(knownWaypoints_.begin());
  }
  knownWaypoints_.push_back({location, profile, waypoint});
  return waypoint;
}

std::vector<std::string> RoutingDatabase::ProfileNames() const {
  std::vector<std::string> names;
  char** list = Routino_GetProfileNames();
  if (list == nullptr) return names;
  // The list and its strings are allocated for the caller.
  for (char** name = list; *name != nullptr; ++name) {
    names.emplace_back(*name);
    std::free(*name);
  }
  std::free(list);
  return names;
}

Routino_Profile* RoutingDatabase::ProfileFor(const std::string& name,
                                             RoutePreference preference) const {
  Routino_Profile* profile = Routino_GetProfile(name.c_str());
  if (profile == nullptr) {
    std::string known;
    for (const std::string& candidate : ProfileNames())
      known += (known.empty() ? "" : ", ") + candidate;
    throw RoutingError("no routing profile \"" + name + "\" (known profiles: " + known + ")");
  }
  if (preference == RoutePreference::Preferred) {
    const auto made = std::find_if(preferred_.begin(), preferred_.end(),
                                   [&](const auto& entry) { return entry.first == name; });
    if (made != preferred_.end()) {
      profile = made->second;
    } else {
      // The same profile with the minor roads worth less the further down they rank, so that
      // the quickest route keeps to the main roads where it can.
      Routino_UserProfile* user = Routino_CreateUserProfileFromProfile(profile);
      if (user == nullptr) throw RoutingError("cannot copy the routing profile \"" + name + "\"");
      const float best = user->highway[ROUTINO_HIGHWAY_MOTORWAY];
      const std::pair<int, float> weights[] = {
          {ROUTINO_HIGHWAY_TRUNK, 1.0F},        {ROUTINO_HIGHWAY_PRIMARY, 1.0F},
          {ROUTINO_HIGHWAY_SECONDARY, 0.8F},    {ROUTINO_HIGHWAY_TERTIARY, 0.5F},
          {ROUTINO_HIGHWAY_UNCLASSIFIED, 0.3F}, {ROUTINO_HIGHWAY_RESIDENTIAL, 0.2F},
          {ROUTINO_HIGHWAY_SERVICE, 0.1F}};
      for (const auto& [highway, weight] : weights)
        if (user->highway[highway] > 0.0F) user->highway[highway] = best * weight;
      // The copy loses the profile's one-way and turn rules, and the library refuses a user
      // profile with a zero speed or vehicle size, which the profiles use for "none": the road
      // kinds the profile does not use keep a preference of 0, the sizes stay far below any
      // restriction.
      user->oneway = 1;
      user->turns = 1;
      for (float& speed : user->speed) speed = std::max(speed, 1.0F);
      constexpr float kSmallest = 0.1F;
      for (float* size : {&user->weight, &user->height, &user->width, &user->length})
        *size = std::max(*size, kSmallest);
      profile = Routino_CreateProfileFromUserProfile(user);
      std::free(user);
      if (profile == nullptr)
        throw RoutingError("cannot make the preferred-roads copy of \"" + name + "\"");
      preferred_.emplace_back(name, profile);
    }
  }
  // Routino's profiles are shared by every database: fit this one to ours before each use.
  if (Routino_ValidateProfile(database_, profile) != ROUTINO_ERROR_NONE)
    throw RoutingError("the routing profile \"" + name + "\" does not suit this region's database");
  return profile;
}

Route RoutingDatabase::Calculate(std::span<const GeoPoint> waypoints, std::string_view profileName,
                                 RoutePreference preference) const {
  if (database_ == nullptr) throw RoutingError("the routing database was moved away");
  if (waypoints.size() < 2) throw RoutingError("a route needs at least two waypoints");

  const std::string name(profileName);
  Routino_Profile* profile = ProfileFor(name, preference);

  std::vector<Routino_Waypoint*> found;
  for (std::size_t index = 0; index < waypoints.size(); ++index) {
    const GeoPoint& point = waypoints[index];
    Routino_Waypoint* waypoint = NearestRoad(point, profile);
    if (waypoint == nullptr) {
      throw RoutingError("waypoint " + std::to_string(index + 1) + " (" + Describe(point) +
                             ") has no road near it that a " + name + " may use",
                         RoutingError::Reason::NoRoadNear, static_cast<int>(index + 1));
    }
    found.push_back(waypoint);
  }

  const int options =
      (preference == RoutePreference::Shortest ? ROUTINO_ROUTE_SHORTEST : ROUTINO_ROUTE_QUICKEST) |
      ROUTINO_ROUTE_LIST_HTML_ALL;  // every node, with turns and road names at the junctions
  const std::unique_ptr<Routino_Output, RouteDelete> output(
      Routino_CalculateRoute(database_, profile, EnglishTranslation(), found.data(),
                             static_cast<int>(found.size()), options, nullptr));
  if (!output) {
    const int error = Routino_errno;
    if (error >= ROUTINO_ERROR_NO_ROUTE_1) {
      const int from = error - ROUTINO_ERROR_NO_ROUTE_1 + 1;
      throw RoutingError("no route for a " + name + " between waypoint " + std::to_string(from) +
                             " and waypoint " + std::to_string(from + 1),
                         RoutingError::Reason::NoRoute, from + 1);
    }
    throw RoutingError("Routino could not calculate the route (error " + std::to_string(error) +
                       ")");
  }

  Route route;
  for (const Routino_Output* point = output.get(); point != nullptr; point = point->next) {
    // routino.h calls the time seconds, but the library fills in minutes, as its router's text
    // output shows ("Duration ... min").
    constexpr double kSecondsPerMinute = 60.0;
    route.points.push_back({{Degrees(point->lat), Degrees(point->lon)},
                            static_cast<double>(point->dist),
                            static_cast<double>(point->time) * kSecondsPerMinute,
                            static_cast<RoutePointKind>(point->type),
                            point->turn,
                            point->bearing,
                            point->name != nullptr ? std::string(point->name) : std::string()});
  }
  route.distanceKm = route.points.back().distanceKm;
  route.timeSeconds = route.points.back().timeSeconds;
  return route;
}

}  // namespace orvo::host::map
