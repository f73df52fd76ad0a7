#pragma once
// The bridge's connections, for its own source files only: the listener, one HTTP session per
// connection, and the page sessions that a WebSocket upgrade turns them into.
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include "host/ui/HttpText.hpp"
#include "host/ui/WebBridge.hpp"

namespace orvo::host::ui {

namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = boost::asio::ip::tcp;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

inline constexpr const char* kServerName = "ORVO";

// The bridge may be gone while Asio still holds handlers of its sessions: they reach it only
// through this handle, which the bridge clears when it goes.
struct BridgeHandle {
  WebBridge* bridge = nullptr;
};

// Answers to HTTP requests: the refusals of the access rules, then the page, data, tiles,
// region and folder listings.
class WebBridge::Responder {
 public:
  explicit Responder(const WebBridge& bridge) : bridge_(bridge) {}

  Response Plain(const Request& request, http::status status, std::string text) const;
  Response JsonAnswer(const Request& request, http::status status, const Json& body) const;
  // Nothing when the request may be answered; NEW_COOKIE is set when a token came in the query.
  std::optional<Response> Refusal(const Request& request, const Target& target,
                                  std::optional<std::string>& newCookie) const;
  Response Answer(const Request& request, const Target& target) const;

 private:
  Response TileAnswer(const Request& request, std::string_view address) const;
  Response FolderAnswer(const Request& request, const Target& target) const;
  Response UserFileAnswer(const Request& request, const Target& target) const;
  Response FileAnswer(const Request& request, const std::filesystem::path& folder,
                      const std::string& relative) const;

  const WebBridge& bridge_;
};

// One page's WebSocket. Live traffic is queued as it comes and a page that falls too far behind
// is dropped; a snapshot is sent in parts, each produced only once the one before it has been
// written, so a snapshot of any size reaches a slow page without being held in memory at once.
class WebBridge::PageSession : public std::enable_shared_from_this<PageSession> {
 public:
  PageSession(tcp::socket socket, std::shared_ptr<BridgeHandle> handle, std::size_t maxQueued);

  void Run(Request request);
  // A frame of live traffic.
  void Send(const std::shared_ptr<const std::string>& frame);
  // FIRST at once, then each part of the sources in turn.
  void SendSnapshot(std::string first, std::vector<std::unique_ptr<SnapshotSource>> sources);
  // Sends what is queued, then a close frame.
  void CloseWhenSent();
  void Close();

 private:
  struct Outgoing {
    std::shared_ptr<const std::string> frame;
    bool live;  // counted against the backlog limit; snapshot parts are not
  };
  void Report(const std::string& text) const;
  void Accepted(beast::error_code error);
  void ReadNext();
  void Received(beast::error_code error);
  void Queue(Outgoing outgoing);
  void QueueNextSnapshotPart();
  void WriteNext();
  void Written(beast::error_code error);
  void SendCloseFrame();

  websocket::stream<beast::tcp_stream> socket_;
  std::shared_ptr<BridgeHandle> handle_;
  std::size_t maxQueuedBytes_;
  beast::flat_buffer incoming_;
  std::deque<Outgoing> queue_;
  std::size_t queuedLiveBytes_ = 0;
  std::vector<std::unique_ptr<SnapshotSource>> snapshotSources_;
  bool writing_ = false;
  bool closing_ = false;
  bool closed_ = false;
};

class WebBridge::HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  HttpSession(tcp::socket socket, std::shared_ptr<BridgeHandle> handle)
      : stream_(std::move(socket)), handle_(std::move(handle)) {}

  void Run() { ReadNext(); }
  void Close();

 private:
  void ReadNext();
  void Received(beast::error_code error);
  void Send(Response response);

  beast::tcp_stream stream_;
  std::shared_ptr<BridgeHandle> handle_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::string_body>> parser_;
  std::shared_ptr<Response> response_;
};

class WebBridge::Listener : public std::enable_shared_from_this<Listener> {
 public:
  Listener(boost::asio::io_context& io, std::shared_ptr<BridgeHandle> handle)
      : acceptor_(io), handle_(std::move(handle)) {}

  tcp::acceptor& Acceptor() { return acceptor_; }
  void AcceptNext();
  void Close();

 private:
  void Accepted(beast::error_code error, tcp::socket socket);

  tcp::acceptor acceptor_;
  std::shared_ptr<BridgeHandle> handle_;
};

}  // namespace orvo::host::ui
