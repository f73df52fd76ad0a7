#pragma once
// Topmost state and remembered positions of ORVO's windows, and the one-time port migration.
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "host/ui/Desktop.hpp"
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::settings {

inline constexpr const char* kFormLocSection = "FormLoc";

void SetTopMost(host::ui::Window& window);
void ClearTopMost(host::ui::Window& window);
// The "Always on top" check box's value (1 on) applied to a window: SetTopMost or ClearTopMost.
void ApplyAlwaysOnTop(host::ui::Window& window, int checkBoxValue);

// Puts the window where it was last saved, unless that place lies off the desktop (the page's
// viewport); then the window stays where it is.
void LoadFormLoc(host::ui::Window& window, const SettingsStore& store);
void SaveFormLoc(const host::ui::Window& window, SettingsStore& store);

// Where one window goes: its first-start place, then the place the user last left it. A saved
// place is only checked against a viewport that a page has reported: until one has, the window
// waits at its first-start place and is placed when the first viewport arrives. Only a position
// that differs from where ORVO itself put the window (that is, one a user chose) is saved, so a
// run without a page never overwrites the saved places.
class FormPlacement {
 public:
  using Point = std::pair<int, int>;
  using FirstPlace = std::function<Point(host::ui::ViewportPixels viewport)>;

  FormPlacement(host::ui::Window& window, SettingsStore& store, FirstPlace firstPlace);
  FormPlacement(const FormPlacement&) = delete;
  FormPlacement& operator=(const FormPlacement&) = delete;

  void LoadFormLoc();
  void SaveFormLoc();

 private:
  void Place();
  bool WherePlaced() const;

  host::ui::Window& window_;
  SettingsStore& store_;
  FirstPlace firstPlace_;
  std::optional<Point> placedAt_;
  // The first viewport may come after this object is gone; the waiter holds only a weak link.
  std::shared_ptr<FormPlacement*> self_;
};

// Runs once per user: raises the stored port number by one (the old numbering started at 0).
// A stored port that is not a number is left as it is and reported.
void ApplyCommaReset(SettingsStore& store,
                     const std::function<void(std::string_view)>& diagnostics = {});

}  // namespace orvo::settings
