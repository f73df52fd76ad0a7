#pragma once
// The region's names, for finding a street or a place by name: built from the extract at import
// (names.tsv in the region's folder: name, kind, latitude, longitude per line) and searched in
// memory.
//
// A street is found at the middle node of its longest way of that name; a place (town, suburb,
// square) at its node.
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/map/GeoTypes.hpp"

namespace orvo::host::map {

inline constexpr const char* kNamesFileName = "names.tsv";

struct NamedPlace {
  std::string name;
  std::string kind;  // the OSM highway or place value: "residential", "suburb", ...
  GeoPoint location;
};

// Reads the extract PBF and writes FILE; returns how many names it holds. Throws
// std::runtime_error when the extract cannot be read or the file written.
std::size_t WriteNameIndex(const std::filesystem::path& pbf, const std::filesystem::path& file);

class NameIndex {
 public:
  // An index without a file is empty (a region imported before names were kept).
  explicit NameIndex(const std::filesystem::path& file);

  // Names holding TEXT, letter case and accents aside; those starting with it first, then the
  // shorter; at most LIMIT.
  std::vector<NamedPlace> Search(std::string_view text, std::size_t limit = 10) const;
  std::size_t Size() const { return places_.size(); }

 private:
  std::vector<NamedPlace> places_;
  std::vector<std::string> folded_;  // each name as Search compares it
};

// Lower case, with the accented Latin letters of Western Europe read as their plain letters.
std::string FoldForSearch(std::string_view text);

}  // namespace orvo::host::map
