#pragma once
// The water layer of a map tile (a Mapbox vector tile, read with protozero) in tests: whether a
// place lies in one of its polygons.
#include <cmath>
#include <cstdint>
#include <protozero/pbf_reader.hpp>
#include <string>
#include <utility>
#include <vector>

#include "host/map/GeoTypes.hpp"
#include "host/map/MbTiles.hpp"

namespace orvo::host::map::testing {

struct TilePoint {
  double x = 0.0;  // tile units, east
  double y = 0.0;  // tile units, south
};

// Even-odd: whether POINT is inside RING, flipped once more for every ring it lies inside.
template <class Ring, class Point>
bool RingContains(const Ring& ring, const Point& point) {
  bool inside = false;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
    if ((ring[i].y > point.y) != (ring[j].y > point.y) &&
        point.x <
            (ring[j].x - ring[i].x) * (point.y - ring[i].y) / (ring[j].y - ring[i].y) + ring[i].x)
      inside = !inside;
  return inside;
}

// Whether POINT is inside a polygon given by its geometry commands: move to, line to (zigzag
// deltas), close path. Even-odd over all its rings counts islands out.
inline bool GeometryContains(const std::vector<std::uint32_t>& commands, const TilePoint& point) {
  std::vector<std::vector<TilePoint>> rings;
  std::int64_t x = 0;
  std::int64_t y = 0;
  const auto zigzag = [](std::uint32_t value) {
    return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
  };
  for (auto it = commands.begin(); it != commands.end();) {
    const std::uint32_t header = *it++;
    if ((header & 7) == 7) continue;  // the ring closes itself
    if ((header & 7) == 1 || rings.empty()) rings.emplace_back();
    for (std::uint32_t index = 0; index < (header >> 3) && it != commands.end(); ++index) {
      x += zigzag(*it++);
      y += zigzag(*it++);
      rings.back().push_back({static_cast<double>(x), static_cast<double>(y)});
    }
  }
  bool inside = false;
  for (const auto& ring : rings) inside = inside != RingContains(ring, point);
  return inside;
}

// Whether PLACE lies in a water area of tile ADDRESS (unpacked).
inline bool InWaterAt(const std::string& tile, const TileAddress& address, const GeoPoint& place) {
  protozero::pbf_reader tileMessage(tile);
  while (tileMessage.next(3)) {
    protozero::pbf_reader layer = tileMessage.get_message();
    std::string name;
    std::uint32_t extent = 4096;
    std::vector<std::vector<std::uint32_t>> polygons;
    while (layer.next()) {
      if (layer.tag() == 1) {
        name = layer.get_string();
      } else if (layer.tag() == 2) {
        protozero::pbf_reader feature = layer.get_message();
        std::vector<std::uint32_t> geometry;
        bool polygon = false;
        while (feature.next()) {
          if (feature.tag() == 3) {
            polygon = feature.get_enum() == 3;
          } else if (feature.tag() == 4) {
            const auto packed = feature.get_packed_uint32();
            geometry.assign(packed.begin(), packed.end());
          } else {
            feature.skip();
          }
        }
        if (polygon) polygons.push_back(std::move(geometry));
      } else if (layer.tag() == 5) {
        extent = layer.get_uint32();
      } else {
        layer.skip();
      }
    }
    if (name != "water") continue;
    const double tiles = std::ldexp(1.0, address.zoom);
    const double latitude = place.latitudeDegrees * M_PI / 180.0;
    const TilePoint point{
        ((place.longitudeDegrees + 180.0) / 360.0 * tiles - address.x) * extent,
        ((1.0 - std::asinh(std::tan(latitude)) / M_PI) / 2.0 * tiles - address.y) * extent};
    for (const auto& geometry : polygons)
      if (GeometryContains(geometry, point)) return true;
  }
  return false;
}

}  // namespace orvo::host::map::testing
