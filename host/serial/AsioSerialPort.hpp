#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/system/error_code.hpp>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "host/serial/DevicePathMap.hpp"
#include "host/serial/SerialPort.hpp"

namespace orvo::host::serial {

// A real serial port (or anything that is a terminal device, such as a pseudo-terminal) on the
// caller's event loop. Receiving runs as an asynchronous read loop that collects the bytes and
// raises the receive notification from a handler on `io`; writing is synchronous.
//
// The io_context must outlive this object. Destroying it while the port is open closes the port.
class AsioSerialPort final : public SerialPort {
 public:
  // Receives what is worth telling but not worth failing for: DTR that the device cannot set,
  // receiving that stopped because the device went away, input dropped because nobody read it.
  using DiagnosticSink = std::function<void(std::string_view message)>;

  explicit AsioSerialPort(boost::asio::io_context& io, DiagnosticSink diagnostics = {},
                          DevicePathMap devicePaths = DevicePathMap());
  ~AsioSerialPort() override;
  AsioSerialPort(const AsioSerialPort&) = delete;
  AsioSerialPort& operator=(const AsioSerialPort&) = delete;

  void SetCommPort(int portNumber) override;
  int CommPort() const override { return portNumber_; }
  void SetDevicePathOverride(int portNumber, std::filesystem::path devicePath) override;
  void SetSettings(std::string settings) override;
  const std::string& Settings() const override { return settings_; }
  void SetDTREnable(bool enabled) override;
  bool DTREnable() const override { return dtrEnable_; }
  void Open() override;
  void Close() override;
  bool IsOpen() const override { return connection_ != nullptr; }
  std::string ReadInput() override;
  void Write(std::string_view bytes) override;
  int CommEvent() const override { return lastEvent_; }
  void SetOnComm(CommEventHandler handler) override { onComm_ = std::move(handler); }

  // The device the open port uses; empty while closed.
  std::filesystem::path DevicePath() const;

 private:
  // The open device and its read buffer, shared with the read in flight so that a completion
  // arriving after Close or after this object is gone finds valid memory and does nothing.
  struct Connection;

  static void StartRead(const std::shared_ptr<Connection>& connection);
  static void OnRead(const std::shared_ptr<Connection>& connection,
                     const boost::system::error_code& error, std::size_t bytesRead);
  void Receive(std::string_view bytes);
  void Notify(int eventCode);
  void ApplyDtr(int fileDescriptor) const;
  std::string PortName() const;
  void Diagnose(const std::string& message) const;

  boost::asio::io_context& io_;
  DiagnosticSink diagnostics_;
  DevicePathMap devicePaths_;
  int portNumber_ = 1;
  std::string settings_ = "4800,n,8,1";
  bool dtrEnable_ = false;
  int lastEvent_ = kEventNone;
  std::string pending_;
  bool overflowReported_ = false;
  CommEventHandler onComm_;
  std::shared_ptr<Connection> connection_;
};

}  // namespace orvo::host::serial
