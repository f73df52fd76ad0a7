#pragma once
// Reading the map tiles' Mapbox vector tiles (protobuf, read with protozero) in tests: the
// layers, their features' attributes and geometry, and whether a place lies inside a polygon.
#include <cmath>
#include <cstdint>
#include <map>
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

struct TileFeature {
  int type = 0;                                   // 1 point, 2 line, 3 polygon
  std::map<std::string, std::string> attributes;  // numbers as text
  std::vector<std::vector<TilePoint>> paths;      // polygon rings end where they began
};

struct TileLayer {
  std::string name;
  std::uint32_t extent = 4096;
  std::vector<TileFeature> features;
};

inline std::string DecodeTileValue(protozero::pbf_reader value) {
  while (value.next()) {
    switch (value.tag()) {
      case 1:
        return value.get_string();
      case 2:
        return std::to_string(value.get_float());
      case 3:
        return std::to_string(value.get_double());
      case 4:
        return std::to_string(value.get_int64());
      case 5:
        return std::to_string(value.get_uint64());
      case 6:
        return std::to_string(value.get_sint64());
      case 7:
        return value.get_bool() ? "true" : "false";
      default:
        value.skip();
    }
  }
  return {};
}

// The geometry commands: move to, line to (zigzag deltas), close path.
inline std::vector<std::vector<TilePoint>> DecodeTileGeometry(
    protozero::iterator_range<protozero::pbf_reader::const_uint32_iterator> commands) {
  std::vector<std::vector<TilePoint>> paths;
  std::vector<TilePoint> path;
  std::int64_t x = 0;
  std::int64_t y = 0;
  const auto zigzag = [](std::uint32_t value) {
    return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
  };
  for (auto it = commands.begin(); it != commands.end();) {
    const std::uint32_t header = *it++;
    const std::uint32_t command = header & 7;
    const std::uint32_t count = header >> 3;
    if (command == 7) {
      if (!path.empty()) path.push_back(path.front());
      paths.push_back(std::move(path));
      path.clear();
      continue;
    }
    for (std::uint32_t index = 0; index < count && it != commands.end(); ++index) {
      x += zigzag(*it++);
      y += zigzag(*it++);
      if (command == 1 && !path.empty()) {
        paths.push_back(std::move(path));
        path.clear();
      }
      path.push_back({static_cast<double>(x), static_cast<double>(y)});
    }
  }
  if (!path.empty()) paths.push_back(std::move(path));
  return paths;
}

inline std::vector<TileLayer> DecodeVectorTile(const std::string& bytes) {
  std::vector<TileLayer> layers;
  protozero::pbf_reader tile(bytes);
  while (tile.next(3)) {
    protozero::pbf_reader layerMessage = tile.get_message();
    TileLayer& layer = layers.emplace_back();
    std::vector<std::string> keys;
    std::vector<std::string> values;
    std::vector<std::pair<std::vector<std::uint32_t>, TileFeature>> features;
    while (layerMessage.next()) {
      switch (layerMessage.tag()) {
        case 1:
          layer.name = layerMessage.get_string();
          break;
        case 2: {
          protozero::pbf_reader featureMessage = layerMessage.get_message();
          auto& [tags, feature] = features.emplace_back();
          while (featureMessage.next()) {
            switch (featureMessage.tag()) {
              case 2: {
                const auto packed = featureMessage.get_packed_uint32();
                tags.assign(packed.begin(), packed.end());
                break;
              }
              case 3:
                feature.type = static_cast<int>(featureMessage.get_enum());
                break;
              case 4:
                feature.paths = DecodeTileGeometry(featureMessage.get_packed_uint32());
                break;
              default:
                featureMessage.skip();
            }
          }
          break;
        }
        case 3:
          keys.push_back(layerMessage.get_string());
          break;
        case 4:
          values.push_back(DecodeTileValue(layerMessage.get_message()));
          break;
        case 5:
          layer.extent = layerMessage.get_uint32();
          break;
        default:
          layerMessage.skip();
      }
    }
    // Keys and values come after the features that refer to them.
    for (auto& [tags, feature] : features) {
      for (std::size_t index = 0; index + 1 < tags.size(); index += 2)
        if (tags[index] < keys.size() && tags[index + 1] < values.size())
          feature.attributes[keys[tags[index]]] = values[tags[index + 1]];
      layer.features.push_back(std::move(feature));
    }
  }
  return layers;
}

// Where PLACE lies in tile ADDRESS, in units of EXTENT per tile side.
inline TilePoint TilePosition(const GeoPoint& place, const TileAddress& address,
                              std::uint32_t extent) {
  const double tiles = std::ldexp(1.0, address.zoom);
  const double latitude = place.latitudeDegrees * M_PI / 180.0;
  const double x = (place.longitudeDegrees + 180.0) / 360.0 * tiles;
  const double y = (1.0 - std::asinh(std::tan(latitude)) / M_PI) / 2.0 * tiles;
  return {(x - address.x) * extent, (y - address.y) * extent};
}

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

// Even-odd over all the rings of a polygon feature, which counts islands out.
inline bool PolygonContains(const TileFeature& feature, const TilePoint& point) {
  bool inside = false;
  for (const auto& ring : feature.paths) inside = inside != RingContains(ring, point);
  return feature.type == 3 && inside;
}

// The class of the first water area around PLACE in the (unpacked) tile, empty when it is not
// in water.
inline std::string WaterClassAt(const std::string& tile, const TileAddress& address,
                                const GeoPoint& place) {
  for (const TileLayer& layer : DecodeVectorTile(tile)) {
    if (layer.name != "water") continue;
    const TilePoint point = TilePosition(place, address, layer.extent);
    for (const TileFeature& feature : layer.features)
      if (PolygonContains(feature, point)) {
        const auto found = feature.attributes.find("class");
        return found != feature.attributes.end() ? found->second : "(no class)";
      }
  }
  return {};
}

}  // namespace orvo::host::map::testing
