// The map document's file: opening, loading, writing changes in one transaction per flush, and
// copying it elsewhere with SQLite's backup.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <system_error>

#include <nlohmann/json.hpp>

#include "host/map/MapDocument.hpp"
#include "host/map/RouteJson.hpp"

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;

constexpr int kApplicationId = 0x4F52564F;  // "ORVO"
constexpr int kFormatVersion = 2;
constexpr int kFirstFormatWithRoute = 2;
// How long a statement waits for another connection (a reader during a checkpoint).
constexpr int kBusyTimeoutMs = 2000;

const char* const kSchema =
    "CREATE TABLE IF NOT EXISTS pushpin ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL,"
    " latitude REAL NOT NULL, longitude REAL NOT NULL, symbol INTEGER NOT NULL,"
    " note TEXT NOT NULL, balloon INTEGER NOT NULL)";

const char* const kRouteSchema =
    "CREATE TABLE IF NOT EXISTS route_waypoint ("
    " position INTEGER PRIMARY KEY, name TEXT NOT NULL, latitude REAL NOT NULL,"
    " longitude REAL NOT NULL, departure REAL NOT NULL, preference INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS route ("
    " id INTEGER PRIMARY KEY CHECK (id = 1), optimized INTEGER NOT NULL, calculation TEXT)";

class Statement {
 public:
  Statement(sqlite3* database, const char* sql, const fs::path& file) {
    if (sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) {
      const std::string reason = sqlite3_errmsg(database);
      sqlite3_finalize(statement_);
      throw MapError(file.string() + ": " + reason);
    }
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  sqlite3_stmt* get() const { return statement_; }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

std::string ColumnText(sqlite3_stmt* statement, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)))
              : std::string();
}

void Execute(sqlite3* database, const char* sql, const fs::path& file) {
  char* error = nullptr;
  if (sqlite3_exec(database, sql, nullptr, nullptr, &error) != SQLITE_OK) {
    const std::string reason = error ? error : sqlite3_errmsg(database);
    sqlite3_free(error);
    throw MapError(file.string() + ": " + reason);
  }
}

int IntegerPragma(sqlite3* database, const char* sql, const fs::path& file) {
  Statement statement(database, sql, file);
  const int result = sqlite3_step(statement.get());
  if (result == SQLITE_ROW) return sqlite3_column_int(statement.get(), 0);
  throw MapError(file.string() + ": " + sqlite3_errmsg(database));
}

// One writer per document: a second orvo on the same file would overwrite the first one's pins.
// The lock is on a file beside the document, never on the database itself: closing any other
// descriptor of the database would drop SQLite's own locks.
int LockForWriting(const fs::path& file) {
  const fs::path lockFile = file.string() + "-lock";
  const int descriptor = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (descriptor < 0)
    throw MapError("cannot open " + lockFile.string() + ": " +
                   std::generic_category().message(errno));
  if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    ::close(descriptor);
    throw MapError(file.string() + " is already open in another orvo");
  }
  return descriptor;
}

}  // namespace

void MapDocument::OpenDatabase() {
  const bool writing = access_ == Access::ReadWrite;
  std::error_code error;
  if (!writing && !fs::exists(file_, error)) throw MapError("no map document at " + file_.string());
  if (writing && !file_.parent_path().empty()) fs::create_directories(file_.parent_path(), error);
  if (writing && lockDescriptor_ < 0) lockDescriptor_ = LockForWriting(file_);

  const int flags = (writing ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY) |
                    SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(file_.c_str(), &database_, flags, nullptr) != SQLITE_OK) {
    const std::string reason = database_ ? sqlite3_errmsg(database_) : "out of memory";
    CloseDatabase();
    throw MapError("cannot open the map " + file_.string() + ": " + reason);
  }
  try {
    sqlite3_busy_timeout(database_, kBusyTimeoutMs);
    const int applicationId = IntegerPragma(database_, "PRAGMA application_id", file_);
    const int tables = IntegerPragma(database_, "SELECT count(*) FROM sqlite_schema", file_);
    if (applicationId != kApplicationId && (tables > 0 || !writing))
      throw MapError(file_.string() + " is not an ORVO map");
    const int version = IntegerPragma(database_, "PRAGMA user_version", file_);
    if (version > kFormatVersion)
      throw MapError(file_.string() + " was written by a newer ORVO (format " +
                     std::to_string(version) + ")");
    formatVersion_ = version;
    if (!writing) return;
    // WAL: readers (orvo map pins) see the last flush while this process writes. NORMAL
    // synchronisation keeps every flushed transaction through a crash of the process; only a
    // power cut may take back the last few, never damaging the file.
    Execute(database_, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL", file_);
    if (applicationId != kApplicationId || version < kFormatVersion) {
      // A new document, or one written before the route was kept: the tables it lacks.
      const std::string create = std::string("BEGIN; ") + kSchema + "; " + kRouteSchema +
                                 "; PRAGMA application_id=" + std::to_string(kApplicationId) +
                                 "; PRAGMA user_version=" + std::to_string(kFormatVersion) +
                                 "; COMMIT";
      Execute(database_, create.c_str(), file_);
      formatVersion_ = kFormatVersion;
    }
  } catch (...) {
    CloseDatabase();
    throw;
  }
}

void MapDocument::CloseDatabase() noexcept {
  if (database_) sqlite3_close_v2(database_);
  database_ = nullptr;
  if (lockDescriptor_ >= 0) ::close(lockDescriptor_);
  lockDescriptor_ = -1;
}

void MapDocument::Load() {
  Statement select(database_,
                   "SELECT id, name, latitude, longitude, symbol, note, balloon FROM pushpin "
                   "ORDER BY id",
                   file_);
  int result;
  while ((result = sqlite3_step(select.get())) == SQLITE_ROW) {
    const PinId id = sqlite3_column_int64(select.get(), 0);
    PinRecord record;
    record.name = ColumnText(select.get(), 1);
    record.location = {sqlite3_column_double(select.get(), 2),
                       sqlite3_column_double(select.get(), 3)};
    record.symbol = sqlite3_column_int(select.get(), 4);
    record.note = ColumnText(select.get(), 5);
    record.balloonState = sqlite3_column_int(select.get(), 6);
    IndexName(record.name, id);
    pins_.emplace_hint(pins_.end(), id, std::move(record));
    nextId_ = std::max(nextId_, id + 1);
  }
  if (result != SQLITE_DONE)
    throw MapError("cannot read the map " + file_.string() + ": " + sqlite3_errmsg(database_));
  // The highest id ever given, also when those pins are gone.
  Statement sequence(database_, "SELECT seq FROM sqlite_sequence WHERE name = 'pushpin'", file_);
  if (sqlite3_step(sequence.get()) == SQLITE_ROW)
    nextId_ = std::max<PinId>(nextId_, sqlite3_column_int64(sequence.get(), 0) + 1);
  LoadPlan();
}

void MapDocument::LoadPlan() {
  if (formatVersion_ < kFirstFormatWithRoute) return;
  std::vector<Waypoint> waypoints;
  Statement select(database_,
                   "SELECT name, latitude, longitude, departure, preference FROM route_waypoint"
                   " ORDER BY position",
                   file_);
  int result;
  while ((result = sqlite3_step(select.get())) == SQLITE_ROW) {
    Waypoint waypoint;
    waypoint.name = ColumnText(select.get(), 0);
    waypoint.location = {sqlite3_column_double(select.get(), 1),
                         sqlite3_column_double(select.get(), 2)};
    waypoint.preferredDeparture = sqlite3_column_double(select.get(), 3);
    const int preference = sqlite3_column_int(select.get(), 4);
    waypoint.preference = preference >= 0 && preference <= 2
                              ? static_cast<SegmentPreference>(preference)
                              : SegmentPreference::Quickest;
    waypoints.push_back(std::move(waypoint));
  }
  if (result != SQLITE_DONE)
    throw MapError("cannot read the map " + file_.string() + ": " + sqlite3_errmsg(database_));
  bool optimized = false;
  std::optional<RouteCalculation> calculation;
  Statement state(database_, "SELECT optimized, calculation FROM route WHERE id = 1", file_);
  if (sqlite3_step(state.get()) == SQLITE_ROW) {
    optimized = sqlite3_column_int(state.get(), 0) != 0;
    if (sqlite3_column_type(state.get(), 1) != SQLITE_NULL) {
      // A calculation that cannot be read is dropped: the route is calculated again.
      const nlohmann::json json = nlohmann::json::parse(ColumnText(state.get(), 1), nullptr, false);
      try {
        if (!json.is_discarded()) calculation = CalculationFromJson(json);
      } catch (const RouteError&) {
      }
    }
  }
  plan_.Restore(std::move(waypoints), optimized, std::move(calculation));
}

void MapDocument::FlushPlan() {
  Execute(database_, "DELETE FROM route_waypoint", file_);
  Statement insert(database_,
                   "INSERT INTO route_waypoint (position, name, latitude, longitude, departure,"
                   " preference) VALUES (?1, ?2, ?3, ?4, ?5, ?6)",
                   file_);
  const auto& waypoints = plan_.Waypoints();
  for (std::size_t position = 0; position < waypoints.size(); ++position) {
    const Waypoint& waypoint = waypoints[position];
    sqlite3_stmt* statement = insert.get();
    sqlite3_bind_int64(statement, 1, static_cast<sqlite3_int64>(position));
    sqlite3_bind_text(statement, 2, waypoint.name.data(), static_cast<int>(waypoint.name.size()),
                      SQLITE_STATIC);
    sqlite3_bind_double(statement, 3, waypoint.location.latitudeDegrees);
    sqlite3_bind_double(statement, 4, waypoint.location.longitudeDegrees);
    sqlite3_bind_double(statement, 5, waypoint.preferredDeparture);
    sqlite3_bind_int(statement, 6, static_cast<int>(waypoint.preference));
    if (sqlite3_step(statement) != SQLITE_DONE)
      throw MapError("cannot write the map " + file_.string() + ": " + sqlite3_errmsg(database_));
    sqlite3_reset(statement);
  }
  Statement state(database_,
                  "INSERT OR REPLACE INTO route (id, optimized, calculation) VALUES (1, ?1, ?2)",
                  file_);
  sqlite3_bind_int(state.get(), 1, plan_.IsOptimized() ? 1 : 0);
  std::string calculation;
  if (plan_.Calculation()) {
    calculation = CalculationToJson(*plan_.Calculation()).dump();
    sqlite3_bind_text(state.get(), 2, calculation.data(), static_cast<int>(calculation.size()),
                      SQLITE_STATIC);
  } else {
    sqlite3_bind_null(state.get(), 2);
  }
  if (sqlite3_step(state.get()) != SQLITE_DONE)
    throw MapError("cannot write the map " + file_.string() + ": " + sqlite3_errmsg(database_));
}

void MapDocument::Flush() {
  if (!IsDirty() || !database_) return;
  std::vector<PinId> changed(dirty_.begin(), dirty_.end());
  std::sort(changed.begin(), changed.end());  // in key order: the table's pages fill in turn

  Execute(database_, "BEGIN IMMEDIATE", file_);
  try {
    Statement upsert(database_,
                     "INSERT OR REPLACE INTO pushpin (id, name, latitude, longitude, symbol, note,"
                     " balloon) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
                     file_);
    std::string removed = "[";
    for (const PinId id : changed) {
      const PinRecord* record = Find(id);
      if (!record) {
        if (removed.size() > 1) removed += ',';
        removed += std::to_string(id);
        continue;
      }
      sqlite3_stmt* statement = upsert.get();
      sqlite3_bind_int64(statement, 1, id);
      sqlite3_bind_text(statement, 2, record->name.data(), static_cast<int>(record->name.size()),
                        SQLITE_STATIC);
      sqlite3_bind_double(statement, 3, record->location.latitudeDegrees);
      sqlite3_bind_double(statement, 4, record->location.longitudeDegrees);
      sqlite3_bind_int(statement, 5, record->symbol);
      sqlite3_bind_text(statement, 6, record->note.data(), static_cast<int>(record->note.size()),
                        SQLITE_STATIC);
      sqlite3_bind_int(statement, 7, record->balloonState);
      if (sqlite3_step(statement) != SQLITE_DONE)
        throw MapError("cannot write the map " + file_.string() + ": " + sqlite3_errmsg(database_));
      sqlite3_reset(statement);
    }
    removed += ']';
    if (planDirty_) FlushPlan();
    if (pins_.empty()) {
      Execute(database_, "DELETE FROM pushpin", file_);
    } else if (removed.size() > 2) {
      // All deletions of the flush in one statement: clearing a trail deletes thousands.
      Statement remove(database_,
                       "DELETE FROM pushpin WHERE id IN (SELECT value FROM json_each(?1))", file_);
      sqlite3_bind_text(remove.get(), 1, removed.data(), static_cast<int>(removed.size()),
                        SQLITE_STATIC);
      if (sqlite3_step(remove.get()) != SQLITE_DONE)
        throw MapError("cannot write the map " + file_.string() + ": " + sqlite3_errmsg(database_));
    }
    Execute(database_, "COMMIT", file_);
  } catch (...) {
    sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
  dirty_.clear();
  planDirty_ = false;
}

void MapDocument::SaveAs(const fs::path& file) {
  CheckWritable();
  std::error_code error;
  if (fs::weakly_canonical(file, error) == fs::weakly_canonical(file_, error)) {
    Flush();
    return;
  }
  if (!file.parent_path().empty()) fs::create_directories(file.parent_path(), error);
  const int newLock = LockForWriting(file);
  std::string temporary =
      (file.parent_path() / ("." + file.filename().string() + ".XXXXXX")).string();
  try {
    Flush();
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0)
      throw MapError("cannot write " + file.string() + ": " +
                     std::generic_category().message(errno));
    ::close(descriptor);
    sqlite3* copy = nullptr;
    int result = sqlite3_open_v2(temporary.c_str(), &copy, SQLITE_OPEN_READWRITE, nullptr);
    if (result == SQLITE_OK) {
      sqlite3_backup* backup = sqlite3_backup_init(copy, "main", database_, "main");
      result = backup ? sqlite3_backup_step(backup, -1) : sqlite3_errcode(copy);
      if (backup) sqlite3_backup_finish(backup);
      if (result == SQLITE_DONE) result = SQLITE_OK;
    }
    const std::string reason = copy ? sqlite3_errmsg(copy) : "out of memory";
    sqlite3_close_v2(copy);
    if (result != SQLITE_OK) throw MapError("cannot write " + file.string() + ": " + reason);
    // A write-ahead log left by an earlier document of that name belongs to the old content.
    fs::remove(file.string() + "-wal", error);
    fs::remove(file.string() + "-shm", error);
    fs::rename(temporary, file);
  } catch (const std::exception& failure) {
    fs::remove(temporary, error);
    ::close(newLock);
    if (dynamic_cast<const MapError*>(&failure)) throw;
    throw MapError("cannot write " + file.string() + ": " + failure.what());
  }
  CloseDatabase();
  file_ = file;
  lockDescriptor_ = newLock;
  OpenDatabase();
}

}  // namespace orvo::host::map
