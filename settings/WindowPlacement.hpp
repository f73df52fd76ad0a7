#pragma once
// Topmost state and remembered positions of ORVO's windows, and the one-time port migration.
#include "host/ui/Window.hpp"
#include "settings/SettingsStore.hpp"

namespace orvo::settings {

inline constexpr const char* kFormLocSection = "FormLoc";

void SetTopMost(host::ui::Window& window);
void ClearTopMost(host::ui::Window& window);

// Puts the window where it was last saved, unless that place lies off the desktop (the page's
// viewport); then the window stays where it is.
void LoadFormLoc(host::ui::Window& window, const SettingsStore& store);
void SaveFormLoc(const host::ui::Window& window, SettingsStore& store);

// Runs once per user: raises the stored port number by one (the old numbering started at 0).
void ApplyCommaReset(SettingsStore& store);

}  // namespace orvo::settings
