#pragma once
// Driving directions in ORVO's words from Routino's routes: Routino marks the junctions worth
// describing, their turn angles and the road names; this file decides the action of each and
// writes its instruction ("Turn left onto Boulevard Albert 1er", "At the roundabout take the
// 2nd exit onto Tunnel Dorsale").
#include <span>
#include <vector>

#include "host/map/ActiveRoute.hpp"
#include "host/map/RoutePlan.hpp"
#include "host/map/RoutingDatabase.hpp"

namespace orvo::host::map {

// The calculated route through WAYPOINTS from LEGS (LEGS[i] runs from waypoint i to i + 1):
// one top-level direction per waypoint, each but the last holding its leg's instructions.
// Distances in kilometres; times from the departure.
RouteCalculation BuildDirections(std::span<const Waypoint> waypoints, std::span<const Route> legs);

// The tree with every distance multiplied by FACTOR (kilometres to the host's unit).
std::vector<Direction> ScaledDirections(const std::vector<Direction>& directions, double factor);

}  // namespace orvo::host::map
