// Closing the coastline of an extract into sea polygons (see RegionSea.hpp).
//
// Walking along a coastline way the sea is on the right. A clockwise ring also has its inside on
// the right, so a sea polygon is a clockwise ring made of coastline pieces (each entering the
// box and leaving it again) joined by stretches of the box's edge, followed clockwise from
// where one piece leaves to where the next one enters. Whole rings inside the box are islands
// (anticlockwise, land inside) or enclosed water (clockwise).
#include "host/map/RegionSea.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace orvo::host::map {
namespace {

// A clipped end this close to an edge is on it (degrees; a tenth of a millimetre).
constexpr double kOnEdge = 1e-9;

bool InBox(const GeoBounds& box, const SeaPoint& point) {
  return point.x >= box.westDegrees && point.x <= box.eastDegrees && point.y >= box.southDegrees &&
         point.y <= box.northDegrees;
}

double DistanceToEdge(const GeoBounds& box, const SeaPoint& point) {
  return std::min({point.x - box.westDegrees, box.eastDegrees - point.x, point.y - box.southDegrees,
                   box.northDegrees - point.y});
}

// The nearest point of the box's edge, exactly on it.
SeaPoint OntoEdge(const GeoBounds& box, SeaPoint point) {
  point.x = std::clamp(point.x, box.westDegrees, box.eastDegrees);
  point.y = std::clamp(point.y, box.southDegrees, box.northDegrees);
  const double toNorth = box.northDegrees - point.y;
  const double toEast = box.eastDegrees - point.x;
  const double toSouth = point.y - box.southDegrees;
  const double toWest = point.x - box.westDegrees;
  const double nearest = std::min({toNorth, toEast, toSouth, toWest});
  if (nearest == toNorth) return {point.x, box.northDegrees};
  if (nearest == toEast) return {box.eastDegrees, point.y};
  if (nearest == toSouth) return {point.x, box.southDegrees};
  return {box.westDegrees, point.y};
}

// Where a point on the edge lies going clockwise from the north-west corner: 0 to 1 along the
// north edge, 1 to 2 down the east edge, 2 to 3 along the south edge, 3 to 4 up the west edge.
double AroundEdge(const GeoBounds& box, const SeaPoint& point) {
  const double width = box.eastDegrees - box.westDegrees;
  const double height = box.northDegrees - box.southDegrees;
  if (point.y == box.northDegrees && point.x < box.eastDegrees)
    return (point.x - box.westDegrees) / width;
  if (point.x == box.eastDegrees && point.y > box.southDegrees)
    return 1.0 + (box.northDegrees - point.y) / height;
  if (point.y == box.southDegrees && point.x > box.westDegrees)
    return 2.0 + (box.eastDegrees - point.x) / width;
  return 3.0 + (point.y - box.southDegrees) / height;
}

// Corner N of the box, N as in AroundEdge: 0 north-west, 1 north-east, 2 south-east, 3 south-west.
SeaPoint Corner(const GeoBounds& box, int corner) {
  switch (corner % 4) {
    case 0:
      return {box.westDegrees, box.northDegrees};
    case 1:
      return {box.eastDegrees, box.northDegrees};
    case 2:
      return {box.eastDegrees, box.southDegrees};
    default:
      return {box.westDegrees, box.southDegrees};
  }
}

bool IsRing(const SeaLine& line) {
  return line.size() >= 4 && line.front() == line.back();
}

// Even-odd rule; a point on the ring may count either way.
bool RingContains(const SeaLine& ring, const SeaPoint& point) {
  bool inside = false;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
    const SeaPoint& a = ring[i];
    const SeaPoint& b = ring[j];
    if ((a.y > point.y) != (b.y > point.y) &&
        point.x < (b.x - a.x) * (point.y - a.y) / (b.y - a.y) + a.x)
      inside = !inside;
  }
  return inside;
}

void Append(SeaLine& line, const SeaPoint& point) {
  if (line.empty() || !(line.back() == point)) line.push_back(point);
}

// Ways joined end to start into the longest chains they make; a chain may close into a ring.
std::vector<SeaLine> JoinWays(const std::vector<SeaLine>& ways) {
  using Key = std::pair<double, double>;
  const auto key = [](const SeaPoint& point) { return Key{point.x, point.y}; };
  std::vector<const SeaLine*> lines;
  for (const SeaLine& way : ways)
    if (way.size() >= 2) lines.push_back(&way);
  std::map<Key, std::size_t> starting;
  std::map<Key, std::size_t> ending;
  for (std::size_t index = 0; index < lines.size(); ++index) {
    starting.emplace(key(lines[index]->front()), index);
    ending.emplace(key(lines[index]->back()), index);
  }

  std::vector<bool> used(lines.size(), false);
  std::vector<SeaLine> chains;
  for (std::size_t index = 0; index < lines.size(); ++index) {
    if (used[index]) continue;
    // Back to the first way of the chain (a ring comes round to where it began).
    std::size_t first = index;
    for (std::size_t steps = 0; steps < lines.size(); ++steps) {
      const auto previous = ending.find(key(lines[first]->front()));
      if (previous == ending.end() || used[previous->second] || previous->second == index) break;
      first = previous->second;
    }
    SeaLine chain;
    for (std::size_t way = first;;) {
      used[way] = true;
      for (const SeaPoint& point : *lines[way]) Append(chain, point);
      if (chain.front() == chain.back()) break;
      const auto next = starting.find(key(chain.back()));
      if (next == starting.end() || used[next->second]) break;
      way = next->second;
    }
    chains.push_back(std::move(chain));
  }
  return chains;
}

// Liang-Barsky: the part [t0, t1] of the segment A to B inside the box, if any.
bool ClipSegment(const GeoBounds& box, const SeaPoint& a, const SeaPoint& b, double& t0,
                 double& t1) {
  t0 = 0.0;
  t1 = 1.0;
  const auto limit = [&](double p, double q) {  // the part where p * t <= q
    if (p == 0.0) return q >= 0.0;
    const double t = q / p;
    if (p < 0.0) {
      if (t > t1) return false;
      t0 = std::max(t0, t);
    } else {
      if (t < t0) return false;
      t1 = std::min(t1, t);
    }
    return true;
  };
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  return limit(-dx, a.x - box.westDegrees) && limit(dx, box.eastDegrees - a.x) &&
         limit(-dy, a.y - box.southDegrees) && limit(dy, box.northDegrees - a.y);
}

// The pieces of LINE inside the box, each running from the edge to the edge: an end that stops
// inside (the extract cut the coastline short of its bounds) goes on straight to the nearest
// edge.
void ClipLine(const GeoBounds& box, const SeaLine& line, std::vector<SeaLine>& pieces) {
  SeaLine current;
  const auto finish = [&] {
    if (current.size() >= 2) {
      for (const bool atStart : {true, false}) {
        SeaPoint& end = atStart ? current.front() : current.back();
        const SeaPoint onEdge = OntoEdge(box, end);
        if (DistanceToEdge(box, end) <= kOnEdge)
          end = onEdge;
        else
          current.insert(atStart ? current.begin() : current.end(), onEdge);
      }
      pieces.push_back(std::move(current));
    }
    current.clear();
  };
  for (std::size_t index = 1; index < line.size(); ++index) {
    const SeaPoint& a = line[index - 1];
    const SeaPoint& b = line[index];
    double t0 = 0.0;
    double t1 = 1.0;
    if (!ClipSegment(box, a, b, t0, t1)) {
      finish();
      continue;
    }
    const auto at = [&](double t) {
      return SeaPoint{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
    };
    if (t0 > 0.0) finish();
    Append(current, t0 > 0.0 ? at(t0) : a);
    Append(current, t1 < 1.0 ? at(t1) : b);
    if (t1 < 1.0) finish();
  }
  finish();
}

// Clockwise rings from the pieces and the stretches of edge between them.
std::vector<SeaLine> CloseAlongEdge(const GeoBounds& box, const std::vector<SeaLine>& pieces) {
  std::vector<std::pair<double, std::size_t>> entries;  // where each piece enters, sorted
  for (std::size_t index = 0; index < pieces.size(); ++index)
    entries.emplace_back(AroundEdge(box, pieces[index].front()), index);
  std::sort(entries.begin(), entries.end());

  std::vector<bool> used(pieces.size(), false);
  std::vector<SeaLine> rings;
  for (std::size_t start = 0; start < pieces.size(); ++start) {
    if (used[start]) continue;
    SeaLine ring;
    for (std::size_t piece = start;;) {
      used[piece] = true;
      for (const SeaPoint& point : pieces[piece]) Append(ring, point);
      // The next entry clockwise from here, the corners passed on the way.
      const double leaves = AroundEdge(box, pieces[piece].back());
      auto next = std::lower_bound(entries.begin(), entries.end(),
                                   std::pair<double, std::size_t>{leaves, 0});
      if (next == entries.end()) next = entries.begin();
      double enters = next->first;
      if (enters < leaves) enters += 4.0;
      for (int corner = static_cast<int>(std::floor(leaves)) + 1; corner < enters; ++corner)
        Append(ring, Corner(box, corner));
      // Data that does not join up (crossing or reversed coastlines) still ends in a ring.
      if (next->second == start || used[next->second]) break;
      piece = next->second;
    }
    Append(ring, ring.front());
    if (ring.size() >= 4) rings.push_back(std::move(ring));
  }
  return rings;
}

// Whether the box, crossed by no coastline, lies in the sea: inside the innermost ring around
// it, or else around the largest ring inside it.
bool BoxIsSea(const GeoBounds& box, const std::vector<SeaLine>& outside,
              const std::vector<SeaLine>& inside) {
  const SeaPoint corner = Corner(box, 3);
  const SeaLine* around = nullptr;
  for (const SeaLine& ring : outside)
    if (RingContains(ring, corner) &&
        (!around || std::abs(SignedArea(ring)) < std::abs(SignedArea(*around))))
      around = &ring;
  if (around) return SignedArea(*around) < 0.0;  // water inside
  const SeaLine* largest = nullptr;
  for (const SeaLine& ring : inside)
    if (!largest || std::abs(SignedArea(ring)) > std::abs(SignedArea(*largest))) largest = &ring;
  return largest && SignedArea(*largest) > 0.0;  // an island
}

// A ring asked many times whether it holds a point (a country's sea, its thousands of islands):
// its edges sorted into horizontal bands, so that a test crosses only the edges of one band.
class BandedRing {
 public:
  explicit BandedRing(const SeaLine& ring)
      : ring_(&ring),
        area_(std::abs(SignedArea(ring))),
        bands_(std::clamp<std::size_t>(ring.size() / 8, 1, 4096)) {
    south_ = north_ = ring.front().y;
    for (const SeaPoint& point : ring) {
      south_ = std::min(south_, point.y);
      north_ = std::max(north_, point.y);
    }
    for (std::size_t edge = 1; edge < ring.size(); ++edge) {
      const auto [low, high] = std::minmax(ring[edge - 1].y, ring[edge].y);
      for (std::size_t band = Band(low); band <= Band(high); ++band) bands_[band].push_back(edge);
    }
  }
  double Area() const { return area_; }
  // Even-odd, as RingContains.
  bool Contains(const SeaPoint& point) const {
    if (point.y < south_ || point.y > north_) return false;
    bool inside = false;
    for (const std::size_t edge : bands_[Band(point.y)]) {
      const SeaPoint& a = (*ring_)[edge];
      const SeaPoint& b = (*ring_)[edge - 1];
      if ((a.y > point.y) != (b.y > point.y) &&
          point.x < (b.x - a.x) * (point.y - a.y) / (b.y - a.y) + a.x)
        inside = !inside;
    }
    return inside;
  }

 private:
  std::size_t Band(double y) const {
    if (north_ <= south_) return 0;
    const double at = (y - south_) / (north_ - south_) * static_cast<double>(bands_.size());
    return std::min(bands_.size() - 1, static_cast<std::size_t>(std::max(0.0, at)));
  }

  const SeaLine* ring_;
  double area_;
  double south_ = 0.0;
  double north_ = 0.0;
  std::vector<std::vector<std::size_t>> bands_;
};

void Orient(SeaLine& ring, bool clockwise) {
  if ((SignedArea(ring) < 0.0) != clockwise) std::reverse(ring.begin(), ring.end());
}

}  // namespace

double SignedArea(const SeaLine& ring) {
  double twice = 0.0;
  for (std::size_t index = 1; index < ring.size(); ++index)
    twice += ring[index - 1].x * ring[index].y - ring[index].x * ring[index - 1].y;
  return twice;
}

std::vector<SeaPolygon> BuildSea(const std::vector<SeaLine>& coastlineWays, const GeoBounds& box) {
  std::vector<SeaLine> pieces;
  std::vector<SeaLine> inside;   // whole rings in the box
  std::vector<SeaLine> outside;  // whole rings beyond it, perhaps around it
  for (SeaLine& chain : JoinWays(coastlineWays)) {
    if (!IsRing(chain)) {
      ClipLine(box, chain, pieces);
      continue;
    }
    const auto beyond = std::find_if(chain.begin(), chain.end() - 1,
                                     [&](const SeaPoint& point) { return !InBox(box, point); });
    if (beyond == chain.end() - 1) {
      inside.push_back(std::move(chain));
      continue;
    }
    // Started where it is outside, a ring that crosses the box clips like any coastline.
    const std::size_t piecesBefore = pieces.size();
    SeaLine rotated(beyond, chain.end() - 1);
    rotated.insert(rotated.end(), chain.begin(), beyond + 1);
    ClipLine(box, rotated, pieces);
    if (pieces.size() == piecesBefore) outside.push_back(std::move(chain));
  }

  std::vector<SeaPolygon> sea;
  for (SeaLine& ring : CloseAlongEdge(box, pieces)) sea.push_back({std::move(ring), {}});
  if (pieces.empty() && BoxIsSea(box, outside, inside)) {
    SeaLine whole{Corner(box, 0), Corner(box, 1), Corner(box, 2), Corner(box, 3), Corner(box, 0)};
    sea.push_back({std::move(whole), {}});
  }
  std::vector<SeaLine> islands;
  for (SeaLine& ring : inside) {
    if (SignedArea(ring) < 0.0)
      sea.push_back({std::move(ring), {}});  // water closed in by land
    else
      islands.push_back(std::move(ring));
  }
  for (SeaPolygon& polygon : sea) Orient(polygon.outer, true);

  // Each island goes into the smallest sea polygon around it; one on land is no island.
  if (islands.empty()) return sea;
  std::vector<BandedRing> outers;
  for (const SeaPolygon& polygon : sea) outers.emplace_back(polygon.outer);
  for (SeaLine& island : islands) {
    SeaPoint probe = island.front();
    for (const SeaPoint& point : island)
      if (DistanceToEdge(box, point) > kOnEdge) {
        probe = point;
        break;
      }
    std::size_t around = sea.size();
    for (std::size_t index = 0; index < sea.size(); ++index)
      if (outers[index].Contains(probe) &&
          (around == sea.size() || outers[index].Area() < outers[around].Area()))
        around = index;
    if (around == sea.size()) continue;
    Orient(island, false);
    sea[around].islands.push_back(std::move(island));
  }
  return sea;
}

}  // namespace orvo::host::map
