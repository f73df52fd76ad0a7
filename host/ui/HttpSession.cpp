#include <chrono>

#include "host/ui/BridgeSessions.hpp"

namespace orvo::host::ui {
namespace {

namespace asio = boost::asio;

// The page only sends GET requests; anything bigger is not ours.
constexpr std::uint64_t kLargestRequestBodyBytes = 64u << 10;
// An idle or stuck HTTP client is cut off after this; the page's WebSocket has Beast's own
// keep-alive pings and timeouts instead.
constexpr auto kHttpTimeout = std::chrono::seconds(30);

}  // namespace

void WebBridge::HttpSession::Close() {
  beast::error_code ignored;
  stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
  stream_.socket().close(ignored);
}

void WebBridge::HttpSession::ReadNext() {
  parser_.emplace();
  parser_->body_limit(kLargestRequestBodyBytes);
  stream_.expires_after(kHttpTimeout);
  http::async_read(
      stream_, buffer_, *parser_,
      [self = shared_from_this()](beast::error_code error, std::size_t) { self->Received(error); });
}

void WebBridge::HttpSession::Received(beast::error_code error) {
  if (error) return Close();
  WebBridge* bridge = handle_->bridge;
  if (bridge == nullptr) return Close();
  Request request = parser_->release();
  const auto target = ParseTarget({request.target().data(), request.target().size()});
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
      bridge->Report(std::string("HttpSession: answering ") + target->path +
                     " failed: " + failure.what());
      return Responder(*bridge).Plain(request, http::status::internal_server_error,
                                      "Internal error\n");
    }
  }();
  if (newCookie) response.set(http::field::set_cookie, *newCookie);
  Send(std::move(response));
}

void WebBridge::HttpSession::Send(Response response) {
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

void WebBridge::Listener::AcceptNext() {
  acceptor_.async_accept([self = shared_from_this()](beast::error_code error, tcp::socket socket) {
    self->Accepted(error, std::move(socket));
  });
}

void WebBridge::Listener::Close() {
  beast::error_code ignored;
  acceptor_.close(ignored);
}

void WebBridge::Listener::Accepted(beast::error_code error, tcp::socket socket) {
  WebBridge* bridge = handle_->bridge;
  if (error == asio::error::operation_aborted || bridge == nullptr || !acceptor_.is_open()) return;
  if (!error) {
    auto session = std::make_shared<HttpSession>(std::move(socket), handle_);
    bridge->TrackHttpSession(session);
    session->Run();
  } else {
    bridge->Report("Listener: accepting a connection failed: " + error.message());
  }
  AcceptNext();
}

}  // namespace orvo::host::ui
