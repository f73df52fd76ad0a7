#include "host/ui/WebBridge.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include "host/platform/AppFolder.hpp"

namespace orvo::host::ui {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
namespace fs = std::filesystem;
using tcp = asio::ip::tcp;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

constexpr const char* kServerName = "ORVO";
constexpr const char* kTokenCookie = "orvo_token";
// Pages send small event messages; a megabyte is far beyond any honest one.
constexpr std::size_t kLargestPageMessageBytes = 1u << 20;
// The page only sends GET requests; anything bigger is not ours.
constexpr std::uint64_t kLargestRequestBodyBytes = 64u << 10;
// An idle or stuck HTTP client is cut off after this; the page's WebSocket has Beast's own
// keep-alive pings and timeouts instead.
constexpr auto kHttpTimeout = std::chrono::seconds(30);
// A folder listing stops here so a folder of a million files cannot stall the page.
constexpr std::size_t kMostFolderEntries = 5000;
constexpr int kHighestTileZoom = 24;

std::string_view View(beast::string_view text) {
  return {text.data(), text.size()};
}

std::string Lowercase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

// Messages may carry any text the core holds (a file name, received NMEA): bytes that are not
// UTF-8 are replaced rather than refused.
std::string JsonText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Percent-decoding; nothing when the escapes are broken.
std::optional<std::string> PercentDecode(std::string_view text, bool plusIsSpace) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '+' && plusIsSpace) {
      result.push_back(' ');
    } else if (c == '%') {
      if (i + 2 >= text.size()) return std::nullopt;
      const int high = HexValue(text[i + 1]);
      const int low = HexValue(text[i + 2]);
      if (high < 0 || low < 0) return std::nullopt;
      result.push_back(static_cast<char>(high * 16 + low));
      i += 2;
    } else {
      result.push_back(c);
    }
  }
  return result;
}

std::string PercentEncode(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || c == '-' || c == '_' || c == '.' || c == '~') {
      result.push_back(c);
    } else {
      result.push_back('%');
      result.push_back(kDigits[byte >> 4]);
      result.push_back(kDigits[byte & 0x0F]);
    }
  }
  return result;
}

struct Target {
  std::string path;
  std::vector<std::pair<std::string, std::string>> query;

  std::optional<std::string> Parameter(std::string_view name) const {
    for (const auto& [key, value] : query)
      if (key == name) return value;
    return std::nullopt;
  }
};

std::optional<Target> ParseTarget(std::string_view target) {
  Target result;
  const auto question = target.find('?');
  const auto path = PercentDecode(target.substr(0, question), false);
  if (!path || path->empty() || path->front() != '/' || path->find('\0') != std::string::npos)
    return std::nullopt;
  result.path = *path;
  if (question == std::string_view::npos) return result;
  std::string_view rest = target.substr(question + 1);
  while (!rest.empty()) {
    const auto amp = rest.find('&');
    const std::string_view pair = rest.substr(0, amp);
    rest = amp == std::string_view::npos ? std::string_view{} : rest.substr(amp + 1);
    if (pair.empty()) continue;
    const auto equals = pair.find('=');
    const auto key = PercentDecode(pair.substr(0, equals), true);
    const auto value = PercentDecode(
        equals == std::string_view::npos ? std::string_view{} : pair.substr(equals + 1), true);
    if (!key || !value) return std::nullopt;
    result.query.emplace_back(*key, *value);
  }
  return result;
}

std::optional<std::string> CookieValue(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    const auto semicolon = header.find(';');
    std::string_view pair = header.substr(0, semicolon);
    header =
        semicolon == std::string_view::npos ? std::string_view{} : header.substr(semicolon + 1);
    while (!pair.empty() && pair.front() == ' ') pair.remove_prefix(1);
    const auto equals = pair.find('=');
    if (equals != std::string_view::npos && pair.substr(0, equals) == name)
      return std::string(pair.substr(equals + 1));
  }
  return std::nullopt;
}

// Comparison whose time does not depend on where the texts differ.
bool SameSecret(std::string_view given, std::string_view expected) {
  unsigned difference = given.size() == expected.size() ? 0u : 1u;
  for (std::size_t i = 0; i < given.size(); ++i)
    difference |= static_cast<unsigned char>(given[i]) ^
                  static_cast<unsigned char>(expected.empty() ? 0 : expected[i % expected.size()]);
  return difference == 0;
}

// The host name of a Host header or an origin: without scheme, port and IPv6 brackets.
std::string HostName(std::string_view host) {
  if (const auto scheme = host.find("://"); scheme != std::string_view::npos)
    host.remove_prefix(scheme + 3);
  if (!host.empty() && host.front() == '[') {
    const auto close = host.find(']');
    return Lowercase(host.substr(1, close == std::string_view::npos ? host.npos : close - 1));
  }
  return Lowercase(host.substr(0, host.find(':')));
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
  const std::string extension = Lowercase(file.extension().string());
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

// "12" as 12; nothing for anything else, including "+1", "1x" and numbers beyond int.
std::optional<int> WholeNumber(std::string_view text) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

bool IsGzipped(std::string_view bytes) {
  return bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0x1F &&
         static_cast<unsigned char>(bytes[1]) == 0x8B;
}

std::vector<std::string> SplitPatterns(std::string_view text) {
  std::vector<std::string> patterns;
  while (!text.empty()) {
    const auto semicolon = text.find(';');
    std::string_view pattern = text.substr(0, semicolon);
    text = semicolon == std::string_view::npos ? std::string_view{} : text.substr(semicolon + 1);
    while (!pattern.empty() && pattern.front() == ' ') pattern.remove_prefix(1);
    while (!pattern.empty() && pattern.back() == ' ') pattern.remove_suffix(1);
    if (!pattern.empty()) patterns.emplace_back(pattern);
  }
  return patterns;
}

fs::path HomeFolder() {
  const char* home = std::getenv("HOME");
  return home != nullptr && *home == '/' ? fs::path(home) : fs::path("/");
}

}  // namespace

bool IsLoopbackAddress(std::string_view address) {
  if (Lowercase(address) == "localhost") return true;
  boost::system::error_code error;
  const auto parsed = asio::ip::make_address(std::string(address), error);
  return !error && parsed.is_loopback();
}

bool MatchesFilePattern(std::string_view name, std::string_view pattern) {
  // Iterative wildcard match with one back-tracking point: linear enough for file names.
  std::size_t n = 0;
  std::size_t p = 0;
  std::optional<std::size_t> star;
  std::size_t starName = 0;
  const auto same = [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
  };
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == '?' || same(pattern[p], name[n]))) {
      ++n;
      ++p;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starName = n;
    } else if (star) {
      p = *star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  // "*.*" matches names without a dot too, as it did in the old file dialogs.
  return p == pattern.size() || pattern.substr(p) == ".*";
}

// The bridge may be gone while Asio still holds handlers of its sessions: they reach it only
// through this handle, which the bridge clears when it stops.
struct BridgeHandle {
  WebBridge* bridge = nullptr;
};

class WebBridge::Responder {
 public:
  explicit Responder(const WebBridge& bridge) : bridge_(bridge) {}

  Response Plain(const Request& request, http::status status, std::string text) const {
    Response response(status, request.version());
    response.set(http::field::server, kServerName);
    response.set(http::field::content_type, "text/plain; charset=utf-8");
    response.set(http::field::cache_control, "no-store");
    response.keep_alive(request.keep_alive());
    if (request.method() != http::verb::head) response.body() = std::move(text);
    return response;
  }

  Response JsonAnswer(const Request& request, http::status status, const Json& body) const {
    Response response = Plain(request, status, JsonText(body));
    response.set(http::field::content_type, "application/json");
    return response;
  }

  std::optional<Response> Refusal(const Request& request, const Target& target,
                                  std::optional<std::string>& newCookie) const {
    if (request.method() != http::verb::get && request.method() != http::verb::head)
      return Plain(request, http::status::method_not_allowed, "Only GET is served here\n");

    const std::string host(View(request[http::field::host]));
    if (bridge_.options_.token.empty()) {
      // Without a token only this machine can connect; a page from another site that rebinds
      // its own name to 127.0.0.1 still names that site in Host, and is turned away.
      const std::string name = HostName(host);
      const bool local = name == "localhost" || IsLoopbackAddress(name) ||
                         name == Lowercase(bridge_.options_.address);
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
      if (!origin.empty() && Lowercase(origin) != Lowercase(host))
        return Plain(request, http::status::forbidden, "WebSocket from another site refused\n");
    }
    return std::nullopt;
  }

  Response Answer(const Request& request, const Target& target) const {
    const std::string& path = target.path;
    if (path == "/region.json") return JsonAnswer(request, http::status::ok, bridge_.region_);
    if (path.starts_with("/tiles/")) return TileAnswer(request, path.substr(7));
    if (path == "/api/files") return FolderAnswer(request, target);
    // The program's data (guidance pictures, sounds) for images and audio in the windows.
    if (path.starts_with("/data/"))
      return FileAnswer(request, bridge_.options_.dataFolder, path.substr(6));
    return FileAnswer(request, bridge_.options_.webFolder,
                      path == "/" ? "index.html" : path.substr(1));
  }

  Response TileAnswer(const Request& request, std::string_view address) const {
    // "z/x/y.pbf"
    std::vector<std::optional<int>> numbers;
    if (!address.ends_with(".pbf"))
      return Plain(request, http::status::not_found, "No such tile\n");
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

  Response FolderAnswer(const Request& request, const Target& target) const {
    const fs::path requested = target.Parameter("path").value_or("");
    const fs::path folder = requested.empty() ? HomeFolder() : requested.lexically_normal();
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
      const std::string lowerA = Lowercase(a.name);
      const std::string lowerB = Lowercase(b.name);
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
                       {"home", HomeFolder().string()},
                       {"entries", std::move(list)},
                       {"truncated", truncated}});
  }

  // A file below FOLDER, and nothing outside it.
  Response FileAnswer(const Request& request, const fs::path& folder,
                      const std::string& relative) const {
    const fs::path wanted = fs::path(relative).lexically_normal();
    // No way out: no "..", no absolute part, no symbolic link leading away.
    const bool climbs = std::any_of(wanted.begin(), wanted.end(),
                                    [](const fs::path& part) { return part == ".."; });
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

 private:
  const WebBridge& bridge_;
};

class WebBridge::PageSession : public std::enable_shared_from_this<PageSession> {
 public:
  PageSession(tcp::socket socket, std::shared_ptr<BridgeHandle> handle, std::size_t maxQueued)
      : socket_(std::move(socket)), handle_(std::move(handle)), maxQueuedBytes_(maxQueued) {}

  void Run(Request request) {
    socket_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
    socket_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
      response.set(http::field::server, kServerName);
    }));
    socket_.read_message_max(kLargestPageMessageBytes);
    socket_.async_accept(
        request, [self = shared_from_this()](beast::error_code error) { self->Accepted(error); });
  }

  void Send(const std::shared_ptr<const std::string>& text) {
    if (closed_ || closing_) return;
    queuedBytes_ += text->size();
    if (queuedBytes_ > maxQueuedBytes_) {
      Report("WebBridge: a page fell " + std::to_string(queuedBytes_) +
             " bytes behind and was dropped; it will reconnect");
      Close();
      return;
    }
    queue_.push_back(text);
    if (!writing_) WriteNext();
  }

  // Sends what is queued, then a close frame.
  void CloseWhenSent() {
    if (closed_ || closing_) return;
    closing_ = true;
    if (!writing_) SendCloseFrame();
  }

  void Close() {
    if (closed_) return;
    closed_ = true;
    closing_ = true;
    queue_.clear();
    if (WebBridge* bridge = handle_->bridge) bridge->PageClosed(this);
    beast::error_code ignored;
    beast::get_lowest_layer(socket_).socket().shutdown(tcp::socket::shutdown_both, ignored);
    beast::get_lowest_layer(socket_).socket().close(ignored);
  }

 private:
  void Report(const std::string& text) const {
    if (WebBridge* bridge = handle_->bridge) bridge->Report(text);
  }

  void Accepted(beast::error_code error) {
    WebBridge* bridge = handle_->bridge;
    if (error || bridge == nullptr) {
      if (error) Report("WebBridge: a page's WebSocket handshake failed: " + error.message());
      closed_ = true;
      return;
    }
    if (!bridge->listener_) return Close();  // the bridge stopped during the handshake
    bridge->PageOpened(shared_from_this());
    ReadNext();
  }

  void ReadNext() {
    if (closed_) return;
    socket_.async_read(incoming_,
                       [self = shared_from_this()](beast::error_code error, std::size_t) {
                         self->Received(error);
                       });
  }

  void Received(beast::error_code error) {
    if (error) {
      if (error != websocket::error::closed && error != asio::error::operation_aborted &&
          error != asio::error::eof && !closed_)
        Report("WebBridge: a page went away: " + error.message());
      Close();
      return;
    }
    const bool text = socket_.got_text();
    std::string message = beast::buffers_to_string(incoming_.data());
    incoming_.consume(incoming_.size());
    // Listen again before handling: the handler may wait for a modal answer that this very
    // page is about to send.
    ReadNext();
    WebBridge* bridge = handle_->bridge;
    if (bridge == nullptr) return;
    if (!text) return bridge->Report("WebBridge: a binary page message was ignored");
    bridge->PageMessage(message);
  }

  void WriteNext() {
    writing_ = true;
    socket_.text(true);
    socket_.async_write(asio::buffer(*queue_.front()),
                        [self = shared_from_this()](beast::error_code error, std::size_t) {
                          self->Written(error);
                        });
  }

  void Written(beast::error_code error) {
    writing_ = false;
    if (closed_) return;
    if (error) {
      Report("WebBridge: writing to a page failed: " + error.message());
      Close();
      return;
    }
    queuedBytes_ -= queue_.front()->size();
    queue_.pop_front();
    if (!queue_.empty()) return WriteNext();
    if (closing_) SendCloseFrame();
  }

  void SendCloseFrame() {
    socket_.async_close(websocket::close_code::going_away,
                        [self = shared_from_this()](beast::error_code) { self->Close(); });
  }

  websocket::stream<beast::tcp_stream> socket_;
  std::shared_ptr<BridgeHandle> handle_;
  std::size_t maxQueuedBytes_;
  beast::flat_buffer incoming_;
  std::deque<std::shared_ptr<const std::string>> queue_;
  std::size_t queuedBytes_ = 0;
  bool writing_ = false;
  bool closing_ = false;
  bool closed_ = false;
};

class WebBridge::HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  HttpSession(tcp::socket socket, std::shared_ptr<BridgeHandle> handle)
      : stream_(std::move(socket)), handle_(std::move(handle)) {}

  void Run() { ReadNext(); }

  void Close() {
    beast::error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
    stream_.socket().close(ignored);
  }

 private:
  void ReadNext() {
    parser_.emplace();
    parser_->body_limit(kLargestRequestBodyBytes);
    stream_.expires_after(kHttpTimeout);
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](beast::error_code error, std::size_t) {
                       self->Received(error);
                     });
  }

  void Received(beast::error_code error) {
    if (error) return Close();
    WebBridge* bridge = handle_->bridge;
    if (bridge == nullptr) return Close();
    Request request = parser_->release();
    const auto target = ParseTarget(View(request.target()));
    if (!target)
      return Send(Responder(*bridge).Plain(request, http::status::bad_request, "Bad request\n"));

    std::optional<std::string> newCookie;
    if (auto refusal = Responder(*bridge).Refusal(request, *target, newCookie))
      return Send(std::move(*refusal));

    if (target->path == "/ws") {
      if (!websocket::is_upgrade(request))
        return Send(Responder(*bridge).Plain(request, http::status::upgrade_required,
                                             "This address takes a WebSocket\n"));
      stream_.expires_never();
      std::make_shared<PageSession>(stream_.release_socket(), handle_,
                                    bridge->options_.maxQueuedBytes)
          ->Run(std::move(request));
      return;
    }
    Response response = [&] {
      try {
        return Responder(*bridge).Answer(request, *target);
      } catch (const std::exception& failure) {
        // One failed request must not take the page's server down with it.
        bridge->Report(std::string("WebBridge: answering ") + target->path +
                       " failed: " + failure.what());
        return Responder(*bridge).Plain(request, http::status::internal_server_error,
                                        "Internal error\n");
      }
    }();
    if (newCookie) response.set(http::field::set_cookie, *newCookie);
    Send(std::move(response));
  }

  void Send(Response response) {
    response.prepare_payload();
    const bool keepAlive = response.keep_alive();
    response_ = std::make_shared<Response>(std::move(response));
    http::async_write(stream_, *response_,
                      [self = shared_from_this(), keepAlive](beast::error_code error, std::size_t) {
                        self->response_.reset();
                        if (error || !keepAlive) return self->Close();
                        self->ReadNext();
                      });
  }

  beast::tcp_stream stream_;
  std::shared_ptr<BridgeHandle> handle_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
  std::shared_ptr<Response> response_;
};

class WebBridge::Listener : public std::enable_shared_from_this<Listener> {
 public:
  Listener(asio::io_context& io, std::shared_ptr<BridgeHandle> handle)
      : io_(io), acceptor_(io), handle_(std::move(handle)) {}

  tcp::acceptor& Acceptor() { return acceptor_; }

  void AcceptNext() {
    acceptor_.async_accept(
        [self = shared_from_this()](beast::error_code error, tcp::socket socket) {
          self->Accepted(error, std::move(socket));
        });
  }

  void Close() {
    beast::error_code ignored;
    acceptor_.close(ignored);
  }

 private:
  void Accepted(beast::error_code error, tcp::socket socket) {
    WebBridge* bridge = handle_->bridge;
    if (error == asio::error::operation_aborted || bridge == nullptr || !acceptor_.is_open())
      return;
    if (!error) {
      auto session = std::make_shared<HttpSession>(std::move(socket), handle_);
      bridge->TrackHttpSession(session);
      session->Run();
    } else {
      bridge->Report("WebBridge: accepting a connection failed: " + error.message());
    }
    AcceptNext();
  }

  asio::io_context& io_;
  tcp::acceptor acceptor_;
  std::shared_ptr<BridgeHandle> handle_;
};

WebBridge::WebBridge(asio::io_context& io, Desktop& desktop, WebBridgeOptions options)
    : io_(io),
      desktop_(desktop),
      options_(std::move(options)),
      handle_(std::make_shared<BridgeHandle>(BridgeHandle{this})) {
  if (options_.webFolder.empty()) options_.webFolder = platform::WebFolder();
  if (options_.dataFolder.empty()) options_.dataFolder = platform::AppFolder();
}

WebBridge::~WebBridge() {
  Stop();
  const auto pages = pages_;
  for (const auto& page : pages) page->Close();
  pages_.clear();
  handle_->bridge = nullptr;
}

void WebBridge::Start() {
  if (listener_) return;
  if (!IsLoopbackAddress(options_.address) && options_.token.empty())
    throw WebBridgeError("listening on " + options_.address +
                         " lets other machines reach ORVO: give an access token with --token");
  boost::system::error_code error;
  const std::string host =
      Lowercase(options_.address) == "localhost" ? "127.0.0.1" : options_.address;
  const auto address = asio::ip::make_address(host, error);
  if (error) throw WebBridgeError("\"" + options_.address + "\" is not an IP address to listen on");

  auto listener = std::make_shared<Listener>(io_, handle_);
  tcp::acceptor& acceptor = listener->Acceptor();
  const tcp::endpoint endpoint(address, options_.port);
  const std::string where = "port " + std::to_string(options_.port) + " on " + options_.address;
  acceptor.open(endpoint.protocol(), error);
  if (!error) acceptor.set_option(asio::socket_base::reuse_address(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (error == asio::error::address_in_use)
    throw WebBridgeError(where +
                         " is already in use (is ORVO already running?); choose another "
                         "with --listen ADDRESS:PORT");
  if (error == asio::error::access_denied)
    throw WebBridgeError("not allowed to listen on " + where + ": " + error.message());
  if (error == boost::system::errc::address_not_available)
    throw WebBridgeError(options_.address + " is not an address of this machine");
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error) throw WebBridgeError("cannot listen on " + where + ": " + error.message());
  port_ = acceptor.local_endpoint().port();

  listener_ = std::move(listener);
  listener_->AcceptNext();
  if (!observing_) desktop_.AddObserver(*this);
  observing_ = true;
}

void WebBridge::Stop() {
  if (observing_) desktop_.RemoveObserver(*this);
  observing_ = false;
  if (listener_) listener_->Close();
  listener_.reset();
  // A closed page leaves the list: work on a copy.
  const auto pages = pages_;
  for (const auto& page : pages) page->CloseWhenSent();
  for (const auto& weak : httpSessions_)
    if (auto session = weak.lock()) session->Close();
  httpSessions_.clear();
}

std::string WebBridge::Url() const {
  const bool ipv6 = options_.address.find(':') != std::string::npos;
  std::string url = "http://" + (ipv6 ? "[" + options_.address + "]" : options_.address) + ":" +
                    std::to_string(port_) + "/";
  if (!options_.token.empty()) url += "?token=" + PercentEncode(options_.token);
  return url;
}

std::size_t WebBridge::PageCount() const {
  return pages_.size();
}

void WebBridge::UiMessage(const Json& message) {
  if (pages_.empty()) return;
  const auto text = std::make_shared<const std::string>(JsonText(message));
  // A page may be dropped while being sent to: work on a copy.
  const auto pages = pages_;
  for (const auto& page : pages) page->Send(text);
}

void WebBridge::Report(std::string_view text) const {
  if (diagnostics) diagnostics(text);
}

Json WebBridge::PageSnapshot() const {
  Json snapshot = desktop_.Snapshot();
  for (const auto& part : snapshotParts_) part(snapshot);
  return snapshot;
}

void WebBridge::PageOpened(const std::shared_ptr<PageSession>& page) {
  pages_.push_back(page);
  page->Send(std::make_shared<const std::string>(JsonText(PageSnapshot())));
}

void WebBridge::PageClosed(const PageSession* page) {
  std::erase_if(pages_, [page](const auto& open) { return open.get() == page; });
}

void WebBridge::PageMessage(std::string_view text) {
  Json event = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (event.is_discarded()) {
    Report("WebBridge: a page message that is not JSON was ignored");
    return;
  }
  try {
    desktop_.Dispatch(event);
  } catch (...) {
    // Nothing a page sends may end the program; the desktop reports its own failures.
    Report("WebBridge: handling a page message failed");
  }
}

void WebBridge::TrackHttpSession(const std::shared_ptr<HttpSession>& session) {
  std::erase_if(httpSessions_, [](const auto& weak) { return weak.expired(); });
  httpSessions_.push_back(session);
}

}  // namespace orvo::host::ui
