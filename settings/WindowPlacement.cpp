#include "settings/WindowPlacement.hpp"

#include <charconv>
#include <optional>

#include "host/ui/Desktop.hpp"

namespace orvo::settings {
namespace {

std::optional<long> WholeNumber(const std::string& text) {
  long value = 0;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return value;
}

}  // namespace

void SetTopMost(host::ui::Window& window) {
  window.SetTopMost(true);
}

void ClearTopMost(host::ui::Window& window) {
  window.SetTopMost(false);
}

void LoadFormLoc(host::ui::Window& window, const SettingsStore& store) {
  const host::ui::ViewportPixels desktop = window.GetDesktop().Viewport();
  const auto read = [&](const char* suffix) {
    return WholeNumber(store.GetSetting(kFormLocSection, window.Name() + suffix, "-1"))
        .value_or(-1);
  };
  long x = read("-X");
  long y = read("-Y");
  if (x > desktop.width || x < 0) x = -1;
  if (y > desktop.height || y < 0) y = -1;
  if (x >= 0 && y >= 0) window.Move(static_cast<int>(x), static_cast<int>(y));
}

void SaveFormLoc(const host::ui::Window& window, SettingsStore& store) {
  SettingsStore::Batch batch(store);
  store.SaveSetting(kFormLocSection, window.Name() + "-X", std::to_string(window.Left()));
  store.SaveSetting(kFormLocSection, window.Name() + "-Y", std::to_string(window.Top()));
}

void ApplyCommaReset(SettingsStore& store) {
  try {
    if (ParseBoolean(store.GetSetting("Settings", "CommaReset1", "False")).value_or(false)) return;
    SettingsStore::Batch batch(store);
    store.SaveSetting("Settings", "CommaReset1", "True");
    const long port = WholeNumber(store.GetSetting("Settings", "Port", "1")).value_or(1);
    store.SaveSetting("Settings", "Port", std::to_string(port + 1));
  } catch (const std::exception&) {
    // The migration is a courtesy; a store that cannot be written is reported when saving.
  }
}

}  // namespace orvo::settings
