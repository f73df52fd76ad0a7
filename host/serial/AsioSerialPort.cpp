#include "host/serial/AsioSerialPort.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/serial_port.hpp>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include "host/serial/SerialSettings.hpp"
#include "host/serial/TermiosSettings.hpp"

namespace orvo::host::serial {
namespace {

// One read takes what the driver has, up to this much. A receiver at 115200 baud sends about
// 11.5 KB a second, so 4 KiB keeps reads few without holding a large buffer per port.
constexpr std::size_t kReadChunkBytes = 4096;

// Input nobody reads is dropped from the oldest end beyond this: over a minute of a 115200 baud
// receiver, far more than a reader that is merely slow leaves behind.
constexpr std::size_t kPendingLimitBytes = 1024 * 1024;

// A write waits this long for the device to take data. The program writes a few bytes to a line
// without flow control, so only a stuck device ever waits, and the event loop must not stall.
constexpr int kWriteWaitMilliseconds = 2000;

std::string ErrnoText(int errorNumber) {
  return std::generic_category().message(errorNumber);
}

// Owns a file descriptor until it is handed to the serial_port.
class UniqueFd {
 public:
  explicit UniqueFd(int fileDescriptor) : fd_(fileDescriptor) {}
  ~UniqueFd() {
    if (fd_ >= 0) ::close(fd_);
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  int Get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

std::string OpenFailureReason(int errorNumber) {
  switch (errorNumber) {
    case ENOENT:
      return "the device does not exist";
    case EACCES:
    case EPERM:
      return "permission denied (the user may need to be in the group that owns the device, "
             "often \"dialout\")";
    case EBUSY:
      return "the device is in use by another program";
    case ENXIO:
    case ENODEV:
      return "the device is not present (unplugged?)";
    case EISDIR:
      return "it is a folder, not a serial device";
    default:
      return ErrnoText(errorNumber);
  }
}

// Sets the line up for `settings`. When the device does not keep what was asked, the previous
// termios is put back and the error names the setting.
void ApplySettings(int fd, const SerialSettings& settings) {
  termios current{};
  if (::tcgetattr(fd, &current) != 0)
    throw SerialError("cannot read the line settings: " + ErrnoText(errno));
  const termios wanted = RawTermios(current, settings);
  if (::tcsetattr(fd, TCSANOW, &wanted) != 0) {
    throw SerialError("the device refused the settings \"" + FormatSerialSettings(settings) +
                      "\": " + ErrnoText(errno));
  }
  termios actual{};
  if (::tcgetattr(fd, &actual) != 0)
    throw SerialError("cannot read the line settings back: " + ErrnoText(errno));
  if (const std::optional<std::string> refused = RefusedSetting(wanted, actual)) {
    ::tcsetattr(fd, TCSANOW, &current);
    throw SerialError("the device does not support " + *refused + " (settings \"" +
                      FormatSerialSettings(settings) + "\")");
  }
}

}  // namespace

struct AsioSerialPort::Connection {
  Connection(boost::asio::io_context& io, std::filesystem::path path)
      : port(io), devicePath(std::move(path)) {}

  boost::asio::serial_port port;
  std::filesystem::path devicePath;
  // Null once the port is closed: a completion still queued then finds no one to tell.
  AsioSerialPort* owner = nullptr;
  std::array<char, kReadChunkBytes> readBuffer{};
};

AsioSerialPort::AsioSerialPort(boost::asio::io_context& io, DiagnosticSink diagnostics,
                               DevicePathMap devicePaths)
    : io_(io), diagnostics_(std::move(diagnostics)), devicePaths_(std::move(devicePaths)) {}

AsioSerialPort::~AsioSerialPort() {
  try {
    Close();
  } catch (const std::exception& error) {
    Diagnose(error.what());
  }
}

void AsioSerialPort::SetCommPort(int portNumber) {
  if (portNumber < 1) {
    throw SerialError("serial port number " + std::to_string(portNumber) +
                      " is not valid; port numbers start at 1");
  }
  if (IsOpen()) {
    throw SerialError("cannot change the port number while " + PortName() + " is open");
  }
  portNumber_ = portNumber;
}

void AsioSerialPort::SetDevicePathOverride(int portNumber, std::filesystem::path devicePath) {
  devicePaths_.SetOverride(portNumber, std::move(devicePath));
}

void AsioSerialPort::SetSettings(std::string settings) {
  if (IsOpen()) {
    try {
      ApplySettings(connection_->port.native_handle(), ParseSerialSettings(settings));
    } catch (const SerialError& error) {
      throw SerialError(PortName() + ": " + error.what());
    }
  }
  settings_ = std::move(settings);
}

void AsioSerialPort::SetDTREnable(bool enabled) {
  dtrEnable_ = enabled;
  if (IsOpen()) ApplyDtr(connection_->port.native_handle());
}

void AsioSerialPort::Open() {
  const std::string failure = "cannot open serial port " + std::to_string(portNumber_);
  if (IsOpen()) throw SerialError(failure + ": it is already open (" + PortName() + ")");

  SerialSettings settings;
  std::filesystem::path devicePath;
  try {
    settings = ParseSerialSettings(settings_);
    devicePath = devicePaths_.Resolve(portNumber_);
  } catch (const SerialError& error) {
    throw SerialError(failure + ": " + error.what());
  }
  const std::string deviceFailure = failure + " (" + devicePath.string() + "): ";

  // O_NONBLOCK: opening must not wait for a carrier detect that a receiver never raises.
  UniqueFd fd(::open(devicePath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (fd.Get() < 0) throw SerialError(deviceFailure + OpenFailureReason(errno));
  if (::isatty(fd.Get()) == 0) {
    throw SerialError(deviceFailure + "it is not a serial device (not a terminal)");
  }
  // The lock keeps out a second ORVO or any tool that locks the same way; TIOCEXCL keeps out
  // every other opener except root.
  if (::flock(fd.Get(), LOCK_EX | LOCK_NB) != 0) {
    throw SerialError(deviceFailure + (errno == EWOULDBLOCK
                                           ? OpenFailureReason(EBUSY)
                                           : "cannot lock it: " + ErrnoText(errno)));
  }
  if (::ioctl(fd.Get(), TIOCEXCL) != 0) {
    Diagnose("serial port " + std::to_string(portNumber_) + " (" + devicePath.string() +
             "): cannot take it for exclusive use: " + ErrnoText(errno));
  }
  try {
    ApplySettings(fd.Get(), settings);
  } catch (const SerialError& error) {
    ::ioctl(fd.Get(), TIOCNXCL);
    throw SerialError(deviceFailure + error.what());
  }
  // Whatever arrived before the port was opened is stale.
  ::tcflush(fd.Get(), TCIOFLUSH);

  auto connection = std::make_shared<Connection>(io_, devicePath);
  boost::system::error_code error;
  connection->port.assign(fd.Get(), error);
  if (error) {
    ::ioctl(fd.Get(), TIOCNXCL);
    throw SerialError(deviceFailure + error.message());
  }
  fd.Release();
  connection->owner = this;
  connection_ = connection;
  pending_.clear();
  overflowReported_ = false;
  ApplyDtr(connection_->port.native_handle());
  StartRead(connection_);
}

void AsioSerialPort::Close() {
  if (!IsOpen()) return;
  const std::shared_ptr<Connection> connection = std::exchange(connection_, nullptr);
  connection->owner = nullptr;
  pending_.clear();
  ::ioctl(connection->port.native_handle(), TIOCNXCL);
  // Closing cancels the read in flight; its completion still holds the connection and returns.
  boost::system::error_code error;
  connection->port.close(error);
  if (error) {
    throw SerialError("error while closing serial port " + std::to_string(portNumber_) + " (" +
                      connection->devicePath.string() + "): " + error.message());
  }
}

std::string AsioSerialPort::ReadInput() {
  overflowReported_ = false;
  return std::exchange(pending_, std::string());
}

void AsioSerialPort::Write(std::string_view bytes) {
  if (!IsOpen()) {
    throw SerialError("cannot write to serial port " + std::to_string(portNumber_) +
                      ": it is not open");
  }
  const int fd = connection_->port.native_handle();
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
      throw SerialError("cannot write to " + PortName() + ": " + ErrnoText(errno));
    pollfd writable{fd, POLLOUT, 0};
    const int ready = ::poll(&writable, 1, kWriteWaitMilliseconds);
    if (ready < 0 && errno != EINTR)
      throw SerialError("cannot write to " + PortName() + ": " + ErrnoText(errno));
    if (ready == 0) {
      throw SerialError("cannot write to " + PortName() + ": the device took no data for " +
                        std::to_string(kWriteWaitMilliseconds / 1000) + " seconds");
    }
  }
}

std::filesystem::path AsioSerialPort::DevicePath() const {
  return IsOpen() ? connection_->devicePath : std::filesystem::path();
}

void AsioSerialPort::StartRead(const std::shared_ptr<Connection>& connection) {
  connection->port.async_read_some(
      boost::asio::buffer(connection->readBuffer),
      [connection](const boost::system::error_code& error, std::size_t bytesRead) {
        OnRead(connection, error, bytesRead);
      });
}

void AsioSerialPort::OnRead(const std::shared_ptr<Connection>& connection,
                            const boost::system::error_code& error, std::size_t bytesRead) {
  AsioSerialPort* const owner = connection->owner;
  if (owner == nullptr) return;  // closed, or destroyed, while the read was under way
  if (error) {
    // The device went away or failed; the port stays nominally open until the user closes it.
    owner->Diagnose(owner->PortName() + ": receiving stopped: " + error.message());
    return;
  }
  owner->Receive(std::string_view(connection->readBuffer.data(), bytesRead));
  StartRead(connection);
  owner->Notify(kEventReceive);  // may close or destroy the owner: nothing may follow
}

void AsioSerialPort::Receive(std::string_view bytes) {
  pending_.append(bytes);
  if (pending_.size() <= kPendingLimitBytes) return;
  const std::size_t dropped = pending_.size() - kPendingLimitBytes;
  pending_.erase(0, dropped);
  if (overflowReported_) return;
  overflowReported_ = true;
  Diagnose(PortName() + ": input is not being read; dropping the oldest bytes beyond " +
           std::to_string(kPendingLimitBytes) + " bytes");
}

void AsioSerialPort::Notify(int eventCode) {
  lastEvent_ = eventCode;
  // A copy, so that a handler which replaces itself or destroys this port stays alive while it
  // runs.
  const CommEventHandler handler = onComm_;
  if (handler) handler(eventCode);
}

void AsioSerialPort::ApplyDtr(int fileDescriptor) const {
  int lines = TIOCM_DTR;
  if (::ioctl(fileDescriptor, dtrEnable_ ? TIOCMBIS : TIOCMBIC, &lines) == 0) return;
  const int errorNumber = errno;
  // A device without modem-control lines (a pseudo-terminal, some USB receivers) refuses the
  // request; there is then no DTR to lower, and raising it is only worth a note.
  const bool noModemLines = errorNumber == ENOTTY || errorNumber == EINVAL;
  if (noModemLines && !dtrEnable_) return;
  Diagnose(PortName() + ": cannot " + (dtrEnable_ ? "raise" : "lower") +
           " DTR: " + ErrnoText(errorNumber) + "; going on without it");
}

std::string AsioSerialPort::PortName() const {
  std::string name = "serial port " + std::to_string(portNumber_);
  if (IsOpen()) name += " (" + connection_->devicePath.string() + ")";
  return name;
}

void AsioSerialPort::Diagnose(const std::string& message) const {
  if (diagnostics_) diagnostics_(message);
}

}  // namespace orvo::host::serial
