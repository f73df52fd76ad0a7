// The in-memory side of the map document: pins, the name index, handles and notifications.
// Reading and writing the file is in MapDocumentStorage.cpp.
#include "host/map/MapDocument.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orvo::host::map {
namespace {

constexpr std::string_view kDefaultNamePrefix = "pushpin ";  // folded
// Larger numbers in "Pushpin N" are not taken for default numbering; well past any real count,
// and far from overflowing.
constexpr std::uint64_t kLargestDefaultNumber = 999'999'999'999ULL;

// N when FOLDED is "pushpin N" with N a plain decimal number without leading zeros.
std::optional<std::uint64_t> DefaultNumber(std::string_view folded) {
  if (!folded.starts_with(kDefaultNamePrefix)) return std::nullopt;
  const std::string_view digits = folded.substr(kDefaultNamePrefix.size());
  if (digits.empty() || digits.front() == '0') return std::nullopt;
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size()) return std::nullopt;
  if (number > kLargestDefaultNumber) return std::nullopt;
  return number;
}

Location CheckedLocation(const Location& location) {
  if (!std::isfinite(location.latitudeDegrees) || !std::isfinite(location.longitudeDegrees) ||
      std::abs(location.latitudeDegrees) > 90.0)
    throw MapError("a location needs a latitude from -90 to 90 and a finite longitude");
  double longitude = std::remainder(location.longitudeDegrees, 360.0);
  if (longitude == -180.0) longitude = 180.0;
  return {location.latitudeDegrees, longitude};
}

}  // namespace

std::string FoldedName(std::string_view name) {
  std::string folded(name);
  for (char& character : folded)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return folded;
}

// ---- Pushpin handles ----

MapDocument& Pushpin::Document() const {
  const auto document = document_.lock();
  if (!document) throw MapError("the pushpin's map was closed");
  return **document;
}

bool Pushpin::Same(const Pushpin& other) const {
  return !document_.owner_before(other.document_) && !other.document_.owner_before(document_);
}

bool Pushpin::Exists() const {
  const auto document = document_.lock();
  return document && (*document)->Find(id_) != nullptr;
}

std::string Pushpin::Name() const {
  return Document().Existing(id_).name;
}
Location Pushpin::GetLocation() const {
  return Document().Existing(id_).location;
}
int Pushpin::Symbol() const {
  return Document().Existing(id_).symbol;
}
std::string Pushpin::Note() const {
  return Document().Existing(id_).note;
}
int Pushpin::BalloonState() const {
  return Document().Existing(id_).balloonState;
}
void Pushpin::SetName(std::string_view name) {
  Document().Rename(id_, name);
}
void Pushpin::SetLocation(const Location& location) {
  Document().Move(id_, location);
}
void Pushpin::SetSymbol(int symbol) {
  Document().SetSymbol(id_, symbol);
}
void Pushpin::SetNote(std::string_view note) {
  Document().SetNote(id_, note);
}
void Pushpin::SetBalloonState(int state) {
  Document().SetBalloonState(id_, state);
}
void Pushpin::Delete() {
  Document().Delete(id_);
}

// ---- The document ----

MapDocument::MapDocument(std::filesystem::path file, Access access)
    : file_(std::move(file)), access_(access), self_(std::make_shared<MapDocument*>(this)) {
  OpenDatabase();
  try {
    Load();
  } catch (...) {
    CloseDatabase();
    throw;
  }
}

MapDocument::~MapDocument() {
  try {
    Flush();
  } catch (const MapError&) {  // nothing more can be done at this point
  }
  CloseDatabase();
}

const PinRecord* MapDocument::Find(PinId id) const {
  const auto found = pins_.find(id);
  return found == pins_.end() ? nullptr : &found->second;
}

PinRecord& MapDocument::Existing(PinId id) {
  const auto found = pins_.find(id);
  if (found == pins_.end()) throw MapError("the pushpin was deleted");
  return found->second;
}

void MapDocument::CheckWritable() const {
  if (access_ == Access::ReadOnly) throw MapError(file_.string() + " is open read-only");
}

std::optional<Pushpin> MapDocument::FindPushpin(std::string_view name) const {
  const auto found = byName_.find(FoldedName(name));
  if (found == byName_.end()) return std::nullopt;
  return Pushpin(self_, found->second.first);
}

Pushpin MapDocument::PushpinWithId(PinId id) const {
  if (!Find(id)) throw MapError("no pushpin has the id " + std::to_string(id));
  return Pushpin(self_, id);
}

std::string MapDocument::NextDefaultName() const {
  const std::uint64_t highest = defaultNumbers_.empty() ? 0 : defaultNumbers_.rbegin()->first;
  return "Pushpin " + std::to_string(highest + 1);
}

Pushpin MapDocument::AddPushpin(const Location& location, std::string_view name) {
  CheckWritable();
  PinRecord record;
  record.location = CheckedLocation(location);
  record.name = name.empty() ? NextDefaultName() : std::string(name);
  const PinId id = nextId_++;
  IndexName(record.name, id);
  pins_.emplace_hint(pins_.end(), id, std::move(record));
  Changed(id, PinChangeKind::Added);
  return Pushpin(self_, id);
}

void MapDocument::Rename(PinId id, std::string_view name) {
  CheckWritable();
  PinRecord& record = Existing(id);
  if (name.empty()) throw MapError("a pushpin needs a name");
  if (record.name == name) return;
  UnindexName(record.name, id);
  record.name = std::string(name);
  IndexName(record.name, id);
  Changed(id, PinChangeKind::Updated);
}

void MapDocument::Move(PinId id, const Location& location) {
  CheckWritable();
  PinRecord& record = Existing(id);
  const Location checked = CheckedLocation(location);
  if (record.location.latitudeDegrees == checked.latitudeDegrees &&
      record.location.longitudeDegrees == checked.longitudeDegrees)
    return;
  record.location = checked;
  Changed(id, PinChangeKind::Updated);
}

void MapDocument::SetSymbol(PinId id, int symbol) {
  CheckWritable();
  PinRecord& record = Existing(id);
  if (symbol < kLowestSymbol || symbol > kHighestSymbol)
    throw MapError("no pushpin symbol has the number " + std::to_string(symbol));
  if (record.symbol == symbol) return;
  record.symbol = symbol;
  Changed(id, PinChangeKind::Updated);
}

void MapDocument::SetNote(PinId id, std::string_view note) {
  CheckWritable();
  PinRecord& record = Existing(id);
  if (record.note == note) return;
  record.note = std::string(note);
  Changed(id, PinChangeKind::Updated);
}

void MapDocument::SetBalloonState(PinId id, int state) {
  CheckWritable();
  PinRecord& record = Existing(id);
  if (state < kBalloonNone || state > kBalloonNameAndNote)
    throw MapError("a balloon state is 0, 1 or 2, not " + std::to_string(state));
  if (record.balloonState == state) return;
  record.balloonState = state;
  Changed(id, PinChangeKind::Updated);
}

void MapDocument::Delete(PinId id) {
  CheckWritable();
  const auto found = pins_.find(id);
  if (found == pins_.end()) throw MapError("the pushpin was deleted");
  UnindexName(found->second.name, id);
  pins_.erase(found);
  Changed(id, PinChangeKind::Removed);
}

RoutePlan& MapDocument::Plan() {
  CheckWritable();
  return plan_;
}

void MapDocument::PlanChanged() {
  const bool wasClean = !IsDirty();
  planDirty_ = true;
  if (onRouteChange) onRouteChange();
  if (wasClean && onDirty) onDirty();
}

void MapDocument::Changed(PinId id, PinChangeKind kind) {
  const bool wasClean = !IsDirty();
  dirty_.insert(id);
  if (onPinChange) onPinChange({kind, id});
  if (wasClean && onDirty) onDirty();
}

void MapDocument::IndexName(const std::string& name, PinId id) {
  std::string folded = FoldedName(name);
  if (const auto number = DefaultNumber(folded)) ++defaultNumbers_[*number];
  const auto [entry, inserted] = byName_.try_emplace(std::move(folded));
  NameEntry& pins = entry->second;
  if (inserted) {
    pins.first = id;
  } else if (id < pins.first) {
    pins.others.insert(pins.others.begin(), pins.first);
    pins.first = id;
  } else {
    pins.others.insert(std::upper_bound(pins.others.begin(), pins.others.end(), id), id);
  }
}

void MapDocument::UnindexName(const std::string& name, PinId id) {
  const std::string folded = FoldedName(name);
  if (const auto number = DefaultNumber(folded)) {
    const auto count = defaultNumbers_.find(*number);
    if (count != defaultNumbers_.end() && --count->second == 0) defaultNumbers_.erase(count);
  }
  const auto entry = byName_.find(folded);
  if (entry == byName_.end()) return;
  NameEntry& pins = entry->second;
  if (pins.first == id) {
    if (pins.others.empty()) {
      byName_.erase(entry);
      return;
    }
    pins.first = pins.others.front();
    pins.others.erase(pins.others.begin());
  } else {
    const auto at = std::lower_bound(pins.others.begin(), pins.others.end(), id);
    if (at != pins.others.end() && *at == id) pins.others.erase(at);
  }
}

}  // namespace orvo::host::map
