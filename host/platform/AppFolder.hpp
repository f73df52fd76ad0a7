#pragma once
#include <filesystem>

namespace orvo::host::platform {

// ORVO's installed data (pictures, sounds, the magnetic model, bundled regions). Looked for in
// $ORVO_DATA_DIR, beside the program (build/../data), in the installed share folder, and last in
// the source tree the program was built from.
std::filesystem::path AppFolder();

// The built page (web/dist), found the same way.
std::filesystem::path WebFolder();

// Per-user settings: $XDG_CONFIG_HOME/ORVO (default ~/.config/ORVO).
std::filesystem::path UserConfigFolder();

// Per-user data such as regions and the map document: $XDG_DATA_HOME/orvo (default
// ~/.local/share/orvo).
std::filesystem::path UserDataFolder();

}  // namespace orvo::host::platform
