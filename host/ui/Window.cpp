#include "host/ui/Window.hpp"

#include <algorithm>
#include <utility>

#include "host/ui/Desktop.hpp"

namespace orvo::host::ui {

Window::Window(Desktop& desktop, std::string name, std::string caption, int widthPx, int heightPx)
    : desktop_(desktop), name_(std::move(name)) {
  properties_ = Json{{"name", name_},      {"caption", std::move(caption)},
                     {"left", 0},          {"top", 0},
                     {"width", widthPx},   {"height", heightPx},
                     {"visible", false},   {"topMost", false},
                     {"borderless", false}};
}

Window::~Window() {
  if (loaded_) desktop_.Detach(*this);
}

void Window::Move(int leftPx, int topPx) {
  Set("left", leftPx);
  Set("top", topPx);
}

void Window::Resize(int widthPx, int heightPx) {
  Set("width", widthPx);
  Set("height", heightPx);
}

void Window::Load() {
  if (loaded_) return;
  loaded_ = true;
  desktop_.Attach(*this);
  OnLoad();
}

void Window::Show() {
  Load();
  if (!loaded_) return;  // the load unloaded it again
  Set("visible", true);
  BringToFront();
}

void Window::Hide() {
  Set("visible", false);
}

void Window::Unload() {
  if (!loaded_) return;
  OnUnload();
  properties_["visible"] = false;
  loaded_ = false;
  desktop_.Detach(*this);
}

void Window::BringToFront() {
  if (loaded_) desktop_.BringToFront(*this);
}

void Window::PopupMenu(const MenuItem& menu, double xTwips, double yTwips) {
  if (!loaded_) return;
  desktop_.Publish(Json{
      {"type", "popup"}, {"window", name_}, {"menu", menu.Id()}, {"x", xTwips}, {"y", yTwips}});
}

Json Window::Snapshot() const {
  Json window = properties_;
  Json controls = Json::array();
  for (const Control* control : controls_)
    if (control->Rendered())
      controls.push_back(Json{{"id", control->Id()}, {"properties", control->Properties()}});
  window["controls"] = std::move(controls);
  return window;
}

Control* Window::FindControl(std::string_view id) const {
  const auto found = std::find_if(controls_.begin(), controls_.end(),
                                  [id](const Control* control) { return control->Id() == id; });
  return found == controls_.end() ? nullptr : *found;
}

void Window::KeyUp(int keyCode, int shift) {
  if (loaded_) OnKeyUp(keyCode, shift);
}

void Window::KeyDown(int keyCode, int shift) {
  if (loaded_) OnKeyDown(keyCode, shift);
}

void Window::Attach(Control& control) {
  controls_.push_back(&control);
}

void Window::Detach(Control& control) {
  std::erase(controls_, &control);
}

void Window::ControlChanged(const Control& control, const char* key, const Json& previous,
                            const Json& value) {
  if (!loaded_ || !control.Rendered()) return;
  desktop_.PublishChange(Json{{"type", "set"},
                              {"window", name_},
                              {"control", control.Id()},
                              {"property", key},
                              {"value", value}},
                         previous);
}

void Window::ControlAppended(const Control& control, const std::string& text,
                             std::size_t keepLines) {
  if (!loaded_ || !control.Rendered()) return;
  desktop_.Publish(Json{{"type", "set"},
                        {"window", name_},
                        {"control", control.Id()},
                        {"property", "text"},
                        {"append", text},
                        {"keepLines", keepLines}});
}

void Window::Set(const char* key, Json value) {
  Json& current = properties_[key];
  if (current == value) return;
  Json previous = std::exchange(current, value);
  if (loaded_)
    desktop_.PublishChange(
        Json{{"type", "window"}, {"window", name_}, {"property", key}, {"value", value}}, previous);
}

}  // namespace orvo::host::ui
