#include "host/map/RegionNames.hpp"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <utility>

#include <osmium/io/pbf_input.hpp>
#include <osmium/osm/node.hpp>
#include <osmium/osm/way.hpp>

namespace orvo::host::map {
namespace {

// The two-byte UTF-8 letters U+00C0..U+00FF read as plain ones ('*': none, kept as they are).
constexpr char kLatin1Plain[] = "AAAAAAACEEEEIIII*NOOOOO*OUUUUY**aaaaaaaceeeeiiii*nooooo*ouuuuy*y";

struct StreetCandidate {
  std::string kind;
  osmium::object_id_type middleNode = 0;
  std::size_t nodeCount = 0;
};

// Tabs and line ends would break the file's lines.
std::string Clean(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  return text;
}

}  // namespace

std::string FoldForSearch(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte == 0xC3 && i + 1 < text.size()) {
      const auto next = static_cast<unsigned char>(text[i + 1]);
      const std::size_t index = next >= 0x80 && next <= 0xBF ? next - 0x80 : sizeof kLatin1Plain;
      if (index < sizeof kLatin1Plain - 1 && kLatin1Plain[index] != '*') {
        folded += static_cast<char>(std::tolower(kLatin1Plain[index]));
        ++i;
        continue;
      }
    }
    folded += static_cast<char>(byte < 0x80 ? std::tolower(byte) : byte);
  }
  return folded;
}

std::size_t WriteNameIndex(const std::filesystem::path& pbf, const std::filesystem::path& file) {
  // Two passes, as for the coastline: the named streets first, then the nodes they are found at.
  std::map<std::string, StreetCandidate> streets;
  std::vector<NamedPlace> places;
  {
    osmium::io::Reader reader(pbf.string(),
                              osmium::osm_entity_bits::node | osmium::osm_entity_bits::way);
    while (const osmium::memory::Buffer buffer = reader.read()) {
      for (const osmium::OSMObject& object : buffer.select<osmium::OSMObject>()) {
        const char* name = object.tags()["name"];
        if (name == nullptr || *name == '\0') continue;
        if (object.type() == osmium::item_type::node) {
          const auto& node = static_cast<const osmium::Node&>(object);
          const char* place = node.tags()["place"];
          if (place != nullptr && node.location().valid())
            places.push_back({Clean(name), place, {node.location().lat(), node.location().lon()}});
        } else if (object.type() == osmium::item_type::way) {
          const auto& way = static_cast<const osmium::Way&>(object);
          const char* highway = way.tags()["highway"];
          if (highway == nullptr || way.nodes().empty()) continue;
          StreetCandidate& street = streets[Clean(name)];
          if (way.nodes().size() <= street.nodeCount) continue;
          street = {highway, way.nodes()[way.nodes().size() / 2].ref(), way.nodes().size()};
        }
      }
    }
    reader.close();
  }
  std::map<osmium::object_id_type, GeoPoint> located;
  for (const auto& [name, street] : streets) located.emplace(street.middleNode, GeoPoint{});
  {
    osmium::io::Reader reader(pbf.string(), osmium::osm_entity_bits::node);
    while (const osmium::memory::Buffer buffer = reader.read()) {
      for (const osmium::Node& node : buffer.select<osmium::Node>()) {
        const auto found = located.find(node.id());
        if (found != located.end() && node.location().valid())
          found->second = {node.location().lat(), node.location().lon()};
      }
    }
    reader.close();
  }
  for (const auto& [name, street] : streets) {
    const GeoPoint& at = located.at(street.middleNode);
    if (at.latitudeDegrees != 0.0 || at.longitudeDegrees != 0.0)
      places.push_back({name, street.kind, at});
  }

  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.precision(8);
  for (const NamedPlace& place : places)
    out << place.name << '\t' << place.kind << '\t' << place.location.latitudeDegrees << '\t'
        << place.location.longitudeDegrees << '\n';
  out.close();
  if (!out) throw std::runtime_error("cannot write the names of the region to " + file.string());
  return places.size();
}

NameIndex::NameIndex(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    const auto first = line.find('\t');
    const auto second = line.find('\t', first + 1);
    const auto third = line.find('\t', second + 1);
    if (first == std::string::npos || second == std::string::npos || third == std::string::npos)
      continue;
    NamedPlace place{line.substr(0, first), line.substr(first + 1, second - first - 1), {}};
    try {
      place.location = {std::stod(line.substr(second + 1, third - second - 1)),
                        std::stod(line.substr(third + 1))};
    } catch (const std::exception&) {
      continue;  // a damaged line is left out
    }
    folded_.push_back(FoldForSearch(place.name));
    places_.push_back(std::move(place));
  }
}

std::vector<NamedPlace> NameIndex::Search(std::string_view text, std::size_t limit) const {
  const std::string wanted = FoldForSearch(text);
  if (wanted.empty()) return {};
  std::vector<std::pair<std::pair<bool, std::size_t>, std::size_t>> found;  // (rank, index)
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const auto at = folded_[i].find(wanted);
    if (at != std::string::npos) found.push_back({{at != 0, folded_[i].size()}, i});
  }
  std::sort(found.begin(), found.end());
  std::vector<NamedPlace> result;
  for (std::size_t n = 0; n < found.size() && n < limit; ++n)
    result.push_back(places_[found[n].second]);
  return result;
}

}  // namespace orvo::host::map
