#pragma once
// Tiny OpenStreetMap PBF extracts made up for tests, written with libosmium.
#include <filesystem>
#include <map>
#include <optional>
#include <osmium/builder/attr.hpp>
#include <osmium/io/pbf_output.hpp>
#include <osmium/io/writer.hpp>
#include <string>
#include <utility>
#include <vector>

#include "host/map/GeoTypes.hpp"

namespace orvo::host::map::testing {

struct SyntheticWay {
  std::vector<GeoPoint> points;  // a point met again is the same node
  std::vector<std::pair<std::string, std::string>> tags;
};

// Writes FILE with BOUNDS in its header (none when empty) and WAYS with their nodes.
inline void WriteExtract(const std::filesystem::path& file, const std::optional<GeoBounds>& bounds,
                         const std::vector<SyntheticWay>& ways) {
  using namespace osmium::builder::attr;  // NOLINT(google-build-using-namespace): the builder's DSL
  osmium::io::Header header;
  header.set("generator", "orvo tests");
  if (bounds)
    header.add_box(osmium::Box{bounds->westDegrees, bounds->southDegrees, bounds->eastDegrees,
                               bounds->northDegrees});
  osmium::memory::Buffer nodes(1 << 16, osmium::memory::Buffer::auto_grow::yes);
  osmium::memory::Buffer wayBuffer(1 << 16, osmium::memory::Buffer::auto_grow::yes);
  std::map<std::pair<double, double>, osmium::object_id_type> ids;
  for (std::size_t index = 0; index < ways.size(); ++index) {
    std::vector<osmium::object_id_type> refs;
    for (const GeoPoint& point : ways[index].points) {
      const auto [found, added] =
          ids.emplace(std::pair{point.longitudeDegrees, point.latitudeDegrees}, ids.size() + 1);
      if (added)
        osmium::builder::add_node(
            nodes, _id(found->second), _version(1), _timestamp("2026-01-01T00:00:00Z"),
            _location(osmium::Location{point.longitudeDegrees, point.latitudeDegrees}));
      refs.push_back(found->second);
    }
    osmium::builder::add_way(wayBuffer, _id(static_cast<osmium::object_id_type>(index + 1)),
                             _version(1), _timestamp("2026-01-01T00:00:00Z"), _nodes(refs),
                             _tags(ways[index].tags));
  }
  osmium::io::Writer writer(file.string(), header, osmium::io::overwrite::allow);
  writer(std::move(nodes));
  writer(std::move(wayBuffer));
  writer.close();
}

}  // namespace orvo::host::map::testing
