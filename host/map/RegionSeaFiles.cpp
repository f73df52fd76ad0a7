// The sea's files: the coastline read from an OSM PBF extract with libosmium, the sea polygons
// written as a shapefile with shapelib (tilemaker reads shapefiles).
#include <shapefil.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <osmium/io/pbf_input.hpp>
#include <osmium/osm/box.hpp>
#include <osmium/osm/node.hpp>
#include <osmium/osm/way.hpp>
#include <stdexcept>

#include "host/map/RegionSea.hpp"

namespace orvo::host::map {
namespace {

GeoBounds ToBounds(const osmium::Box& box) {
  return {box.bottom_left().lon(), box.bottom_left().lat(), box.top_right().lon(),
          box.top_right().lat()};
}

}  // namespace

std::optional<ExtractCoastline> ReadExtractCoastline(const std::filesystem::path& pbf) {
  ExtractCoastline extract;
  // Two passes, so that only the coastline's nodes are kept, however large the extract: the
  // ways first, then the nodes they need.
  std::vector<std::vector<osmium::object_id_type>> wayNodes;
  {
    osmium::io::Reader reader(pbf.string(), osmium::osm_entity_bits::way);
    const osmium::io::Header header = reader.header();
    const osmium::Box box = header.box();
    if (box.valid() && ToBounds(box).IsValid()) {
      extract.bounds = ToBounds(box);
      extract.boundsFromHeader = true;
    }
    while (const osmium::memory::Buffer buffer = reader.read()) {
      for (const osmium::Way& way : buffer.select<osmium::Way>()) {
        const char* natural = way.tags()["natural"];
        if (natural == nullptr || std::strcmp(natural, "coastline") != 0) continue;
        auto& nodes = wayNodes.emplace_back();
        for (const osmium::NodeRef& node : way.nodes()) nodes.push_back(node.ref());
      }
    }
    reader.close();
  }
  if (wayNodes.empty() && extract.boundsFromHeader) return extract;

  std::vector<osmium::object_id_type> wanted;
  for (const auto& nodes : wayNodes) wanted.insert(wanted.end(), nodes.begin(), nodes.end());
  std::sort(wanted.begin(), wanted.end());
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
  std::vector<std::optional<SeaPoint>> located(wanted.size());
  osmium::Box extent;
  {
    osmium::io::Reader reader(pbf.string(), osmium::osm_entity_bits::node);
    while (const osmium::memory::Buffer buffer = reader.read()) {
      for (const osmium::Node& node : buffer.select<osmium::Node>()) {
        const osmium::Location location = node.location();
        if (!location.valid()) continue;
        extent.extend(location);
        const auto found = std::lower_bound(wanted.begin(), wanted.end(), node.id());
        if (found != wanted.end() && *found == node.id())
          located[static_cast<std::size_t>(found - wanted.begin())] =
              SeaPoint{location.lon(), location.lat()};
      }
    }
    reader.close();
  }
  if (!extract.boundsFromHeader) {
    if (!extent.valid()) return std::nullopt;
    extract.bounds = ToBounds(extent);
    if (!extract.bounds.IsValid()) return std::nullopt;  // a single node: no area at all
  }

  // A way keeps the nodes the extract has; a cut way's missing ones are left out.
  for (const auto& nodes : wayNodes) {
    SeaLine& way = extract.ways.emplace_back();
    for (const osmium::object_id_type id : nodes) {
      const auto found = std::lower_bound(wanted.begin(), wanted.end(), id);
      if (const auto& point = located[static_cast<std::size_t>(found - wanted.begin())])
        way.push_back(*point);
    }
  }
  return extract;
}

void WriteSeaShapefile(const std::filesystem::path& base, const std::vector<SeaPolygon>& polygons) {
  const std::unique_ptr<SHPInfo, decltype(&SHPClose)> shapes(SHPCreate(base.c_str(), SHPT_POLYGON),
                                                             &SHPClose);
  const std::unique_ptr<DBFInfo, decltype(&DBFClose)> table(DBFCreate(base.c_str()), &DBFClose);
  if (!shapes || !table) throw std::runtime_error("cannot create " + base.string() + ".shp");
  const int classField = DBFAddField(table.get(), "class", FTString, 16, 0);
  if (classField < 0) throw std::runtime_error("cannot write " + base.string() + ".dbf");

  for (const SeaPolygon& polygon : polygons) {
    // The outer ring, then its islands: the order tilemaker expects.
    std::vector<int> partStarts;
    std::vector<double> xs;
    std::vector<double> ys;
    std::vector<const SeaLine*> rings{&polygon.outer};
    for (const SeaLine& island : polygon.islands) rings.push_back(&island);
    for (const SeaLine* ring : rings) {
      partStarts.push_back(static_cast<int>(xs.size()));
      for (const SeaPoint& point : *ring) {
        xs.push_back(point.x);
        ys.push_back(point.y);
      }
    }
    SHPObject* shape = SHPCreateObject(SHPT_POLYGON, -1, static_cast<int>(partStarts.size()),
                                       partStarts.data(), nullptr, static_cast<int>(xs.size()),
                                       xs.data(), ys.data(), nullptr, nullptr);
    const int record = SHPWriteObject(shapes.get(), -1, shape);
    SHPDestroyObject(shape);
    if (record < 0 || !DBFWriteStringAttribute(table.get(), record, classField, "sea"))
      throw std::runtime_error("cannot write " + base.string() + ".shp");
  }
}

std::string BoundsText(const GeoBounds& bounds) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%.7f,%.7f,%.7f,%.7f", bounds.westDegrees,
                bounds.southDegrees, bounds.eastDegrees, bounds.northDegrees);
  return text.data();
}

SeaFile MakeSeaFile(const std::filesystem::path& pbf, const std::filesystem::path& folder) {
  std::optional<ExtractCoastline> coastline;
  try {
    coastline = ReadExtractCoastline(pbf);
  } catch (const std::exception& error) {
    throw std::runtime_error("cannot read " + pbf.string() + ": " + error.what());
  }
  std::vector<SeaPolygon> sea;
  if (coastline) sea = BuildSea(coastline->ways, coastline->bounds);
  WriteSeaShapefile(folder / kSeaShapefile, sea);
  if (!coastline) return {"the extract has no nodes, so no sea", std::nullopt};
  return {
      std::to_string(coastline->ways.size()) + " coastline ways closed into " +
          std::to_string(sea.size()) + " sea polygons within " + BoundsText(coastline->bounds) +
          (coastline->boundsFromHeader ? " (the extract's bounds)" : " (the extent of its nodes)"),
      coastline->boundsFromHeader ? std::nullopt : std::optional(coastline->bounds)};
}

void RemoveSeaFile(const std::filesystem::path& folder) {
  for (const char* extension : {".shp", ".shx", ".dbf"}) {
    std::error_code error;
    std::filesystem::remove(folder / (std::string(kSeaShapefile) + extension), error);
  }
}

}  // namespace orvo::host::map
