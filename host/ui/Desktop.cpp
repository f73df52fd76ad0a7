#include "host/ui/Desktop.hpp"

#include <algorithm>
#include <utility>

#include "host/ui/Window.hpp"

namespace orvo::host::ui {

Desktop::Desktop(Scheduler& scheduler, DialogService& dialogs)
    : scheduler_(scheduler), dialogs_(dialogs) {}

Desktop::~Desktop() = default;

MsgBoxResult Desktop::MsgBox(std::string prompt, MsgBoxButtons buttons, std::string title) {
  return dialogs_.ShowMessage(MessageRequest{std::move(prompt), buttons, std::move(title)});
}

void Desktop::AddMenuCommand(std::string id, std::string caption, std::function<void()> action) {
  Publish(Json{{"type", "command"}, {"id", id}, {"caption", caption}});
  commands_.push_back(MenuCommand{std::move(id), std::move(caption), std::move(action)});
}

void Desktop::SetViewport(ViewportPixels viewport) {
  if (viewport.width <= 0 || viewport.height <= 0) return;
  viewport_ = viewport;
  if (viewportReported_) return;
  viewportReported_ = true;
  for (auto& action : std::exchange(viewportWaiters_, {})) action();
}

void Desktop::WhenViewportReported(std::function<void()> action) {
  if (viewportReported_)
    action();
  else
    viewportWaiters_.push_back(std::move(action));
}

Window* Desktop::FindWindow(std::string_view name) const {
  const auto found = std::find_if(windows_.begin(), windows_.end(),
                                  [name](const Window* window) { return window->Name() == name; });
  return found == windows_.end() ? nullptr : *found;
}

void Desktop::Attach(Window& window) {
  if (std::find(windows_.begin(), windows_.end(), &window) != windows_.end()) return;
  windows_.push_back(&window);
  Publish(Json{{"type", "open"}, {"window", window.Snapshot()}});
}

void Desktop::Detach(Window& window) {
  if (std::find(windows_.begin(), windows_.end(), &window) == windows_.end()) return;
  std::erase(windows_, &window);
  Publish(Json{{"type", "close"}, {"window", window.Name()}});
}

void Desktop::BringToFront(Window& window) {
  const auto found = std::find(windows_.begin(), windows_.end(), &window);
  if (found == windows_.end() || found + 1 == windows_.end()) return;
  windows_.erase(found);
  windows_.push_back(&window);
  Publish(Json{{"type", "front"}, {"window", window.Name()}});
}

Json Desktop::Snapshot() const {
  Json windows = Json::array();
  for (const Window* window : windows_) windows.push_back(window->Snapshot());
  Json commands = Json::array();
  for (const auto& command : commands_)
    commands.push_back(Json{{"id", command.id}, {"caption", command.caption}});
  return Json{
      {"type", "snapshot"}, {"windows", std::move(windows)}, {"commands", std::move(commands)}};
}

void Desktop::AddObserver(UiObserver& observer) {
  observers_.push_back(&observer);
}

void Desktop::RemoveObserver(UiObserver& observer) {
  std::erase(observers_, &observer);
}

void Desktop::Publish(const Json& message) {
  // A copy: an observer may remove itself while being told.
  const auto observers = observers_;
  for (UiObserver* observer : observers) observer->UiMessage(message);
}

void Desktop::PublishChange(const Json& message, const Json& previous) {
  const auto observers = observers_;
  for (UiObserver* observer : observers) observer->UiChange(message, previous);
}

void Desktop::Report(std::string_view text) const {
  if (diagnostics) diagnostics(text);
}

void Desktop::Dispatch(const Json& event) {
  try {
    if (!event.is_object() || !event.contains("type") || !event["type"].is_string()) {
      Report("Desktop: an event without a type was ignored");
      return;
    }
    const std::string type = event["type"].get<std::string>();
    if (type == "command") {
      const std::string id = event.value("id", "");
      const auto found =
          std::find_if(commands_.begin(), commands_.end(),
                       [&id](const MenuCommand& command) { return command.id == id; });
      if (found == commands_.end()) return Report("Desktop: unknown menu command " + id);
      if (found->action) found->action();
      return;
    }
    if (type == "viewport") {
      SetViewport({event.value("width", 0), event.value("height", 0)});
      return;
    }
    if (event.contains("window") && event["window"].is_string()) {
      Window* window = FindWindow(event["window"].get<std::string>());
      if (window == nullptr) return Report("Desktop: event for a window that is not open");
      return DispatchToWindow(*window, event);
    }
    if (extraEvents && extraEvents(event)) return;
    Report("Desktop: unknown event type " + type);
  } catch (const std::exception& error) {
    // A page must never bring the program down: the event is dropped and noted.
    Report(std::string("Desktop: malformed event ignored: ") + error.what());
  }
}

void Desktop::DispatchToWindow(Window& window, const Json& event) {
  const std::string type = event["type"].get<std::string>();
  if (type == "key") {
    const int keyCode = event.at("keyCode").get<int>();
    const int shift = event.value("shift", 0);
    if (event.value("event", "keyup") == "keydown")
      window.KeyDown(keyCode, shift);
    else
      window.KeyUp(keyCode, shift);
    return;
  }
  if (type == "move")
    return window.UserMove(event.at("left").get<int>(), event.at("top").get<int>());
  if (type == "close") return window.UserClose();
  if (type == "front") return window.BringToFront();
  if (type != "event") return Report("Desktop: unknown window event " + type);

  Control* control = window.FindControl(event.at("control").get<std::string>());
  if (control == nullptr) return Report("Desktop: event for an unknown control");
  const std::string what = event.at("event").get<std::string>();
  if (what == "click") return control->UserClick();
  if (what == "dblclick") return control->UserDoubleClick();
  if (what == "change") return control->UserChange(event.at("value"));
  if (what == "focus" || what == "blur") return control->UserFocus(what == "focus");
  if (what == "mousedown" || what == "mousemove" || what == "mouseup") {
    MouseEvent mouse;
    mouse.button = event.value("button", 1);
    mouse.shift = event.value("shift", 0);
    mouse.x = event.value("x", 0.0);
    mouse.y = event.value("y", 0.0);
    return control->UserMouse(what, mouse);
  }
  Report("Desktop: unknown control event " + what);
}

}  // namespace orvo::host::ui
