#pragma once
// A pseudo-terminal standing in for a receiver's serial device: the program opens `path`, the
// test writes and reads the other end.
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace orvo::testing {

struct PseudoTerminal {
  PseudoTerminal() {
    char name[256] = {};
    if (openpty(&master, &slave, name, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    path = name;
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
  }
  ~PseudoTerminal() {
    close(master);
    close(slave);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;
  bool Send(std::string_view text) const {
    return write(master, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  }
  std::string Received() const {
    std::string text;
    char buffer[256];
    for (ssize_t n; (n = read(master, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(n));
    return text;
  }
  int master = -1;
  int slave = -1;
  std::string path;
};

}  // namespace orvo::testing
