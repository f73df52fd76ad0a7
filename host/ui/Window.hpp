#pragma once
// A window of ORVO: its controls are members of the derived class and register here.
// Window positions and sizes are CSS pixels of the page; the controls inside are laid out in
// twips.
#include <functional>
#include <string>
#include <vector>

#include "host/ui/Control.hpp"

namespace orvo::host::ui {

class Desktop;

class Window {
 public:
  Window(Desktop& desktop, std::string name, std::string caption, int widthPx, int heightPx);
  virtual ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  const std::string& Name() const { return name_; }
  Desktop& GetDesktop() const { return desktop_; }

  std::string Caption() const { return properties_.at("caption").get<std::string>(); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  int Left() const { return properties_.at("left").get<int>(); }
  int Top() const { return properties_.at("top").get<int>(); }
  int Width() const { return properties_.at("width").get<int>(); }
  int Height() const { return properties_.at("height").get<int>(); }
  void Move(int leftPx, int topPx);
  void Resize(int widthPx, int heightPx);
  bool TopMost() const { return properties_.at("topMost").get<bool>(); }
  void SetTopMost(bool topMost) { Set("topMost", topMost); }
  bool Visible() const { return properties_.at("visible").get<bool>(); }
  void SetBorderless(bool borderless) { Set("borderless", borderless); }

  bool IsLoaded() const { return loaded_; }
  // Load runs once until the next Unload; Show loads when needed.
  void Load();
  void Show();
  void Hide();
  void Unload();
  // Brings the window in front of the others (the page's z-order).
  void BringToFront();

  // Pops up a menu at a point in twips within the window.
  void PopupMenu(const MenuItem& menu, double xTwips, double yTwips);

  // Whole state for a page, and the way the page reaches a control.
  Json Snapshot() const;
  Control* FindControl(std::string_view id) const;
  const std::vector<Control*>& Controls() const { return controls_; }

  // What the user did on the window itself.
  virtual void KeyUp(int keyCode, int shift);
  virtual void KeyDown(int keyCode, int shift);
  // The user asked to close the window (its close box).
  virtual void UserClose() { Unload(); }
  void UserMove(int leftPx, int topPx) { Move(leftPx, topPx); }

  // Used by controls.
  void Attach(Control& control);
  void Detach(Control& control);
  void ControlChanged(const Control& control, const char* key, const Json& previous,
                      const Json& value);
  // Text added at the end of a text box, of which the box keeps the last `keepLines` lines.
  void ControlAppended(const Control& control, const std::string& text, std::size_t keepLines);

 protected:
  virtual void OnLoad() {}
  virtual void OnUnload() {}
  virtual void OnKeyUp(int /*keyCode*/, int /*shift*/) {}
  virtual void OnKeyDown(int /*keyCode*/, int /*shift*/) {}

 private:
  void Set(const char* key, Json value);

  Desktop& desktop_;
  std::string name_;
  Json properties_;
  bool loaded_ = false;
  std::vector<Control*> controls_;
};

}  // namespace orvo::host::ui
