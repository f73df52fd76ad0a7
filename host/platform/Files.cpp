#include "host/platform/Files.hpp"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace orvo::host::platform {
namespace fs = std::filesystem;

namespace {

std::system_error FileError(int error, const std::string& what, const fs::path& file) {
  return std::system_error(error, std::generic_category(), what + " " + file.string());
}

// Closes the descriptor on every path out of a scope.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace

fs::path HomeFolder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return home;
  if (const passwd* account = ::getpwuid(::getuid());
      account != nullptr && account->pw_dir != nullptr && *account->pw_dir == '/')
    return account->pw_dir;
  return "/";
}

void WriteAll(int descriptor, std::string_view text, const fs::path& file) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw FileError(errno, "writing", file);
    written += static_cast<std::size_t>(count);
  }
}

void WriteFileAtomically(const fs::path& file, std::string_view text) {
  std::error_code ignored;
  if (file.has_parent_path()) fs::create_directories(file.parent_path(), ignored);
  const fs::path temporary = file.string() + ".tmp";
  {
    const Descriptor out(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (out.get() < 0) throw FileError(errno, "saving", file);
    try {
      WriteAll(out.get(), text, temporary);
      if (::fsync(out.get()) != 0) throw FileError(errno, "flushing", temporary);
    } catch (...) {
      fs::remove(temporary, ignored);
      throw;
    }
  }
  std::error_code error;
  fs::rename(temporary, file, error);
  if (error) {
    fs::remove(temporary, ignored);
    throw FileError(error.value(), "saving", file);
  }
  // The rename itself must reach the disk too.
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.get() >= 0) ::fsync(directory.get());
}

void AppendToFile(const fs::path& file, std::string_view text) {
  const Descriptor out(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
  if (out.get() < 0) throw FileError(errno, "opening", file);
  WriteAll(out.get(), text, file);
}

}  // namespace orvo::host::platform
