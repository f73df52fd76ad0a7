#pragma once
// A pseudo-terminal standing in for a receiver's serial device: the program opens `path`, the
// test plays the receiver on the master end. The test keeps its own slave descriptor to read the
// line settings back.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace orvo::testing {

struct PseudoTerminal {
  PseudoTerminal() {
    termios raw{};
    cfmakeraw(&raw);
    std::array<char, 256> name{};
    if (openpty(&master, &slave, name.data(), &raw, nullptr) != 0)
      throw std::runtime_error("openpty");
    path = name.data();
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
  }
  ~PseudoTerminal() {
    if (master >= 0) close(master);
    close(slave);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  // Waits while the line discipline is full; false once the master fails.
  bool Send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t written = write(master, bytes.data(), bytes.size());
      if (written < 0 && (errno == EAGAIN || errno == EINTR)) {
        pollfd writable{master, POLLOUT, 0};
        poll(&writable, 1, 100);
        continue;
      }
      if (written <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }
  // What the program has written so far.
  std::string Received() const {
    std::string text;
    std::array<char, 256> buffer{};
    for (ssize_t n; (n = read(master, buffer.data(), buffer.size())) > 0;)
      text.append(buffer.data(), static_cast<std::size_t>(n));
    return text;
  }
  // The receiver goes away, as an unplugged USB receiver does.
  void HangUp() { close(std::exchange(master, -1)); }
  termios SlaveTermios() const {
    termios settings{};
    tcgetattr(slave, &settings);
    return settings;
  }

  int master = -1;
  int slave = -1;
  std::string path;
};

}  // namespace orvo::testing
