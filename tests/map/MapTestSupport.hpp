#pragma once
// Helpers for the map host's tests: made-up MBTiles files,
// gzip decoding, and the Monaco region imported once for all test processes.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <boost/beast/zlib/inflate_stream.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>
#include "host/map/RoutePlan.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::map::testing {

namespace fs = std::filesystem;

// Places in Monaco the route tests drive between: on roads a car can use.
inline constexpr GeoPoint kCasino{43.7397, 7.4275};
inline constexpr GeoPoint kFontvieille{43.7285, 7.4150};

// The route's waypoints by name, in order.
inline std::vector<std::string> Names(const RoutePlan& plan) {
  std::vector<std::string> names;
  for (const Waypoint& waypoint : plan.Waypoints()) names.push_back(waypoint.name);
  return names;
}

using orvo::testing::Environment;
using orvo::testing::ReadFile;
using orvo::testing::RunOrvo;
using orvo::testing::RunOrvoCommandLine;
using orvo::testing::ScopedEnvironment;

inline void WriteFile(const fs::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}
inline fs::path MonacoSource() {
  return fs::path(ORVO_SOURCE_DIR) / "data/regions/monaco.osm.pbf";
}

// What gpsbabel, an independent reader, makes of GPX file GPX as unicsv (with OPTIONS, such as -r
// for its routes), its lines ended with line feeds; throws when gpsbabel fails.
inline std::string Gpsbabel(const fs::path& gpx, const std::string& options = "") {
  const std::string command = "gpsbabel " + options + " -i gpx -f " +
                              orvo::testing::ShellQuote(gpx.string()) + " -o unicsv -F - 2>&1";
  orvo::testing::OrvoRun run = orvo::testing::RunCommand(command);
  if (run.exitCode != 0) throw std::runtime_error(command + ": " + run.out);
  std::erase(run.out, '\r');  // unicsv ends its lines with CR LF
  return run.out;
}

// An MBTiles file with METADATA and one tile of text per XYZ address in TILES.
struct MadeUpTile {
  int zoom, x, y;
  std::string bytes;
};
inline void MakeMbTiles(const fs::path& file, const std::map<std::string, std::string>& metadata,
                        const std::vector<MadeUpTile>& tiles) {
  std::string sql =
      "CREATE TABLE metadata (name text, value text);"
      "CREATE TABLE tiles (zoom_level integer, tile_column integer, tile_row integer,"
      " tile_data blob);";
  const auto append = [&sql](char* statement) {
    sql += statement;
    sqlite3_free(statement);
  };
  for (const auto& [name, value] : metadata)
    append(sqlite3_mprintf("INSERT INTO metadata VALUES (%Q, %Q);", name.c_str(), value.c_str()));
  for (const MadeUpTile& tile : tiles)  // stored with TMS rows, as MBTiles wants
    append(sqlite3_mprintf("INSERT INTO tiles VALUES (%d, %d, %d, CAST(%Q AS BLOB));", tile.zoom,
                           tile.x, (1 << tile.zoom) - 1 - tile.y, tile.bytes.c_str()));
  sqlite3* database = nullptr;
  sqlite3_open(file.c_str(), &database);
  const int result = sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
  sqlite3_close(database);
  if (result != SQLITE_OK) throw std::runtime_error("cannot make " + file.string());
}

// Unpacks gzip as tilemaker writes it (RFC 1952, no optional header fields) with Boost.Beast's
// port of zlib's inflate. Empty when the bytes are not such gzip or the data is damaged.
inline std::optional<std::string> Gunzip(const std::string& packed) {
  constexpr std::size_t kHeaderBytes = 10;
  if (packed.size() < kHeaderBytes || packed.compare(0, 4, "\x1f\x8b\x08\x00", 4) != 0)
    return std::nullopt;
  boost::beast::zlib::inflate_stream inflater;
  boost::beast::zlib::z_params stream;
  stream.next_in = packed.data() + kHeaderBytes;
  stream.avail_in = packed.size() - kHeaderBytes;
  std::string unpacked;
  std::array<char, 16384> buffer{};
  boost::system::error_code error;
  do {
    stream.next_out = buffer.data();
    stream.avail_out = buffer.size();
    inflater.write(stream, boost::beast::zlib::Flush::none, error);
    unpacked.append(buffer.data(), buffer.size() - stream.avail_out);
  } while (!error || (error == boost::beast::zlib::error::need_buffers && stream.avail_in > 0));
  if (error != boost::beast::zlib::error::end_of_stream) return std::nullopt;
  return unpacked;
}

// The Monaco region, imported by `orvo region import` into a data folder in the build tree the
// first time a test process needs it and again whenever the program, the tile configuration or
// the extract is newer. Test processes run in parallel: each holds a shared lock on the folder
// while it uses the region, and an import happens only under the exclusive lock.
class SharedMonaco {
 public:
  static const SharedMonaco& Get() {
    static const SharedMonaco instance;
    return instance;
  }
  const fs::path& DataHome() const { return dataHome_; }
  fs::path RegionsFolder() const { return dataHome_ / "orvo/regions"; }
  fs::path Folder() const { return RegionsFolder() / "monaco"; }
  // What `orvo region import` printed when it built the region.
  std::string ImportOutput() const { return ReadFile(dataHome_ / "import-output.txt"); }

 private:
  SharedMonaco() : dataHome_(fs::path(ORVO_BINARY).parent_path() / "test-data-home") {
    fs::create_directories(dataHome_);
    const int lock = ::open((dataHome_ / ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    ::flock(lock, LOCK_SH);  // kept until the process ends
    if (IsUpToDate()) return;
    ::flock(lock, LOCK_EX);
    if (!IsUpToDate()) {
      fs::remove(Folder() / "region.json");
      const auto result = RunOrvo({"region", "import", MonacoSource(), "--name", "monaco"},
                                  {{"XDG_DATA_HOME", dataHome_}});
      WriteFile(dataHome_ / "import-output.txt", result.out + result.err);
      if (result.exitCode != 0) throw std::runtime_error("Monaco import failed: " + result.err);
    }
    ::flock(lock, LOCK_SH);
  }

  bool IsUpToDate() const {
    std::error_code error;
    const auto built = fs::last_write_time(Folder() / "region.json", error);
    const fs::path tiles = fs::path(ORVO_SOURCE_DIR) / "data/tilemaker";
    for (const fs::path& input :
         {fs::path(ORVO_BINARY), MonacoSource(), tiles / "config.json", tiles / "process.lua"})
      if (error || fs::last_write_time(input, error) > built) return false;
    return !error;
  }

  fs::path dataHome_;
};

}  // namespace orvo::host::map::testing
