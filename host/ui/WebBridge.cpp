#include "host/ui/WebBridge.hpp"

#include <boost/asio/post.hpp>

#include "host/platform/AppFolder.hpp"
#include "host/platform/Text.hpp"
#include "host/ui/BridgeSessions.hpp"

namespace orvo::host::ui {

namespace asio = boost::asio;

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
  const std::string host = platform::EqualsIgnoringAsciiCase(options_.address, "localhost")
                               ? "127.0.0.1"
                               : options_.address;
  const auto address = asio::ip::make_address(host, error);
  if (error) throw WebBridgeError("\"" + options_.address + "\" is not an IP address to listen on");

  auto listener = std::make_shared<Listener>(io_, handle_);
  tcp::acceptor& acceptor = listener->Acceptor();
  const tcp::endpoint endpoint(address, options_.port);
  const std::string where = "port " + std::to_string(options_.port) + " on " + options_.address;
  acceptor.open(endpoint.protocol(), error);
  if (!error) acceptor.set_option(asio::socket_base::reuse_address(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (error == asio::error::address_in_use) {
    throw WebBridgeError(where +
                         " is already in use (is ORVO already running?); choose another "
                         "with --listen ADDRESS:PORT");
  }
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
  Flush();
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
  // Without a page there is nobody to tell; a page that connects gets a snapshot.
  if (pages_.empty()) return;
  batch_.Add(message);
  FlushAtEndOfTurn();
}

void WebBridge::UiChange(const Json& message, const Json& previous) {
  if (pages_.empty()) return;
  batch_.AddChange(message, previous);
  FlushAtEndOfTurn();
}

void WebBridge::Queue(Json message) {
  if (pages_.empty()) return;
  batch_.Add(std::move(message));
  FlushAtEndOfTurn();
}

void WebBridge::OnPageMessage(std::string type, PageMessageHandler handler) {
  pageHandlers_[std::move(type)] = std::move(handler);
}

void WebBridge::FlushAtEndOfTurn() {
  if (flushPending_) return;
  flushPending_ = true;
  // Posted work runs after what the loop is doing now, also inside a modal wait.
  asio::post(io_, [handle = handle_] {
    if (WebBridge* bridge = handle->bridge) bridge->Flush();
  });
}

void WebBridge::Flush() {
  flushPending_ = false;
  if (batch_.Empty()) return;
  std::string frame = batch_.Take();
  if (frame.empty() || pages_.empty()) return;
  const auto shared = std::make_shared<const std::string>(std::move(frame));
  // A page may be dropped while being sent to: work on a copy.
  const auto pages = pages_;
  for (const auto& page : pages) page->Send(shared);
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
  // What the other pages have not been sent yet is in the snapshot already: sent first, so that
  // this page does not get it twice.
  Flush();
  pages_.push_back(page);
  std::vector<std::unique_ptr<SnapshotSource>> sources;
  for (const auto& make : snapshotSources_) {
    try {
      if (auto source = make()) sources.push_back(std::move(source));
    } catch (const std::exception& error) {
      Report(std::string("PageOpened: a snapshot source failed and was left out: ") + error.what());
    }
  }
  page->SendSnapshot(JsonText(Json::array({PageSnapshot()})), std::move(sources));
}

void WebBridge::PageClosed(const PageSession* page) {
  std::erase_if(pages_, [page](const auto& open) { return open.get() == page; });
}

void WebBridge::PageMessage(std::string_view text) {
  Json event = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (event.is_discarded()) {
    Report("PageMessage: a page message that is not JSON was ignored");
    return;
  }
  const auto type = event.is_object() ? event.find("type") : event.end();
  if (type != event.end() && type->is_string()) {
    const auto handler = pageHandlers_.find(type->get_ref<const std::string&>());
    if (handler != pageHandlers_.end()) {
      try {
        handler->second(event);
      } catch (const std::exception& error) {
        Report("PageMessage: handling a \"" + handler->first +
               "\" message failed: " + error.what());
      }
      return;
    }
  }
  try {
    desktop_.Dispatch(event);
  } catch (...) {
    // Nothing a page sends may end the program; the desktop reports its own failures.
    Report("PageMessage: handling a page message failed");
  }
}

void WebBridge::TrackHttpSession(const std::shared_ptr<HttpSession>& session) {
  std::erase_if(httpSessions_, [](const auto& weak) { return weak.expired(); });
  httpSessions_.push_back(session);
}

}  // namespace orvo::host::ui
