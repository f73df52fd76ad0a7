#include "gps/Capture.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace orvo::gps {

void AppendToFile(const std::filesystem::path& file, std::string_view text, bool ignoreErrors) {
  // O_APPEND puts every write after the last byte, even when another program appends too.
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (descriptor < 0) {
    if (ignoreErrors) return;
    throw std::system_error(errno, std::generic_category(), file.string());
  }
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(descriptor, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      const int error = errno;
      ::close(descriptor);
      if (ignoreErrors) return;
      throw std::system_error(error, std::generic_category(), file.string());
    }
    written += static_cast<std::size_t>(n);
  }
  ::close(descriptor);
}

}  // namespace orvo::gps
