#include "settings/WindowPlacement.hpp"

#include <charconv>

#include "host/platform/Numeric.hpp"

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

void ApplyAlwaysOnTop(host::ui::Window& window, int checkBoxValue) {
  if (checkBoxValue == 1)
    SetTopMost(window);
  else
    ClearTopMost(window);
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

FormPlacement::FormPlacement(host::ui::Window& window, SettingsStore& store, FirstPlace firstPlace)
    : window_(window),
      store_(store),
      firstPlace_(std::move(firstPlace)),
      self_(std::make_shared<FormPlacement*>(this)) {}

void FormPlacement::Place() {
  host::ui::Desktop& desktop = window_.GetDesktop();
  const auto [x, y] = firstPlace_(desktop.Viewport());
  window_.Move(x, y);
  if (desktop.ViewportReported()) settings::LoadFormLoc(window_, store_);
  placedAt_ = Point(window_.Left(), window_.Top());
}

bool FormPlacement::WherePlaced() const {
  return placedAt_ == Point(window_.Left(), window_.Top());
}

void FormPlacement::LoadFormLoc() {
  Place();
  host::ui::Desktop& desktop = window_.GetDesktop();
  if (desktop.ViewportReported()) return;
  desktop.WhenViewportReported([weak = std::weak_ptr<FormPlacement*>(self_)] {
    const auto self = weak.lock();
    if (!self) return;
    FormPlacement& placement = **self;
    // A window the user has moved meanwhile stays where the user put it.
    if (placement.window_.IsLoaded() && placement.WherePlaced()) placement.Place();
  });
}

void FormPlacement::SaveFormLoc() {
  if (!placedAt_ || WherePlaced()) return;
  settings::SaveFormLoc(window_, store_);
}

void ApplyCommaReset(SettingsStore& store,
                     const std::function<void(std::string_view)>& diagnostics) {
  try {
    if (ParseBoolean(store.GetSetting("Settings", "CommaReset1", "False")).value_or(false)) return;
    SettingsStore::Batch batch(store);
    store.SaveSetting("Settings", "CommaReset1", "True");
    // Read as any stored number is read: blanks around it are allowed (" 3" is port 3).
    const std::int32_t port = host::platform::ToInt32(store.GetSetting("Settings", "Port", "1"));
    store.SaveSetting("Settings", "Port", std::to_string(static_cast<long>(port) + 1));
  } catch (const std::exception& error) {
    // The migration is a courtesy: the user is not troubled with it.
    if (diagnostics) diagnostics(std::string("ApplyCommaReset: ") + error.what());
  }
}

}  // namespace orvo::settings
