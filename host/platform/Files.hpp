#pragma once
// File writing that survives crashes, and the user's home folder: one copy of each for all of
// ORVO.
#include <filesystem>
#include <string_view>

namespace orvo::host::platform {

// $HOME when it is an absolute path, else the account's home from the password database, else
// "/".
std::filesystem::path HomeFolder();

// Writes all of `text` to an open descriptor, going on after interruptions and short writes.
// Throws std::system_error naming `file` on failure.
void WriteAll(int descriptor, std::string_view text, const std::filesystem::path& file);

// Replaces `file` with `text` so that a crash at any moment leaves either the old or the new
// content: a temporary file beside it is written, flushed to disk and renamed over it, and the
// rename is flushed too. Creates the folder when missing. Throws std::system_error on failure
// and leaves the old file untouched.
void WriteFileAtomically(const std::filesystem::path& file, std::string_view text);

// Appends `text` at the end of `file`, creating it (O_APPEND: every write lands after the last
// byte, even while another program appends). Throws std::system_error on failure.
void AppendToFile(const std::filesystem::path& file, std::string_view text);

}  // namespace orvo::host::platform
