#include <boost/asio/buffer.hpp>

#include "host/ui/BridgeSessions.hpp"
#include "host/ui/MessageBatch.hpp"

namespace orvo::host::ui {
namespace {

namespace asio = boost::asio;

// Pages send small event messages; a megabyte is far beyond any honest one.
constexpr std::size_t kLargestPageMessageBytes = 1u << 20;

}  // namespace

WebBridge::PageSession::PageSession(tcp::socket socket, std::shared_ptr<BridgeHandle> handle,
                                    std::size_t maxQueued)
    : socket_(std::move(socket)), handle_(std::move(handle)), maxQueuedBytes_(maxQueued) {}

void WebBridge::PageSession::Run(Request request) {
  socket_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
  socket_.set_option(websocket::stream_base::decorator(
      [](websocket::response_type& response) { response.set(http::field::server, kServerName); }));
  socket_.read_message_max(kLargestPageMessageBytes);
  socket_.async_accept(
      request, [self = shared_from_this()](beast::error_code error) { self->Accepted(error); });
}

void WebBridge::PageSession::Send(const std::shared_ptr<const std::string>& frame) {
  if (closed_ || closing_) return;
  queuedLiveBytes_ += frame->size();
  if (queuedLiveBytes_ > maxQueuedBytes_) {
    Report("PageSession: a page fell " + std::to_string(queuedLiveBytes_) +
           " bytes behind and was dropped; it will reconnect");
    Close();
    return;
  }
  Queue({frame, true});
}

void WebBridge::PageSession::SendSnapshot(std::string first,
                                          std::vector<std::unique_ptr<SnapshotSource>> sources) {
  if (closed_ || closing_) return;
  snapshotSources_ = std::move(sources);
  Queue({std::make_shared<const std::string>(std::move(first)), false});
}

void WebBridge::PageSession::CloseWhenSent() {
  if (closed_ || closing_) return;
  closing_ = true;
  snapshotSources_.clear();
  if (!writing_) SendCloseFrame();
}

void WebBridge::PageSession::Close() {
  if (closed_) return;
  closed_ = true;
  closing_ = true;
  queue_.clear();
  // The sources may hold on to the core's documents: they go with the page.
  snapshotSources_.clear();
  if (WebBridge* bridge = handle_->bridge) bridge->PageClosed(this);
  beast::error_code ignored;
  beast::get_lowest_layer(socket_).socket().shutdown(tcp::socket::shutdown_both, ignored);
  beast::get_lowest_layer(socket_).socket().close(ignored);
}

void WebBridge::PageSession::Report(const std::string& text) const {
  if (WebBridge* bridge = handle_->bridge) bridge->Report(text);
}

void WebBridge::PageSession::Accepted(beast::error_code error) {
  WebBridge* bridge = handle_->bridge;
  if (error || bridge == nullptr) {
    if (error) Report("PageSession: a page's WebSocket handshake failed: " + error.message());
    closed_ = true;
    return;
  }
  if (!bridge->listener_) return Close();  // the bridge stopped during the handshake
  bridge->PageOpened(shared_from_this());
  ReadNext();
}

void WebBridge::PageSession::ReadNext() {
  if (closed_) return;
  socket_.async_read(incoming_, [self = shared_from_this()](beast::error_code error, std::size_t) {
    self->Received(error);
  });
}

void WebBridge::PageSession::Received(beast::error_code error) {
  if (error) {
    if (error != websocket::error::closed && error != asio::error::operation_aborted &&
        error != asio::error::eof && !closed_)
      Report("PageSession: a page went away: " + error.message());
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
  if (!text) return bridge->Report("PageSession: a binary page message was ignored");
  bridge->PageMessage(message);
}

void WebBridge::PageSession::Queue(Outgoing outgoing) {
  queue_.push_back(std::move(outgoing));
  if (!writing_) WriteNext();
}

void WebBridge::PageSession::QueueNextSnapshotPart() {
  if (handle_->bridge == nullptr) snapshotSources_.clear();
  while (!snapshotSources_.empty()) {
    std::optional<Json> part;
    try {
      part = snapshotSources_.front()->Next();
    } catch (const std::exception& error) {
      Report(std::string("PageSession: a snapshot part failed and was left out: ") + error.what());
    }
    if (part)
      return Queue({std::make_shared<const std::string>(JsonText(Json::array({*part}))), false});
    snapshotSources_.erase(snapshotSources_.begin());
  }
}

void WebBridge::PageSession::WriteNext() {
  writing_ = true;
  socket_.text(true);
  socket_.async_write(
      asio::buffer(*queue_.front().frame),
      [self = shared_from_this()](beast::error_code error, std::size_t) { self->Written(error); });
}

void WebBridge::PageSession::Written(beast::error_code error) {
  writing_ = false;
  if (closed_) return;
  if (error) {
    Report("PageSession: writing to a page failed: " + error.message());
    Close();
    return;
  }
  const Outgoing written = std::move(queue_.front());
  queue_.pop_front();
  if (written.live) queuedLiveBytes_ -= written.frame->size();
  // The next part is made only now, from the state as it is now: whatever changed before is
  // already in it, whatever changes after follows it as live traffic.
  if (!written.live) QueueNextSnapshotPart();
  if (writing_) return;  // the part started the next write
  if (!queue_.empty()) return WriteNext();
  if (closing_) SendCloseFrame();
}

void WebBridge::PageSession::SendCloseFrame() {
  socket_.async_close(websocket::close_code::going_away,
                      [self = shared_from_this()](beast::error_code) { self->Close(); });
}

}  // namespace orvo::host::ui
