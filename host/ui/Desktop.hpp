#pragma once
// Everything the pages show, in one place: the open windows, the host's menu commands, the
// viewport. Pages subscribe to its messages and send their events to Dispatch.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/ui/Control.hpp"
#include "host/ui/Dialogs.hpp"
#include "host/ui/Scheduler.hpp"

namespace orvo::host::ui {

class Window;

class UiObserver {
 public:
  virtual ~UiObserver() = default;
  virtual void UiMessage(const Json& message) = 0;
  // A property change ("set" or "window") with the value it had before, so that an observer
  // can tell a change undone within one turn from a real one.
  virtual void UiChange(const Json& message, const Json& /*previous*/) { UiMessage(message); }
};

struct ViewportPixels {
  int width = 1280;
  int height = 800;
};

class Desktop {
 public:
  Desktop(Scheduler& scheduler, DialogService& dialogs);
  ~Desktop();

  Scheduler& GetScheduler() const { return scheduler_; }
  DialogService& Dialogs() const { return dialogs_; }
  MsgBoxResult MsgBox(std::string prompt, MsgBoxButtons buttons = MsgBoxButtons::OkOnly,
                      std::string title = kDefaultTitle);

  // The host's menu bar: "Orvo&net" and the like; `&` marks the access key.
  void AddMenuCommand(std::string id, std::string caption, std::function<void()> action);

  // The page's viewport: the desktop rectangle of the windows.
  ViewportPixels Viewport() const { return viewport_; }
  void SetViewport(ViewportPixels viewport);
  // Until a page has reported its viewport, Viewport() is only a default guess.
  bool ViewportReported() const { return viewportReported_; }
  // Runs `action` once when the first viewport arrives (at once if one already has).
  void WhenViewportReported(std::function<void()> action);

  // Loaded windows, back to front.
  const std::vector<Window*>& Windows() const { return windows_; }
  Window* FindWindow(std::string_view name) const;
  void Attach(Window& window);
  void Detach(Window& window);
  void BringToFront(Window& window);

  Json Snapshot() const;
  void AddObserver(UiObserver& observer);
  void RemoveObserver(UiObserver& observer);
  void Publish(const Json& message);
  void PublishChange(const Json& message, const Json& previous);

  // One event from a page. Unknown or malformed events are reported to `diagnostics` and
  // otherwise ignored.
  void Dispatch(const Json& event);
  std::function<void(std::string_view)> diagnostics;
  // Events the desktop does not handle itself (the map's, for instance) go here.
  std::function<bool(const Json&)> extraEvents;

 private:
  void DispatchToWindow(Window& window, const Json& event);
  void Report(std::string_view text) const;

  struct MenuCommand {
    std::string id;
    std::string caption;
    std::function<void()> action;
  };

  Scheduler& scheduler_;
  DialogService& dialogs_;
  ViewportPixels viewport_;
  bool viewportReported_ = false;
  std::vector<std::function<void()>> viewportWaiters_;
  std::vector<Window*> windows_;
  std::vector<MenuCommand> commands_;
  std::vector<UiObserver*> observers_;
};

}  // namespace orvo::host::ui
