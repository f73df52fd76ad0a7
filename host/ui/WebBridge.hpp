#pragma once
// The page's server: HTTP for the built page, the map tiles, the region and the file chooser's
// folder listings, and one WebSocket per page over which the page follows the desktop and sends
// the user's events back.
//
// Everything runs on the program's io_context, on its one thread: the bridge calls the desktop
// directly and needs no locks. A page that connects gets a snapshot, then every change; a page
// that goes away is forgotten, and one that comes back gets a fresh snapshot.
//
// What changes in one turn of the event loop reaches the pages as one frame, a JSON array of
// messages (see MessageBatch). Features other than the windows (the map's pins) use the same
// channel: they queue their own messages, add their own parts to every snapshot, and take page
// messages of their own types.
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/asio/io_context.hpp>

#include "host/ui/Control.hpp"
#include "host/ui/Desktop.hpp"
#include "host/ui/HttpText.hpp"
#include "host/ui/MessageBatch.hpp"

namespace orvo::host::ui {

struct BridgeHandle;

// Where the map's vector tiles come from (the region's MBTiles file).
class TileSource {
 public:
  virtual ~TileSource() = default;
  // The stored bytes of tile z/x/y, numbered as web maps ask for them (row 0 at the north);
  // nothing when the region has no such tile.
  // A tile stored gzip'd (as tilemaker writes them) is recognised by its first bytes and
  // served with "Content-Encoding: gzip", so the browser unpacks it.
  virtual std::optional<std::string> Tile(int z, int x, int y) = 0;
};

// A feature's share of the snapshot a page gets when it connects: messages handed out one at a
// time, each only once the page has taken the one before, so that a snapshot of any size
// reaches the page without being built in memory at once. Each part is sent as it is when it is
// asked for; changes made meanwhile reach the page as live messages, so the page's handling of
// the feature's messages must let a later message win (an "add" of a known item updates it, a
// "remove" of an unknown one does nothing).
class SnapshotSource {
 public:
  virtual ~SnapshotSource() = default;
  // The next message, or nothing when the snapshot is complete.
  virtual std::optional<Json> Next() = 0;
};

struct WebBridgeOptions {
  std::string address = "127.0.0.1";
  unsigned short port = 8080;  // 0: any free port (tests)
  // Required when `address` is not a loopback address; once set, every request must carry it.
  std::string token;
  std::filesystem::path webFolder;   // the built page; empty: platform::WebFolder()
  std::filesystem::path dataFolder;  // served below /data/; empty: platform::AppFolder()
  // A page whose live traffic falls this far behind is dropped; it reconnects and gets a
  // snapshot. A tick sends a few kilobytes, so 8 MiB is a page that stopped reading. Snapshot
  // parts do not count: they are only made once the page has taken the one before.
  std::size_t maxQueuedBytes = 8u << 20;
};

// A refusal to start: the message says why ("port 8080 on 127.0.0.1 is already in use").
class WebBridgeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class WebBridge final : public UiObserver {
 public:
  WebBridge(boost::asio::io_context& io, Desktop& desktop, WebBridgeOptions options);
  ~WebBridge() override;
  WebBridge(const WebBridge&) = delete;
  WebBridge& operator=(const WebBridge&) = delete;

  // Binds and starts accepting; throws WebBridgeError when the address is refused, the port is
  // busy, or a token is missing for a non-loopback address.
  void Start();
  // Stops listening; every page gets what was already queued for it and then a close frame.
  // The destructor cuts the pages off without waiting.
  void Stop();

  // The port actually listened on (useful when the options asked for 0).
  unsigned short Port() const { return port_; }
  // "http://127.0.0.1:8080/", with "?token=..." when a token is set.
  std::string Url() const;
  // Pages connected, including ones still closing after Stop.
  std::size_t PageCount() const;

  void SetTileSource(std::shared_ptr<TileSource> tiles) { tiles_ = std::move(tiles); }
  // Served as /region.json: name, bounds, centre, zoom range, as the program describes them.
  void SetRegion(Json region) { region_ = std::move(region); }
  // State kept outside the desktop (open questions, the map's view) that a connecting page
  // needs: each part adds its fields to the snapshot.
  void AddSnapshotPart(std::function<void(Json&)> part) {
    snapshotParts_.push_back(std::move(part));
  }

  // Feature channels.
  // Queues a message for every page; it joins the frame of this turn, after what was queued
  // before it.
  void Queue(Json message);
  // MAKE is asked for a fresh source for every page that connects; its parts follow the
  // desktop's snapshot, in the order the sources were added.
  using SnapshotSourceMaker = std::function<std::unique_ptr<SnapshotSource>()>;
  void AddSnapshotSource(SnapshotSourceMaker make) { snapshotSources_.push_back(std::move(make)); }
  // Page messages whose "type" is TYPE go to HANDLER instead of the desktop. A handler that
  // throws is reported and the page stays.
  using PageMessageHandler = std::function<void(const Json&)>;
  void OnPageMessage(std::string type, PageMessageHandler handler);

  // Sends what this turn has queued now (it is sent at the end of the turn anyway).
  void Flush();

  // Desktop messages, sent to every page.
  void UiMessage(const Json& message) override;
  void UiChange(const Json& message, const Json& previous) override;

  // Bad requests, malformed page messages, dropped pages.
  std::function<void(std::string_view)> diagnostics;

 private:
  class Listener;
  class HttpSession;
  class PageSession;
  class Responder;
  friend class Listener;
  friend class HttpSession;
  friend class PageSession;
  friend class Responder;

  void Report(std::string_view text) const;
  void FlushAtEndOfTurn();
  Json PageSnapshot() const;
  void PageOpened(const std::shared_ptr<PageSession>& page);
  void PageClosed(const PageSession* page);
  void PageMessage(std::string_view text);
  void TrackHttpSession(const std::shared_ptr<HttpSession>& session);

  boost::asio::io_context& io_;
  Desktop& desktop_;
  WebBridgeOptions options_;
  unsigned short port_ = 0;
  bool observing_ = false;
  // Sessions reach the bridge through this; cleared when the bridge goes.
  std::shared_ptr<BridgeHandle> handle_;
  std::shared_ptr<Listener> listener_;
  std::vector<std::shared_ptr<PageSession>> pages_;
  std::vector<std::weak_ptr<HttpSession>> httpSessions_;
  std::shared_ptr<TileSource> tiles_;
  Json region_ = Json::object();
  std::vector<std::function<void(Json&)>> snapshotParts_;
  std::vector<SnapshotSourceMaker> snapshotSources_;
  std::map<std::string, PageMessageHandler, std::less<>> pageHandlers_;
  MessageBatch batch_;
  bool flushPending_ = false;
};

}  // namespace orvo::host::ui
