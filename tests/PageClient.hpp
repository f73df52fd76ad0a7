#pragma once
// A page as the tests play it: a WebSocket client of orvo's bridge on the loopback address, with
// Beast's blocking calls. A frame carries the messages of one turn, as a JSON array.
#include <deque>
#include <map>
#include <string>

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <nlohmann/json.hpp>

namespace orvo::testing {

class PageClient {
 public:
  using Json = nlohmann::json;

  explicit PageClient(unsigned short port, const std::string& target = "/ws",
                      const std::map<std::string, std::string>& headers = {}) {
    namespace websocket = boost::beast::websocket;
    ws_.next_layer().connect({boost::asio::ip::make_address("127.0.0.1"), port});
    ws_.set_option(websocket::stream_base::decorator([headers](websocket::request_type& request) {
      for (const auto& [name, value] : headers) request.set(name, value);
    }));
    ws_.handshake("127.0.0.1:" + std::to_string(port), target, error_);
  }
  bool Connected() const { return !error_; }

  // The next message; throws once the server has closed the page.
  Json Next() {
    while (pending_.empty()) {
      boost::beast::flat_buffer buffer;
      ws_.read(buffer);
      ++frames;
      for (Json& message : Json::parse(boost::beast::buffers_to_string(buffer.data())))
        pending_.push_back(std::move(message));
    }
    Json message = std::move(pending_.front());
    pending_.pop_front();
    return message;
  }
  // The next message of TYPE; others on the way are skipped.
  Json Next(const std::string& type) {
    for (;;) {
      Json message = Next();
      if (message.at("type") == type) return message;
    }
  }
  void Send(const Json& message) { SendText(message.dump()); }
  void SendText(const std::string& text) { ws_.write(boost::asio::buffer(text)); }
  void Close() { ws_.close(boost::beast::websocket::close_code::normal); }
  // Whether the server has closed this page (reads until it does).
  bool ClosedByServer() {
    boost::beast::flat_buffer buffer;
    boost::beast::error_code error;
    while (!error) ws_.read(buffer, error);
    return true;
  }

  int frames = 0;

 private:
  boost::asio::io_context io_;
  std::deque<Json> pending_;
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket> ws_{io_};
  boost::beast::error_code error_;
};

}  // namespace orvo::testing
