// The bridge against real sockets: the program's loop runs on its own thread here, as it does in
// orvo, and the test plays the pages with Beast's blocking client. Everything that touches the
// desktop goes through OnLoop, so the core is only ever used on the loop's thread.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <thread>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "host/ui/Desktop.hpp"
#include "host/ui/PageDialogs.hpp"
#include "host/ui/WebBridge.hpp"
#include "host/ui/Window.hpp"
#include "tests/PageClient.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::ui {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace fs = std::filesystem;
using tcp = asio::ip::tcp;

class TestWindow : public Window {
 public:
  explicit TestWindow(Desktop& desktop)
      : Window(desktop, "frmTest", "Test", 300, 200),
        label(*this, "lblState"),
        check(*this, "chkThing") {
    check.onClick = [this] { ++clicks; };
  }
  Label label;
  CheckBox check;
  int clicks = 0;
};

// A tile source with one gzip'd and one plain tile.
class FakeTiles : public TileSource {
 public:
  std::optional<std::string> Tile(int z, int x, int y) override {
    if (z == 14 && x == 8508 && y == 5975) return std::string("\x1f\x8b\x08\x00gzipped", 11);
    if (z == 14 && x == 8509 && y == 5975) return std::string("plain tile");
    return std::nullopt;
  }
};

struct HttpResult {
  int status = 0;
  std::map<std::string, std::string> headers;
  std::string body;
};

HttpResult Get(unsigned short port, const std::string& target,
               const std::map<std::string, std::string>& headers = {}) {
  asio::io_context io;
  tcp::socket socket(io);
  socket.connect(tcp::endpoint(asio::ip::make_address("127.0.0.1"), port));
  http::request<http::empty_body> request(http::verb::get, target, 11);
  request.set(http::field::host, "127.0.0.1:" + std::to_string(port));
  for (const auto& [name, value] : headers) request.set(name, value);
  http::write(socket, request);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(socket, buffer, response);
  HttpResult result{static_cast<int>(response.result_int()), {}, response.body()};
  for (const auto& field : response)
    result.headers[std::string(field.name_string())] = std::string(field.value());
  return result;
}

using Page = orvo::testing::PageClient;

class WebBridgeTest : public ::testing::Test {
 protected:
  // Runs WORK on the loop's thread and returns its result.
  template <class Work>
  auto OnLoop(Work work) {
    std::packaged_task<decltype(work())()> task(std::move(work));
    auto result = task.get_future();
    asio::post(io_, [&task] { task(); });
    return result.get();
  }

  void SetUp() override {
    fs::create_directories(web_ / "site" / "assets");
    std::ofstream(web_ / "site" / "index.html") << "<!doctype html><title>ORVO</title>";
    std::ofstream(web_ / "site" / "assets" / "page.js") << "console.log('ORVO')";
    std::ofstream(web_ / "secret.txt") << "not for pages";
    fs::create_directories(web_ / "data" / "pictures");
    std::ofstream(web_ / "data" / "pictures" / "turn left.bmp") << "BM";
    fs::create_symlink(web_ / "secret.txt", web_ / "site" / "leak.txt");
    dialogs_.SetPublisher([this](const Json& message) { desktop_.Publish(message); });
    desktop_.extraEvents = [this](const Json& event) { return dialogs_.HandleEvent(event); };
    desktop_.diagnostics = [this](std::string_view text) { diagnostics_.emplace_back(text); };
    dialogs_.diagnostics = desktop_.diagnostics;
    window_.Show();
  }

  void TearDown() override {
    if (loop_.joinable()) {
      OnLoop([this] { bridge_.reset(); });
      work_.reset();
      io_.stop();
      loop_.join();
    }
  }

  WebBridgeOptions Options() {
    WebBridgeOptions options;
    options.port = 0;
    options.webFolder = web_ / "site";
    options.dataFolder = web_ / "data";
    return options;
  }

  // Starts the bridge and the loop's thread.
  unsigned short Start(WebBridgeOptions options) {
    bridge_ = std::make_unique<WebBridge>(io_, desktop_, std::move(options));
    bridge_->diagnostics = desktop_.diagnostics;
    bridge_->AddSnapshotPart([this](Json& snapshot) { dialogs_.AddToSnapshot(snapshot); });
    bridge_->SetTileSource(std::make_shared<FakeTiles>());
    bridge_->SetRegion(Json{{"name", "monaco"}});
    bridge_->Start();
    loop_ = std::thread([this] { io_.run(); });
    return bridge_->Port();
  }
  unsigned short Start() { return Start(Options()); }

  // Asks a question on the loop; the answer arrives in the returned future.
  std::future<MsgBoxResult> AskLater(const std::string& prompt, MsgBoxButtons buttons) {
    auto promise = std::make_shared<std::promise<MsgBoxResult>>();
    asio::post(io_, [this, promise, prompt, buttons] {
      promise->set_value(desktop_.MsgBox(prompt, buttons));
    });
    return promise->get_future();
  }

  asio::io_context io_;
  AsioScheduler scheduler_{io_};
  PageDialogs dialogs_{scheduler_};
  Desktop desktop_{scheduler_, dialogs_};
  TestWindow window_{desktop_};
  std::vector<std::string> diagnostics_;
  std::unique_ptr<WebBridge> bridge_;
  std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work_{
      asio::make_work_guard(io_)};
  std::thread loop_;
  orvo::testing::TempFolder folder_;
  const fs::path& web_ = folder_.Path();
};

TEST_F(WebBridgeTest, PagesGetASnapshotThenEveryChangeStayInStepAndSurviveMalformedMessages) {
  const unsigned short port = Start();
  Page first(port);
  Page second(port);
  ASSERT_TRUE(first.Connected());
  const Json snapshot = first.Next();
  EXPECT_EQ(snapshot.at("type"), "snapshot");
  ASSERT_EQ(snapshot.at("windows").size(), 1u);
  EXPECT_EQ(snapshot.at("windows")[0].at("name"), "frmTest");
  EXPECT_EQ(second.Next().at("type"), "snapshot");

  OnLoop([this] { window_.label.SetCaption("3-D"); });
  for (Page* page : {&first, &second}) {
    const Json set = page->Next("set");
    EXPECT_EQ(set.at("control"), "lblState");
    EXPECT_EQ(set.at("value"), "3-D");
  }

  // A click from one page changes the box in both.
  second.Send(
      {{"type", "event"}, {"window", "frmTest"}, {"control", "chkThing"}, {"event", "click"}});
  for (Page* page : {&first, &second}) {
    const Json set = page->Next("set");
    EXPECT_EQ(set.at("control"), "chkThing");
    EXPECT_EQ(set.at("value"), 1);
  }
  EXPECT_EQ(OnLoop([this] { return window_.clicks; }), 1);

  // Malformed messages are reported and the page stays.
  first.SendText("this is not json");
  first.SendText("[1,2,3]");
  first.Send({{"type", "launch"}});
  first.Send({{"type", "answer"}, {"id", 99}, {"result", "yes"}});
  first.Send(
      {{"type", "event"}, {"window", "frmTest"}, {"control", "chkThing"}, {"event", "click"}});
  EXPECT_EQ(first.Next("set").at("value"), 0);
  EXPECT_EQ(OnLoop([this] { return diagnostics_; }).size(), 4u);
  EXPECT_EQ(OnLoop([this] { return bridge_->PageCount(); }), 2u);
}

TEST_F(WebBridgeTest, APageThatComesBackOrFellTooFarBehindGetsAFreshSnapshot) {
  WebBridgeOptions options = Options();
  options.maxQueuedBytes = 4096;
  const unsigned short port = Start(options);
  {
    Page page(port);
    page.Next("snapshot");
    page.Close();
  }
  OnLoop([this] { window_.label.SetCaption("while away"); });
  Page slow(port);
  const Json snapshot = slow.Next("snapshot");
  const Json& controls = snapshot.at("windows")[0].at("controls");
  const auto label = std::find_if(controls.begin(), controls.end(), [](const Json& control) {
    return control.at("id") == "lblState";
  });
  ASSERT_NE(label, controls.end());
  EXPECT_EQ(label->at("properties").at("caption"), "while away");
  EXPECT_EQ(OnLoop([this] { return bridge_->PageCount(); }), 1u);
  // More than the limit at once: the writes cannot keep up within one turn of the loop.
  OnLoop([this] {
    for (int i = 0; i < 20; ++i)
      bridge_->Queue(Json{{"type", "note"}, {"text", std::string(500, 'a')}});
  });
  EXPECT_TRUE(slow.ClosedByServer());
  EXPECT_EQ(OnLoop([this] { return bridge_->PageCount(); }), 0u);
  Page again(port);
  EXPECT_EQ(again.Next().at("type"), "snapshot");
}

// 100,000 items of ~100 bytes in parts of 5,000: a snapshot of about 10 MB, beyond the limit
// for live traffic, that reaches the page whole.
class CountingSource : public SnapshotSource {
 public:
  std::optional<Json> Next() override {
    if (next_ >= kItems) return std::nullopt;
    Json part{{"type", "pins"}, {"add", Json::array()}};
    if (next_ == 0) part["reset"] = true;
    for (int end = std::min(kItems, next_ + 5000); next_ < end; ++next_)
      part["add"].push_back(Json::array(
          {next_, "ORVO_" + std::to_string(next_), 43.7, 7.4, 1, std::string(40, 'n'), 0}));
    return part;
  }
  static constexpr int kItems = 100000;

 private:
  int next_ = 0;
};

TEST_F(WebBridgeTest, FeaturesSendSnapshotsOfAnySizeQueueMessagesAndTakeTheirOwnTypes) {
  WebBridgeOptions options = Options();
  options.maxQueuedBytes = 1u << 20;
  const unsigned short port = Start(options);
  std::vector<Json> received;
  OnLoop([this, &received] {
    bridge_->AddSnapshotSource([] { return std::make_unique<CountingSource>(); });
    bridge_->OnPageMessage("pin", [&received](const Json& message) {
      if (message.value("action", "") == "fail") throw std::runtime_error("no such pin");
      received.push_back(message);
    });
    return 0;
  });
  Page page(port);
  EXPECT_EQ(page.Next().at("type"), "snapshot");
  std::size_t items = 0;
  for (int part = 0; items < CountingSource::kItems; ++part) {
    const Json message = page.Next();
    ASSERT_EQ(message.at("type"), "pins");
    EXPECT_EQ(message.value("reset", false), part == 0);
    items += message.at("add").size();
  }
  EXPECT_EQ(items, static_cast<std::size_t>(CountingSource::kItems));

  // One turn: queued messages and changes in one frame; a change undone sends nothing, one made
  // twice sends its last value.
  const int framesBefore = page.frames;
  OnLoop([this] {
    bridge_->Queue(Json{{"type", "pins"}, {"remove", {7}}});
    window_.check.SetVisible(false);
    window_.check.SetVisible(true);
    window_.label.SetCaption("one");
    window_.label.SetCaption("two");
    return 0;
  });
  EXPECT_EQ(page.Next().at("remove"), Json::array({7}));
  const Json set = page.Next();
  EXPECT_EQ(page.frames, framesBefore + 1);
  EXPECT_EQ(set.at("control"), "lblState");
  EXPECT_EQ(set.at("value"), "two");

  page.Send({{"type", "pin"}, {"id", 3}, {"action", "fail"}});
  page.Send({{"type", "pin"}, {"id", 3}, {"action", "delete"}});
  page.Send({{"type", "front"}, {"window", "frmTest"}});  // still the desktop's
  OnLoop([this] { return bridge_->PageCount(); });
  for (int i = 0; i < 100 && OnLoop([&received] { return received.size(); }) == 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const Json deleted{{"type", "pin"}, {"id", 3}, {"action", "delete"}};
  EXPECT_EQ(OnLoop([&received] { return received; }), std::vector<Json>{deleted});
  EXPECT_EQ(OnLoop([this] { return bridge_->PageCount(); }), 1u);
  EXPECT_TRUE(std::any_of(diagnostics_.begin(), diagnostics_.end(), [](const std::string& text) {
    return text.find("no such pin") != std::string::npos;
  }));
}

TEST_F(WebBridgeTest, QuestionsWaitForAPageStackAndAreAnsweredFromAnyPageOrCautiouslyByNobody) {
  const unsigned short port = Start();
  auto answer =
      AskLater("Do you want to clear the trace (very time consuming)?", MsgBoxButtons::YesNo);
  // Nobody to ask yet: the question waits.
  EXPECT_EQ(OnLoop([this] { return dialogs_.OpenCount(); }), 1u);

  Page first(port);
  Page second(port);
  const Json modal = first.Next("snapshot").at("modals").at(0);
  EXPECT_EQ(second.Next("snapshot").at("modals").size(), 1u);
  EXPECT_EQ(modal.at("kind"), "message");
  EXPECT_EQ(modal.at("buttons"), "yesNo");
  EXPECT_EQ(modal.at("title"), "ORVO");
  // A timer raises a second box while the first waits.
  auto inner = AskLater("second", MsgBoxButtons::OkOnly);
  const Json stacked = first.Next("modal");
  EXPECT_EQ(stacked.at("prompt"), "second");
  EXPECT_GT(stacked.at("id").get<int>(), modal.at("id").get<int>());
  first.Send({{"type", "answer"}, {"id", stacked.at("id")}, {"result", "ok"}});
  EXPECT_EQ(inner.get(), MsgBoxResult::Ok);
  for (Page* page : {&first, &second})
    EXPECT_EQ(page->Next("modalclose").at("id"), stacked.at("id"));

  // A button the box does not have is not an answer.
  second.Send({{"type", "answer"}, {"id", modal.at("id")}, {"result", "ok"}});
  second.Send({{"type", "answer"}, {"id", modal.at("id")}, {"result", "yes"}});
  EXPECT_EQ(answer.get(), MsgBoxResult::Yes);
  for (Page* page : {&first, &second}) EXPECT_EQ(page->Next("modalclose").at("id"), modal.at("id"));
  EXPECT_EQ(OnLoop([this] { return dialogs_.OpenCount(); }), 0u);

  first.Close();
  second.Close();
  auto open = AskLater("Clear?", MsgBoxButtons::YesNo);
  EXPECT_EQ(OnLoop([this] { return dialogs_.OpenCount(); }), 1u);
  OnLoop([this] { dialogs_.SetUnattended(true); });
  EXPECT_EQ(open.get(), MsgBoxResult::No);
  EXPECT_EQ(AskLater("Save?", MsgBoxButtons::OkCancel).get(), MsgBoxResult::Cancel);
  EXPECT_EQ(AskLater("Note", MsgBoxButtons::OkOnly).get(), MsgBoxResult::Ok);
  EXPECT_FALSE(OnLoop([this] { return dialogs_.Waiting(); }));
}

TEST_F(WebBridgeTest, TheFileChooserSendsItsFiltersAndTakesAFullPath) {
  const unsigned short port = Start();
  Page page(port);
  page.Next("snapshot");
  auto chosen = std::make_shared<std::promise<std::optional<std::string>>>();
  asio::post(io_, [this, chosen] {
    chosen->set_value(dialogs_.ChooseFile({"Open NMEA file",
                                           "NMEA (*.nmea)|*.nmea|Text (*.txt)| *.txt|All (*.*)|*.*",
                                           (web_ / "site" / "capture.nmea").string(), false}));
  });
  const Json modal = page.Next("modal");
  EXPECT_EQ(modal.at("kind"), "file");
  EXPECT_EQ(modal.at("title"), "Open NMEA file");
  EXPECT_EQ(modal.at("folder"), (web_ / "site").string());
  EXPECT_EQ(modal.at("fileName"), "capture.nmea");
  ASSERT_EQ(modal.at("filters").size(), 3u);
  EXPECT_EQ(modal.at("filters")[1], Json({{"name", "Text (*.txt)"}, {"patterns", {"*.txt"}}}));

  page.Send({{"type", "answer"}, {"id", modal.at("id")}, {"path", "relative.nmea"}});
  page.Send({{"type", "answer"}, {"id", modal.at("id")}, {"path", "/tmp/x/../drive.nmea"}});
  EXPECT_EQ(chosen->get_future().get(), std::optional<std::string>("/tmp/drive.nmea"));
}

TEST_F(WebBridgeTest, ServesThePageAndTilesButNothingOutsideThem) {
  const unsigned short port = Start();
  struct Case {
    const char* target;
    int status;
    const char* contentType;
    const char* body;  // a part of it; null: not checked
    const char* encoding = nullptr;
  };
  const Case cases[] = {
      {"/", 200, "text/html; charset=utf-8", "<title>ORVO</title>"},
      {"/assets/page.js", 200, "text/javascript; charset=utf-8", "console.log"},
      {"/region.json", 200, nullptr, R"({"name":"monaco"})"},
      {"/data/pictures/turn%20left.bmp", 200, "image/bmp", "BM"},
      {"/tiles/14/8508/5975.pbf", 200, "application/x-protobuf", "\x1f\x8b", "gzip"},
      {"/tiles/14/8509/5975.pbf", 200, nullptr, "plain tile", ""},
      {"/tiles/14/1/1.pbf", 204, nullptr, nullptr},
  };
  for (const Case& c : cases) {
    HttpResult result = Get(port, c.target);
    EXPECT_EQ(result.status, c.status) << c.target;
    EXPECT_TRUE(!c.contentType || result.headers["Content-Type"] == c.contentType) << c.target;
    EXPECT_TRUE(!c.body || result.body.find(c.body) != std::string::npos) << c.target;
    EXPECT_TRUE(!c.encoding || result.headers["Content-Encoding"] == c.encoding) << c.target;
  }
  for (const char* escape :
       {"/data/../secret.txt", "/data/%2e%2e/site/index.html", "/../secret.txt",
        "/%2e%2e/secret.txt", "/assets/../../secret.txt", "/..%2fsecret.txt", "/leak.txt",
        "/%2fetc/passwd", "/missing.js", "/tiles/14/99999/1.pbf", "/tiles/x/1/1.pbf",
        "/tiles/1/1.pbf", "/tiles/-1/0/0.pbf", "/tiles/1/0/0/0.pbf", "/tiles/1/0/0.png"})
    EXPECT_EQ(Get(port, escape).status, 404) << escape;
  // A sound or picture the user chose anywhere, and nothing else.
  fs::create_directories(web_ / "my sounds");
  std::ofstream(web_ / "my sounds" / "ding.WAV") << "RIFF";
  fs::create_symlink(web_ / "secret.txt", web_ / "my sounds" / "leak.wav");
  const HttpResult sound = Get(port, "/userfile?path=" + (web_ / "my%20sounds/ding.WAV").string());
  EXPECT_EQ(sound.body, "RIFF");
  EXPECT_EQ(sound.headers.at("Content-Type"), "audio/wav");
  for (const std::string& refused : std::vector<std::string>{
           "/userfile?path=" + (web_ / "secret.txt").string(),
           "/userfile?path=my%20sounds/ding.WAV",
           "/userfile?path=" + (web_ / "my%20sounds/leak.wav").string(),
           "/userfile?path=" + (web_ / "my%20sounds/none.wav").string(), "/userfile"})
    EXPECT_EQ(Get(port, refused).status, 404) << refused;
  // Another site's page cannot drive ORVO through the loopback address.
  EXPECT_EQ(Get(port, "/", {{"Host", "attacker.example:8080"}}).status, 403);
  EXPECT_FALSE(Page(port, "/ws", {{"Origin", "http://attacker.example"}}).Connected());
}

TEST_F(WebBridgeTest, ListsFoldersForTheFileChooser) {
  const unsigned short port = Start();
  const fs::path folder = web_ / "files";
  fs::create_directories(folder / "Trips");
  std::ofstream(folder / "drive.NMEA") << "$GPRMC";
  std::ofstream(folder / "notes.txt") << "12345";
  std::ofstream(folder / "photo.jpg") << "jpg";
  std::ofstream(folder / ".hidden.nmea") << "";

  const HttpResult listing =
      Get(port, "/api/files?path=" + folder.string() + "&patterns=*.nmea%3B%20*.txt");
  ASSERT_EQ(listing.status, 200);
  const Json body = Json::parse(listing.body);
  EXPECT_EQ(body.at("path"), folder.string());
  EXPECT_EQ(body.at("parent"), web_.string());
  const Json expected = Json::parse(R"([{"name":"Trips","kind":"folder","size":0},
      {"name":"drive.NMEA","kind":"file","size":6},{"name":"notes.txt","kind":"file","size":5}])");
  EXPECT_EQ(body.at("entries"), expected);

  EXPECT_EQ(Get(port, "/api/files?path=relative/folder").status, 400);
}

TEST_F(WebBridgeTest, ATokenGuardsEveryRequestAndABusyPortIsRefused) {
  {
    WebBridgeOptions open = Options();
    open.address = "0.0.0.0";
    WebBridge refused(io_, desktop_, open);
    EXPECT_THROW(refused.Start(), WebBridgeError);
  }
  WebBridgeOptions options = Options();
  options.token = "s3cret token";
  const unsigned short port = Start(options);
  EXPECT_EQ(bridge_->Url(), "http://127.0.0.1:" + std::to_string(port) + "/?token=s3cret%20token");

  EXPECT_EQ(Get(port, "/").status, 401);
  EXPECT_EQ(Get(port, "/region.json?token=wrong").status, 403);
  const HttpResult first = Get(port, "/?token=s3cret%20token");
  EXPECT_EQ(first.status, 200);
  const std::string cookie = first.headers.at("Set-Cookie");
  EXPECT_EQ(cookie.substr(0, cookie.find(';')), "orvo_token=s3cret%20token");
  EXPECT_EQ(
      Get(port, "/region.json", {{"Cookie", "theme=dark; " + cookie.substr(0, cookie.find(';'))}})
          .status,
      200);

  Page without(port);
  EXPECT_FALSE(without.Connected());
  EXPECT_EQ(Get(port, "/ws").status, 401);
  Page with(port, "/ws?token=s3cret%20token");
  ASSERT_TRUE(with.Connected());
  EXPECT_EQ(with.Next().at("type"), "snapshot");

  options.port = port;
  WebBridge second(io_, desktop_, options);
  EXPECT_THAT([&] { second.Start(); },
              ::testing::ThrowsMessage<WebBridgeError>(::testing::HasSubstr("already in use")));
}

}  // namespace
}  // namespace orvo::host::ui
