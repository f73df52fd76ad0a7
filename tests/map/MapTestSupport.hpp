#pragma once
// Helpers shared by the map host's tests: temporary folders, running `orvo`, made-up MBTiles
// files, gzip decoding, and the Monaco region imported once for all test processes.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/beast/zlib/inflate_stream.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::host::map::testing {

namespace fs = std::filesystem;

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "orvo-map-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// Sets an environment variable for the life of the object.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    ::setenv(name, value.c_str(), 1);
  }
  ~ScopedEnvironment() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> old_;
};

inline std::string Quoted(const fs::path& path) {
  return "'" + path.string() + "'";
}

inline void WriteFile(const fs::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

inline std::string ReadFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

struct CommandResult {
  int exitCode = -1;
  std::string output;  // stdout and stderr together
};

// Runs `orvo ARGUMENTS` through the shell with DATA_HOME as XDG_DATA_HOME.
inline CommandResult RunOrvo(const fs::path& dataHome, const std::string& arguments) {
  const std::string command =
      "XDG_DATA_HOME=" + Quoted(dataHome) + " " + ORVO_BINARY + " " + arguments + " 2>&1";
  CommandResult result;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
    result.output.append(buffer.data(), count);
  const int status = ::pclose(pipe);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

inline fs::path MonacoSource() {
  return fs::path(ORVO_SOURCE_DIR) / "data" / "regions" / "monaco.osm.pbf";
}

// An MBTiles file with the given metadata and tiles, tiles given in XYZ numbering.
struct MadeUpTile {
  int zoom;
  int x;
  int y;
  std::string bytes;
};
inline void MakeMbTiles(const fs::path& file, const std::map<std::string, std::string>& metadata,
                        const std::vector<MadeUpTile>& tiles) {
  sqlite3* database = nullptr;
  if (sqlite3_open(file.c_str(), &database) != SQLITE_OK) throw std::runtime_error("sqlite open");
  sqlite3_exec(database,
               "CREATE TABLE metadata (name text, value text);"
               "CREATE TABLE tiles (zoom_level integer, tile_column integer, tile_row integer,"
               " tile_data blob);",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, "INSERT INTO metadata VALUES (?1, ?2)", -1, &statement, nullptr);
  for (const auto& [name, value] : metadata) {
    sqlite3_bind_text(statement, 1, name.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 2, value.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_step(statement);
    sqlite3_reset(statement);
  }
  sqlite3_finalize(statement);
  sqlite3_prepare_v2(database, "INSERT INTO tiles VALUES (?1, ?2, ?3, ?4)", -1, &statement,
                     nullptr);
  for (const MadeUpTile& tile : tiles) {
    sqlite3_bind_int(statement, 1, tile.zoom);
    sqlite3_bind_int(statement, 2, tile.x);
    sqlite3_bind_int(statement, 3, (1 << tile.zoom) - 1 - tile.y);  // stored as a TMS row
    sqlite3_bind_blob(statement, 4, tile.bytes.data(), static_cast<int>(tile.bytes.size()),
                      SQLITE_TRANSIENT);
    sqlite3_step(statement);
    sqlite3_reset(statement);
  }
  sqlite3_finalize(statement);
  sqlite3_close(database);
}

// Unpacks a gzip member (RFC 1952): the header is skipped here and the deflate data inflated by
// Boost.Beast's port of zlib. Empty when the bytes are not gzip or the data is damaged.
inline std::optional<std::string> Gunzip(const std::string& packed) {
  constexpr unsigned char kExtra = 4, kName = 8, kComment = 16, kHeaderCrc = 2;
  if (packed.size() < 18 || static_cast<unsigned char>(packed[0]) != 0x1f ||
      static_cast<unsigned char>(packed[1]) != 0x8b || packed[2] != 8)
    return std::nullopt;
  const auto flags = static_cast<unsigned char>(packed[3]);
  std::size_t position = 10;
  if (flags & kExtra) {
    position +=
        2 + (static_cast<unsigned char>(packed[position]) |
             (static_cast<std::size_t>(static_cast<unsigned char>(packed[position + 1])) << 8));
  }
  if (flags & kName) position = packed.find('\0', position) + 1;
  if (flags & kComment) position = packed.find('\0', position) + 1;
  if (flags & kHeaderCrc) position += 2;
  if (position == 0 || position >= packed.size()) return std::nullopt;

  boost::beast::zlib::inflate_stream inflater;
  boost::beast::zlib::z_params stream;
  stream.next_in = packed.data() + position;
  stream.avail_in = packed.size() - position;
  std::string unpacked;
  std::array<char, 16384> buffer{};
  while (true) {
    stream.next_out = buffer.data();
    stream.avail_out = buffer.size();
    boost::system::error_code error;
    inflater.write(stream, boost::beast::zlib::Flush::none, error);
    unpacked.append(buffer.data(), buffer.size() - stream.avail_out);
    if (error == boost::beast::zlib::error::end_of_stream) return unpacked;
    if (error && error != boost::beast::zlib::error::need_buffers) return std::nullopt;
    if (error == boost::beast::zlib::error::need_buffers && stream.avail_in == 0)
      return std::nullopt;  // cut short
  }
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
  fs::path RegionsFolder() const { return dataHome_ / "orvo" / "regions"; }
  fs::path Folder() const { return RegionsFolder() / "monaco"; }
  // What `orvo region import` printed when it built the region.
  std::string ImportOutput() const { return ReadFile(dataHome_ / "import-output.txt"); }

 private:
  SharedMonaco() : dataHome_(fs::path(ORVO_BINARY).parent_path() / "test-data-home") {
    fs::create_directories(dataHome_);
    lock_ = ::open((dataHome_ / ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    ::flock(lock_, LOCK_SH);
    if (IsUpToDate()) return;
    ::flock(lock_, LOCK_EX);
    if (!IsUpToDate()) {
      std::error_code error;
      fs::remove(Folder() / "region.json", error);
      const CommandResult result =
          RunOrvo(dataHome_, "region import " + Quoted(MonacoSource()) + " --name monaco");
      WriteFile(dataHome_ / "import-output.txt", result.output);
      if (result.exitCode != 0) throw std::runtime_error("Monaco import failed: " + result.output);
    }
    ::flock(lock_, LOCK_SH);
  }

  bool IsUpToDate() const {
    std::error_code error;
    const auto built = fs::last_write_time(Folder() / "region.json", error);
    if (error) return false;
    const fs::path tilemaker = fs::path(ORVO_SOURCE_DIR) / "data" / "tilemaker";
    for (const fs::path& input : {fs::path(ORVO_BINARY), MonacoSource(), tilemaker / "config.json",
                                  tilemaker / "process.lua"}) {
      if (fs::last_write_time(input, error) > built || error) return false;
    }
    return true;
  }

  fs::path dataHome_;
  int lock_ = -1;
};

}  // namespace orvo::host::map::testing
