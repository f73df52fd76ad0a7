#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>

#include "host/platform/Files.hpp"
#include "host/platform/Text.hpp"
#include "host/ui/BridgeSessions.hpp"
#include "host/ui/MessageBatch.hpp"

namespace orvo::host::ui {
namespace {

namespace fs = std::filesystem;
using platform::ToLowerAscii;

constexpr const char* kTokenCookie = "orvo_token";
// A folder listing stops here so a folder of a million files cannot stall the page.
constexpr std::size_t kMostFolderEntries = 5000;
constexpr int kHighestTileZoom = 24;

std::string_view View(beast::string_view text) {
  return {text.data(), text.size()};
}

std::string ContentType(const fs::path& file) {
  static const std::vector<std::pair<std::string, std::string>> kTypes = {
      {".html", "text/html; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".mjs", "text/javascript; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".json", "application/json"},
      {".map", "application/json"},
      {".webmanifest", "application/manifest+json"},
      {".svg", "image/svg+xml"},
      {".png", "image/png"},
      {".jpg", "image/jpeg"},
      {".jpeg", "image/jpeg"},
      {".gif", "image/gif"},
      {".bmp", "image/bmp"},
      {".ico", "image/x-icon"},
      {".wav", "audio/wav"},
      {".mp3", "audio/mpeg"},
      {".woff", "font/woff"},
      {".woff2", "font/woff2"},
      {".ttf", "font/ttf"},
      {".txt", "text/plain; charset=utf-8"},
      {".pbf", "application/x-protobuf"},
  };
  const std::string extension = ToLowerAscii(file.extension().string());
  for (const auto& [known, type] : kTypes)
    if (known == extension) return type;
  return "application/octet-stream";
}

bool StartsWithFolder(const fs::path& path, const fs::path& folder) {
  auto pathPart = path.begin();
  for (auto folderPart = folder.begin(); folderPart != folder.end(); ++folderPart, ++pathPart) {
    if (folderPart->empty()) continue;  // a trailing separator
    if (pathPart == path.end() || *pathPart != *folderPart) return false;
  }
  return true;
}

std::optional<std::string> ReadWholeFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::ostringstream contents;
  contents << stream.rdbuf();
  if (stream.bad()) return std::nullopt;
  return std::move(contents).str();
}

bool IsGzipped(std::string_view bytes) {
  return bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0x1F &&
         static_cast<unsigned char>(bytes[1]) == 0x8B;
}

}  // namespace

Response WebBridge::Responder::Plain(const Request& request, http::status status,
                                     std::string text) const {
  Response response(status, request.version());
  response.set(http::field::server, kServerName);
  response.set(http::field::content_type, "text/plain; charset=utf-8");
  response.set(http::field::cache_control, "no-store");
  response.keep_alive(request.keep_alive());
  if (request.method() != http::verb::head) response.body() = std::move(text);
  return response;
}

Response WebBridge::Responder::JsonAnswer(const Request& request, http::status status,
                                          const Json& body) const {
  Response response = Plain(request, status, JsonText(body));
  response.set(http::field::content_type, "application/json");
  return response;
}

std::optional<Response> WebBridge::Responder::Refusal(const Request& request, const Target& target,
                                                      std::optional<std::string>& newCookie) const {
  if (request.method() != http::verb::get && request.method() != http::verb::head)
    return Plain(request, http::status::method_not_allowed, "Only GET is served here\n");

  const std::string host(View(request[http::field::host]));
  if (bridge_.options_.token.empty()) {
    // Without a token only this machine can connect; a page from another site that rebinds
    // its own name to 127.0.0.1 still names that site in Host, and is turned away.
    const std::string name = HostName(host);
    const bool local = name == "localhost" || IsLoopbackAddress(name) ||
                       name == ToLowerAscii(bridge_.options_.address);
    if (!local) return Plain(request, http::status::forbidden, "Unknown host name\n");
  } else {
    const auto fromQuery = target.Parameter("token");
    const auto cookie = CookieValue(View(request[http::field::cookie]), kTokenCookie);
    const auto fromCookie = cookie ? PercentDecode(*cookie, false) : std::nullopt;
    const auto given = fromQuery ? fromQuery : fromCookie;
    if (!given)
      return Plain(request, http::status::unauthorized,
                   "ORVO needs its access token: open the link ORVO printed when it started.\n");
    if (!SameSecret(*given, bridge_.options_.token))
      return Plain(request, http::status::forbidden, "Wrong access token\n");
    if (fromQuery && fromCookie != fromQuery)
      newCookie = std::string(kTokenCookie) + "=" + PercentEncode(*fromQuery) +
                  "; Path=/; HttpOnly; SameSite=Strict";
  }
  // A WebSocket opened by a page of another site carries that site's origin: refused, so that
  // only ORVO's own page drives ORVO.
  if (websocket::is_upgrade(request)) {
    std::string_view origin = View(request[http::field::origin]);
    if (const auto scheme = origin.find("://"); scheme != std::string_view::npos)
      origin.remove_prefix(scheme + 3);
    if (!origin.empty() && ToLowerAscii(origin) != ToLowerAscii(host))
      return Plain(request, http::status::forbidden, "WebSocket from another site refused\n");
  }
  return std::nullopt;
}

Response WebBridge::Responder::Answer(const Request& request, const Target& target) const {
  const std::string& path = target.path;
  if (path == "/region.json") return JsonAnswer(request, http::status::ok, bridge_.region_);
  if (path.starts_with("/tiles/")) return TileAnswer(request, path.substr(7));
  if (path == "/api/files") return FolderAnswer(request, target);
  // The program's data (guidance pictures, sounds) for images and audio in the windows.
  if (path.starts_with("/data/"))
    return FileAnswer(request, bridge_.options_.dataFolder, path.substr(6));
  if (path == "/userfile") return UserFileAnswer(request, target);
  return FileAnswer(request, bridge_.options_.webFolder,
                    path == "/" ? "index.html" : path.substr(1));
}

Response WebBridge::Responder::TileAnswer(const Request& request, std::string_view address) const {
  // "z/x/y.pbf"
  std::vector<std::optional<int>> numbers;
  if (!address.ends_with(".pbf")) return Plain(request, http::status::not_found, "No such tile\n");
  address.remove_suffix(4);
  while (!address.empty() || numbers.empty()) {
    const auto slash = address.find('/');
    numbers.push_back(WholeNumber(address.substr(0, slash)));
    address = slash == std::string_view::npos ? std::string_view{} : address.substr(slash + 1);
    if (slash == std::string_view::npos) break;
  }
  if (numbers.size() != 3 || !numbers[0] || !numbers[1] || !numbers[2] ||
      *numbers[0] > kHighestTileZoom || *numbers[1] >= (1 << *numbers[0]) ||
      *numbers[2] >= (1 << *numbers[0]))
    return Plain(request, http::status::not_found, "No such tile\n");

  std::optional<std::string> tile;
  if (bridge_.tiles_) {
    try {
      tile = bridge_.tiles_->Tile(*numbers[0], *numbers[1], *numbers[2]);
    } catch (const std::exception& error) {
      bridge_.Report(std::string("WebBridge: reading a tile failed: ") + error.what());
      return Plain(request, http::status::internal_server_error, "The tile could not be read\n");
    }
  }
  // No content rather than not found: the map draws an empty tile without an error.
  if (!tile || tile->empty()) {
    Response response = Plain(request, http::status::no_content, "");
    response.erase(http::field::content_type);
    return response;
  }
  Response response = Plain(request, http::status::ok, "");
  response.set(http::field::content_type, "application/x-protobuf");
  // The region does not change while ORVO runs; an hour spares the database on every pan.
  response.set(http::field::cache_control, "private, max-age=3600");
  const bool gzip = IsGzipped(*tile);
  if (gzip) response.set(http::field::content_encoding, "gzip");
  if (request.method() != http::verb::head) response.body() = std::move(*tile);
  return response;
}

Response WebBridge::Responder::FolderAnswer(const Request& request, const Target& target) const {
  const fs::path requested = target.Parameter("path").value_or("");
  const fs::path folder = requested.empty() ? platform::HomeFolder() : requested.lexically_normal();
  if (!folder.is_absolute())
    return JsonAnswer(request, http::status::bad_request,
                      {{"error", "The folder must be a full path: " + folder.string()}});
  const auto patterns = SplitPatterns(target.Parameter("patterns").value_or(""));

  std::error_code error;
  fs::directory_iterator entries(folder, error);
  if (error) {
    const auto status =
        error == std::errc::permission_denied ? http::status::forbidden
        : error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory
            ? http::status::not_found
            : http::status::internal_server_error;
    return JsonAnswer(
        request, status,
        {{"error", "Can't read the folder " + folder.string() + ": " + error.message()}});
  }
  struct Entry {
    std::string name;
    bool isFolder;
    std::uintmax_t sizeBytes;
  };
  std::vector<Entry> found;
  bool truncated = false;
  for (auto it = entries; it != fs::directory_iterator(); it.increment(error)) {
    if (error) break;
    const std::string name = it->path().filename().string();
    if (name.empty() || name.front() == '.') continue;  // hidden, as the desktop's choosers do
    std::error_code entryError;
    if (it->is_directory(entryError)) {
      found.push_back({name, true, 0});
    } else if (it->is_regular_file(entryError)) {
      const bool wanted =
          patterns.empty() ||
          std::any_of(patterns.begin(), patterns.end(), [&name](const std::string& pattern) {
            return MatchesFilePattern(name, pattern);
          });
      if (!wanted) continue;
      const auto size = it->file_size(entryError);
      found.push_back({name, false, entryError ? 0 : size});
    }
    if (found.size() >= kMostFolderEntries) {
      truncated = true;
      break;
    }
  }
  std::sort(found.begin(), found.end(), [](const Entry& a, const Entry& b) {
    if (a.isFolder != b.isFolder) return a.isFolder;
    const std::string lowerA = ToLowerAscii(a.name);
    const std::string lowerB = ToLowerAscii(b.name);
    return lowerA != lowerB ? lowerA < lowerB : a.name < b.name;
  });
  Json list = Json::array();
  for (const Entry& entry : found)
    list.push_back({{"name", entry.name},
                    {"kind", entry.isFolder ? "folder" : "file"},
                    {"size", entry.sizeBytes}});
  const fs::path parent = folder.has_relative_path() ? folder.parent_path() : fs::path{};
  return JsonAnswer(request, http::status::ok,
                    {{"path", folder.string()},
                     {"parent", parent.empty() ? Json(nullptr) : Json(parent.string())},
                     {"home", platform::HomeFolder().string()},
                     {"entries", std::move(list)},
                     {"truncated", truncated}});
}

// A sound or picture the user chose for the guidance, wherever it lies: only those kinds of
// file, named by their full path.
Response WebBridge::Responder::UserFileAnswer(const Request& request, const Target& target) const {
  static const std::vector<std::string> kKinds = {".wav", ".bmp", ".gif", ".jpg",
                                                  ".jpeg", ".png", ".ico", ".cur"};
  const auto wanted = target.Parameter("path");
  const auto known = [](const fs::path& file) {
    const std::string kind = ToLowerAscii(file.extension().string());
    return std::find(kKinds.begin(), kKinds.end(), kind) != kKinds.end();
  };
  std::error_code error;
  // The file itself, not a link named like a sound that leads to something else.
  const fs::path file = wanted && fs::path(*wanted).is_absolute() && known(*wanted)
                            ? fs::canonical(*wanted, error)
                            : fs::path();
  if (file.empty() || error || !known(file))
    return Plain(request, http::status::not_found, "Not found\n");
  return FileAnswer(request, file.parent_path(), file.filename().string());
}

// A file below FOLDER, and nothing outside it.
Response WebBridge::Responder::FileAnswer(const Request& request, const fs::path& folder,
                                          const std::string& relative) const {
  const fs::path wanted = fs::path(relative).lexically_normal();
  // No way out: no "..", no absolute part, no symbolic link leading away.
  const bool climbs =
      std::any_of(wanted.begin(), wanted.end(), [](const fs::path& part) { return part == ".."; });
  if (climbs || wanted.is_absolute() || relative.find('\\') != std::string::npos)
    return Plain(request, http::status::not_found, "Not found\n");

  std::error_code error;
  const fs::path root = fs::canonical(folder, error);
  if (error) {
    if (relative != "index.html" || folder != bridge_.options_.webFolder)
      return Plain(request, http::status::not_found, "Not found\n");
    return Plain(request, http::status::service_unavailable,
                 "ORVO's page has not been built (no " + folder.string() +
                     "): run make, or npm --prefix web run build\n");
  }
  const fs::path file = fs::canonical(root / wanted, error);
  if (error || !StartsWithFolder(file, root) || !fs::is_regular_file(file, error))
    return Plain(request, http::status::not_found, "Not found\n");
  auto contents = ReadWholeFile(file);
  if (!contents) return Plain(request, http::status::forbidden, "The file could not be read\n");

  Response response = Plain(request, http::status::ok, "");
  response.set(http::field::content_type, ContentType(file));
  response.set("X-Content-Type-Options", "nosniff");
  // Vite names its built assets by their content: they never change under the same name.
  response.set(http::field::cache_control, relative.starts_with("assets/")
                                               ? "public, max-age=31536000, immutable"
                                               : "no-cache");
  if (request.method() != http::verb::head) response.body() = std::move(*contents);
  return response;
}

}  // namespace orvo::host::ui
