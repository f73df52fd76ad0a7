#include "host/map/RegionImport.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <vector>

#include "host/map/MbTiles.hpp"
#include "host/map/RegionNames.hpp"
#include "host/map/RegionSea.hpp"
#include "host/platform/AppFolder.hpp"

extern char** environ;

namespace orvo::host::map {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// --- Stopping on a signal ----------------------------------------------------------------------
// The handler only records the request and passes SIGTERM on to the running tool, so the wait
// for it returns and the import can clean up after itself.

volatile std::sig_atomic_t stopRequested = 0;
volatile pid_t runningTool = 0;

extern "C" void RequestStop(int) {
  stopRequested = 1;
  if (const pid_t tool = runningTool; tool > 0) ::kill(tool, SIGTERM);
}

class StopOnSignals {
 public:
  StopOnSignals() {
    stopRequested = 0;
    struct sigaction action {};
    action.sa_handler = RequestStop;
    sigemptyset(&action.sa_mask);
    for (std::size_t index = 0; index < kSignals.size(); ++index)
      ::sigaction(kSignals[index], &action, &previous_[index]);
  }
  ~StopOnSignals() {
    for (std::size_t index = 0; index < kSignals.size(); ++index)
      ::sigaction(kSignals[index], &previous_[index], nullptr);
  }
  StopOnSignals(const StopOnSignals&) = delete;
  StopOnSignals& operator=(const StopOnSignals&) = delete;

  static void ThrowIfStopped() {
    if (stopRequested != 0)
      throw RegionImportInterrupted("region import interrupted; nothing of it was kept");
  }

 private:
  static constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};
  std::array<struct sigaction, 3> previous_{};
};

// --- Files -------------------------------------------------------------------------------------

std::optional<fs::path> FindProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path != nullptr ? path : "/usr/bin:/bin");
  std::string folder;
  while (std::getline(folders, folder, ':')) {
    if (folder.empty()) continue;
    const fs::path candidate = fs::path(folder) / name;
    std::error_code error;
    if (fs::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0)
      return candidate;
  }
  return std::nullopt;
}

void RequireFile(const fs::path& file, const std::string& what) {
  std::error_code error;
  if (!fs::is_regular_file(file, error))
    throw RegionImportError(what + " is missing: " + file.string());
}

std::string UtcTimestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

std::string Seconds(Clock::duration elapsed) {
  std::ostringstream text;
  text.precision(1);
  text << std::fixed << std::chrono::duration<double>(elapsed).count() << " s";
  return text.str();
}

std::string Megabytes(const fs::path& file) {
  std::error_code error;
  const auto bytes = fs::file_size(file, error);
  std::ostringstream text;
  text.precision(1);
  text << std::fixed << (error ? 0.0 : static_cast<double>(bytes) / (1024.0 * 1024.0)) << " MB";
  return text.str();
}

// The partial folders of earlier imports of NAME that died or failed.
void RemoveLeftovers(const fs::path& regionsFolder, const std::string& name) {
  const std::string prefix = "." + name + ".partial-";
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(regionsFolder, error)) {
    if (entry.path().filename().string().rfind(prefix, 0) != 0) continue;
    std::error_code removeError;
    fs::remove_all(entry.path(), removeError);
  }
}

// Everything but the log goes, so a failed import keeps what explains it and little else.
void KeepOnlyLog(const fs::path& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().filename() == kImportLogName) continue;
    std::error_code removeError;
    fs::remove_all(entry.path(), removeError);
  }
}

// Puts the finished folder BUILT at FINAL, swapping out an older region in one step where the
// file system can, so readers see either the old region or the new one.
void MoveIntoPlace(const fs::path& built, const fs::path& final) {
  std::error_code error;
  if (!fs::exists(final, error)) {
    fs::rename(built, final, error);
    if (error)
      throw RegionImportError("cannot move the region to " + final.string() + ": " +
                              error.message());
    return;
  }
  if (::renameat2(AT_FDCWD, built.c_str(), AT_FDCWD, final.c_str(), RENAME_EXCHANGE) == 0) {
    fs::remove_all(built, error);  // now the older region
    return;
  }
  // No atomic exchange here: move the old one aside first, then the new one in.
  const fs::path aside = built.string() + ".old";
  fs::rename(final, aside, error);
  if (!error) fs::rename(built, final, error);
  if (error)
    throw RegionImportError("cannot replace the region at " + final.string() + ": " +
                            error.message());
  fs::remove_all(aside, error);
}

// --- Running the tools -------------------------------------------------------------------------

class ImportLog {
 public:
  explicit ImportLog(const fs::path& file) : file_(file) {
    descriptor_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (descriptor_ < 0)
      throw RegionImportError("cannot create " + file.string() + ": " + std::strerror(errno));
  }
  ~ImportLog() { ::close(descriptor_); }
  ImportLog(const ImportLog&) = delete;
  ImportLog& operator=(const ImportLog&) = delete;

  int Descriptor() const { return descriptor_; }
  const fs::path& File() const { return file_; }

  void Write(const std::string& line) const {
    const std::string text = line + "\n";
    // The log only explains; a write that fails must not fail the import.
    [[maybe_unused]] const ssize_t written = ::write(descriptor_, text.data(), text.size());
  }

 private:
  fs::path file_;
  int descriptor_ = -1;
};

// Runs PROGRAM with ARGUMENTS in FOLDER, its output appended to LOG; throws when it cannot be
// started, fails, or the import was asked to stop while it ran.
void RunTool(const fs::path& program, const std::vector<std::string>& arguments,
             const fs::path& folder, const ImportLog& log) {
  std::string commandLine = program.string();
  for (const std::string& argument : arguments) commandLine += " " + argument;
  log.Write("$ " + commandLine);

  std::vector<char*> argv;
  std::string programName = program.filename().string();
  argv.push_back(programName.data());
  std::vector<std::string> copies(arguments);
  for (std::string& argument : copies) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, log.Descriptor(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, log.Descriptor(), STDERR_FILENO);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  // The tool starts with default signal handling whatever ORVO has installed.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGINT);
  sigaddset(&defaults, SIGTERM);
  sigaddset(&defaults, SIGHUP);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  pid_t pid = 0;
  const int spawnError =
      ::posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawnError != 0)
    throw RegionImportError("cannot start " + program.string() + ": " + std::strerror(spawnError));
  runningTool = pid;
  if (stopRequested != 0) ::kill(pid, SIGTERM);  // a signal that came just before

  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) {
      runningTool = 0;
      throw RegionImportError("lost track of " + programName + ": " + std::strerror(errno));
    }
  }
  runningTool = 0;
  StopOnSignals::ThrowIfStopped();
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;

  const std::string how = WIFEXITED(status)
                              ? "exit status " + std::to_string(WEXITSTATUS(status))
                              : "killed by signal " + std::to_string(WTERMSIG(status));
  log.Write(programName + " failed (" + how + ")");
  throw RegionImportError(programName + " failed (" + how + "); its output is in " +
                          log.File().string());
}

// --- The region description --------------------------------------------------------------------

Region DescribeRegion(const std::string& name, const fs::path& folder, const fs::path& source) {
  const MbTiles tiles(folder / kTilesFileName);
  if (tiles.TileCount() == 0)
    throw RegionImportError("tilemaker made no map tiles from " + source.string() +
                            ": the extract has no map data");
  const MbTilesMetadata metadata = tiles.Metadata();

  Region region;
  region.name = name;
  region.folder = folder;
  region.minZoom = metadata.minZoom.value_or(tiles.LowestZoom().value_or(0));
  region.maxZoom = metadata.maxZoom.value_or(tiles.HighestZoom().value_or(region.minZoom));
  if (metadata.bounds) {
    region.bounds = *metadata.bounds;
  } else if (const auto stored = tiles.StoredTiles(region.maxZoom)) {
    // Without bounds from the extract's header, the tiles' own extent is the next best thing.
    const GeoBounds northWest = TileBounds(stored->zoom, stored->minX, stored->minY);
    const GeoBounds southEast = TileBounds(stored->zoom, stored->maxX, stored->maxY);
    region.bounds = {northWest.westDegrees, southEast.southDegrees, southEast.eastDegrees,
                     northWest.northDegrees};
  } else {
    throw RegionImportError("the map tiles of " + source.string() + " have no extent");
  }
  region.centre = metadata.center && region.bounds.Contains(*metadata.center)
                      ? *metadata.center
                      : region.bounds.Centre();
  region.tilesFile = kTilesFileName;
  region.routingPrefix = kRoutingPrefix;
  region.logFile = kImportLogName;
  region.sourceFile = source.string();
  region.builtTime = UtcTimestamp();
  return region;
}

struct ImportPlan {
  fs::path source;
  std::string name;
  fs::path regionsFolder;
  fs::path planetsplitter;
  fs::path tilemaker;
  fs::path tagging;
  fs::path tilemakerConfig;
  fs::path tilemakerProcess;
};

// Everything is checked before anything is written.
ImportPlan Plan(const RegionImportOptions& options) {
  ImportPlan plan;
  // The tools run inside the region's folder, so they get the source by its absolute path.
  plan.source = fs::absolute(options.sourceFile).lexically_normal();
  std::error_code error;
  if (!fs::exists(plan.source, error))
    throw RegionImportError("cannot import " + plan.source.string() + ": no such file");
  if (!fs::is_regular_file(plan.source, error) || !IsOsmPbfFile(plan.source))
    throw RegionImportError("cannot import " + plan.source.string() +
                            ": not an OpenStreetMap PBF file (.osm.pbf)");

  plan.name = options.name.empty() ? RegionNameFromFile(plan.source) : options.name;
  if (!IsValidRegionName(plan.name)) {
    throw RegionImportError("\"" + plan.name +
                            "\" cannot be a region name: use letters, digits, '.', '_' and '-' "
                            "(choose one with --name NAME)");
  }
  plan.regionsFolder = options.regionsFolder.empty() ? RegionsFolder() : options.regionsFolder;

  const auto planetsplitter = FindProgram("planetsplitter");
  if (!planetsplitter)
    throw RegionImportError(
        "planetsplitter was not found on the PATH; it comes with the Debian package routino");
  const auto tilemaker = FindProgram("tilemaker");
  if (!tilemaker)
    throw RegionImportError(
        "tilemaker was not found on the PATH; it comes with the Debian package tilemaker");
  plan.planetsplitter = *planetsplitter;
  plan.tilemaker = *tilemaker;

  plan.tagging = options.routinoData / "tagging.xml";
  RequireFile(plan.tagging, "Routino's tagging rules (Debian package routino-common)");
  const fs::path tilemakerFolder =
      (options.tilemakerFolder.empty() ? platform::AppFolder() / "tilemaker"
                                       : options.tilemakerFolder)
          .lexically_normal();
  plan.tilemakerConfig = tilemakerFolder / "config.json";
  plan.tilemakerProcess = tilemakerFolder / "process.lua";
  RequireFile(plan.tilemakerConfig, "ORVO's map tile configuration");
  RequireFile(plan.tilemakerProcess, "ORVO's map tile script");
  return plan;
}

fs::path MakePartialFolder(const fs::path& regionsFolder, const std::string& name) {
  std::error_code error;
  fs::create_directories(regionsFolder, error);
  if (error)
    throw RegionImportError("cannot create " + regionsFolder.string() + ": " + error.message());
  RemoveLeftovers(regionsFolder, name);
  std::string pattern = (regionsFolder / ("." + name + ".partial-XXXXXX")).string();
  if (::mkdtemp(pattern.data()) == nullptr)
    throw RegionImportError("cannot create a folder in " + regionsFolder.string() + ": " +
                            std::strerror(errno));
  // mkdtemp makes it private; a region is as readable as the rest of the user's data.
  fs::permissions(pattern,
                  fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                      fs::perms::others_read | fs::perms::others_exec,
                  error);
  return pattern;
}

}  // namespace

std::string RegionNameFromFile(const fs::path& sourceFile) {
  std::string name = sourceFile.filename().string();
  for (const std::string suffix : {".osm.pbf", ".pbf"}) {
    if (name.size() > suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
      name.resize(name.size() - suffix.size());
      return name;
    }
  }
  return sourceFile.stem().string();
}

bool IsOsmPbfFile(const fs::path& file) {
  // A PBF opens with a 4-byte big-endian length and a BlobHeader whose first field (1, a
  // length-delimited string) is "OSMHeader".
  std::ifstream stream(file, std::ios::binary);
  std::array<unsigned char, 4> length{};
  if (!stream.read(reinterpret_cast<char*>(length.data()), length.size())) return false;
  const std::uint32_t headerBytes = (std::uint32_t{length[0]} << 24) |
                                    (std::uint32_t{length[1]} << 16) |
                                    (std::uint32_t{length[2]} << 8) | std::uint32_t{length[3]};
  const std::string_view expected = "\x0a\x09OSMHeader";
  // The format caps a BlobHeader at 64 KiB.
  if (headerBytes < expected.size() || headerBytes > 64 * 1024) return false;
  std::string header(expected.size(), '\0');
  if (!stream.read(header.data(), static_cast<std::streamsize>(header.size()))) return false;
  return header == expected;
}

Region ImportRegion(const RegionImportOptions& options, const ImportProgress& progress) {
  const auto report = [&](const std::string& line) {
    if (progress) progress(line);
  };
  const ImportPlan plan = Plan(options);
  const auto started = Clock::now();
  const StopOnSignals stopOnSignals;

  const fs::path partial = MakePartialFolder(plan.regionsFolder, plan.name);
  bool kept = false;
  try {
    const ImportLog log(partial / kImportLogName);
    log.Write("ORVO region import of " + plan.source.string() + " as \"" + plan.name +
              "\", started " + UtcTimestamp());

    report("[1/5] routing database (planetsplitter) ...");
    auto stepStarted = Clock::now();
    RunTool(plan.planetsplitter,
            {"--dir=" + partial.string(), std::string("--prefix=") + kRoutingPrefix,
             "--tagging=" + plan.tagging.string(), "--loggable", plan.source.string()},
            partial, log);
    log.Write("routing database built in " + Seconds(Clock::now() - stepStarted));

    report("[2/5] sea (coastline) ...");
    stepStarted = Clock::now();
    SeaFile sea;
    try {
      sea = MakeSeaFile(plan.source, partial);
    } catch (const std::exception& error) {
      log.Write(error.what());
      throw RegionImportError(error.what());
    }
    log.Write(sea.summary);
    StopOnSignals::ThrowIfStopped();
    log.Write("sea built in " + Seconds(Clock::now() - stepStarted));

    report("[3/5] names of streets and places ...");
    stepStarted = Clock::now();
    try {
      const std::size_t names = WriteNameIndex(plan.source, partial / kNamesFileName);
      log.Write(std::to_string(names) + " names of streets and places kept in " +
                Seconds(Clock::now() - stepStarted));
    } catch (const std::exception& error) {
      log.Write(error.what());
      throw RegionImportError(error.what());
    }
    StopOnSignals::ThrowIfStopped();

    report("[4/5] map tiles (tilemaker) ...");
    stepStarted = Clock::now();
    std::vector<std::string> tilemakerArguments{
        "--input",  plan.source.string(),          "--output",  (partial / kTilesFileName).string(),
        "--config", plan.tilemakerConfig.string(), "--process", plan.tilemakerProcess.string()};
    if (sea.unstatedBounds) {  // tilemaker clips to the same bounds as the sea
      tilemakerArguments.push_back("--bbox");
      tilemakerArguments.push_back(BoundsText(*sea.unstatedBounds));
    }
    RunTool(plan.tilemaker, tilemakerArguments, partial, log);
    RemoveSeaFile(partial);
    log.Write("map tiles built in " + Seconds(Clock::now() - stepStarted));

    report("[5/5] region description ...");
    Region region = DescribeRegion(plan.name, partial, plan.source);
    StopOnSignals::ThrowIfStopped();
    WriteRegion(region);
    log.Write("region complete, " + Seconds(Clock::now() - started) + " in all");

    const fs::path final = plan.regionsFolder / plan.name;
    MoveIntoPlace(partial, final);
    kept = true;
    region.folder = final;
    report("region \"" + plan.name + "\" is ready in " + final.string() + " (map tiles " +
           Megabytes(region.TilesPath()) + ", " + Seconds(Clock::now() - started) + ")");
    return region;
  } catch (const RegionImportInterrupted&) {
    std::error_code error;
    fs::remove_all(partial, error);
    throw;
  } catch (...) {
    if (!kept) KeepOnlyLog(partial);
    throw;
  }
}

}  // namespace orvo::host::map
