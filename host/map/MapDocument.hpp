#pragma once
// The map document: the host's "active map" with its pushpins, kept in memory for quick lookups
// and written to an SQLite file (extension .orvomap) so that pins left by one run are there at
// the next start.
//
// Writing: every change marks the document dirty (`onDirty` fires on the first change after a
// flush) and `Flush()` writes all changes since the last flush in one transaction. The owner
// flushes once per event-loop turn or tick, so a process killed at any moment loses at most the
// changes of the turn in progress, and the file is never damaged (SQLite in WAL mode).
//
// File format (PRAGMA application_id = 0x4F52564F "ORVO", user_version = 2):
//   pushpin(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, latitude REAL, longitude REAL,
//           symbol INTEGER, note TEXT, balloon INTEGER)
//   route_waypoint(position INTEGER PRIMARY KEY, name TEXT, latitude REAL, longitude REAL,
//                  departure REAL, preference INTEGER)           the active route's waypoints
//   route(id INTEGER PRIMARY KEY CHECK (id = 1), optimized INTEGER,
//         calculation TEXT)        its state; the calculated route as JSON (RouteJson.hpp) or NULL
// Ids are never reused, not even across runs: AUTOINCREMENT keeps the highest one given.
// Format 1 had no route: opening such a file for writing adds the route's tables; read-only it
// shows an empty route.
//
// Names: FindPushpin compares names with ASCII letters folded to one case, as the host's
// lookup did ("orvo_currentposition" finds "ORVO_CurrentPosition"); other characters must match
// exactly. Several pins may share a name; the one added first is found.
//
// Default names: a pin added without a name is called "Pushpin N", N one more than the highest
// number any pin called "Pushpin <number>" carries now (so clearing the map starts again at 1).
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/map/GeoTypes.hpp"
#include "host/map/RoutePlan.hpp"

struct sqlite3;

namespace orvo::host::map {

// Every failure of the map object model: a deleted pin, a bad value, a damaged file.
class MapError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using PinId = std::int64_t;
using Location = GeoPoint;

// Balloon states: closed, the name only, the name and the note.
inline constexpr int kBalloonNone = 0;
inline constexpr int kBalloonName = 1;
inline constexpr int kBalloonNameAndNote = 2;
// Symbol numbers the document accepts; the page draws the catalogue among them.
inline constexpr int kLowestSymbol = 0;
inline constexpr int kHighestSymbol = 255;

inline constexpr const char* kMapFileExtension = ".orvomap";

struct PinRecord {
  std::string name;
  Location location;
  int symbol = 0;
  std::string note;
  int balloonState = kBalloonNone;
};

enum class PinChangeKind { Added, Updated, Removed, Reset };
struct PinChange {
  PinChangeKind kind;
  PinId id = 0;  // 0 for Reset
};

class MapDocument;

// A handle on one pushpin, as the host's object model hands them out. Using it after its pin
// was deleted (by the program, the user or a closed document) throws MapError.
class Pushpin {
 public:
  PinId Id() const { return id_; }
  // False once the pin or its document is gone.
  bool Exists() const;

  std::string Name() const;
  void SetName(std::string_view name);
  Location GetLocation() const;
  void SetLocation(const Location& location);
  int Symbol() const;
  void SetSymbol(int symbol);
  std::string Note() const;
  void SetNote(std::string_view note);
  int BalloonState() const;
  void SetBalloonState(int state);
  void Delete();

  bool operator==(const Pushpin& other) const { return id_ == other.id_ && Same(other); }

 private:
  friend class MapDocument;
  Pushpin(std::weak_ptr<MapDocument*> document, PinId id)
      : document_(std::move(document)), id_(id) {}
  MapDocument& Document() const;
  bool Same(const Pushpin& other) const;

  std::weak_ptr<MapDocument*> document_;
  PinId id_;
};

class MapDocument {
 public:
  enum class Access { ReadWrite, ReadOnly };

  // Opens FILE, creating an empty document when it does not exist (ReadWrite only). Throws
  // MapError naming the file when it cannot be opened, is not an ORVO map, or (ReadWrite) is
  // already open for writing in another process.
  explicit MapDocument(std::filesystem::path file, Access access = Access::ReadWrite);
  // Flushes what is pending.
  ~MapDocument();
  MapDocument(const MapDocument&) = delete;
  MapDocument& operator=(const MapDocument&) = delete;

  const std::filesystem::path& File() const { return file_; }
  bool IsReadOnly() const { return access_ == Access::ReadOnly; }

  // The host's object model.
  std::optional<Pushpin> FindPushpin(std::string_view name) const;
  Pushpin AddPushpin(const Location& location, std::string_view name = {});
  // The pin with ID; throws MapError when there is none.
  Pushpin PushpinWithId(PinId id) const;

  // Reading for producers (patches, GPX, listings): in the order the pins were added.
  const std::map<PinId, PinRecord>& Pins() const { return pins_; }
  const PinRecord* Find(PinId id) const;
  std::size_t PushpinCount() const { return pins_.size(); }

  // The active route. Changing it marks the document dirty like a pin change; the writable
  // route of a read-only document throws MapError.
  const RoutePlan& Plan() const { return plan_; }
  RoutePlan& Plan();

  // Changes by id; each throws MapError for a missing pin or a bad value. Setting a value the
  // pin already has changes nothing (no write, no notification).
  void Rename(PinId id, std::string_view name);
  void Move(PinId id, const Location& location);
  void SetSymbol(PinId id, int symbol);
  void SetNote(PinId id, std::string_view note);
  void SetBalloonState(PinId id, int state);
  void Delete(PinId id);

  // Writes the changes since the last flush in one transaction; nothing when there are none.
  // Throws MapError when the file cannot be written (the changes stay pending).
  void Flush();
  bool IsDirty() const { return !dirty_.empty() || planDirty_; }
  // Copies the document (flushed) to FILE with SQLite's backup, then keeps working on that
  // file: handles stay valid. Replaces FILE atomically if it exists.
  void SaveAs(const std::filesystem::path& file);

  // Fired on the first change after a flush: the owner schedules a Flush.
  std::function<void()> onDirty;
  // Every change, as it happens.
  std::function<void(const PinChange&)> onPinChange;
  // Every change of the route (its waypoints, their order, its calculation).
  std::function<void()> onRouteChange;

 private:
  friend class Pushpin;
  PinRecord& Existing(PinId id);
  void Changed(PinId id, PinChangeKind kind);
  void CheckWritable() const;
  void OpenDatabase();
  void CloseDatabase() noexcept;
  void Load();
  void LoadPlan();
  void FlushPlan();
  void PlanChanged();
  void IndexName(const std::string& name, PinId id);
  void UnindexName(const std::string& name, PinId id);
  std::string NextDefaultName() const;

  // Pins sharing one folded name, the earliest first.
  struct NameEntry {
    PinId first = 0;
    std::vector<PinId> others;  // ascending
  };

  std::filesystem::path file_;
  Access access_;
  sqlite3* database_ = nullptr;
  int lockDescriptor_ = -1;
  std::shared_ptr<MapDocument*> self_;
  std::map<PinId, PinRecord> pins_;
  std::unordered_map<std::string, NameEntry> byName_;
  std::map<std::uint64_t, int> defaultNumbers_;  // N of "Pushpin N" names -> how many pins
  std::unordered_set<PinId> dirty_;
  PinId nextId_ = 1;
  RoutePlan plan_{[this] { PlanChanged(); }};
  bool planDirty_ = false;
  int formatVersion_ = 0;  // of the file as opened
};

// ASCII letters to lower case, everything else as it is: the key FindPushpin compares.
std::string FoldedName(std::string_view name);

}  // namespace orvo::host::map
