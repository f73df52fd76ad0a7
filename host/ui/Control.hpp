#pragma once
// ORVO's controls: the state of every button, label and box lives here, in C++. Each property
// change is recorded so that any page can follow it; the page only draws and reports.
//
// Positions and sizes of controls are in twips (15 to a CSS pixel), the unit the windows are laid
// out in. Assigning a check box's or a scroll bar's value from code raises its Click or Change
// handler exactly as the user's action does: the window logic relies on it.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/ui/Scheduler.hpp"

namespace orvo::host::ui {

class Window;
using Json = nlohmann::json;

inline constexpr int kTwipsPerPixel = 15;

// Colours travel as "#rrggbb".
std::string Rgb(int red, int green, int blue);
// A colour written in the old blue-green-red byte order, as in &H80FFFF.
std::string FromBgr(std::uint32_t bgr);

struct MouseEvent {
  int button = 1;  // 1 left, 2 right, 4 middle
  int shift = 0;   // 1 Shift, 2 Ctrl, 4 Alt
  double x = 0;    // twips within the control
  double y = 0;
};

class Control {
 public:
  Control(Window& owner, std::string kind, std::string name, std::optional<int> index = {});
  virtual ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& Kind() const { return kind_; }
  const std::string& Name() const { return name_; }
  std::optional<int> Index() const { return index_; }
  // "lblSpeed(0)" for a member of a control array, else the name.
  std::string Id() const;
  Window& Owner() const { return owner_; }

  bool Enabled() const { return Get<bool>("enabled"); }
  void SetEnabled(bool enabled) { Set("enabled", enabled); }
  bool Visible() const { return Get<bool>("visible"); }
  void SetVisible(bool visible) { Set("visible", visible); }
  std::string ToolTipText() const { return Get<std::string>("toolTip"); }
  void SetToolTipText(std::string text) { Set("toolTip", std::move(text)); }
  int Left() const { return Get<int>("left"); }
  int Top() const { return Get<int>("top"); }
  int Width() const { return Get<int>("width"); }
  int Height() const { return Get<int>("height"); }
  void Move(int left, int top) {
    Set("left", left);
    Set("top", top);
  }
  void Place(int left, int top, int width, int height);
  // The frame or tab control this one sits in (nothing: the window itself), and for a tab
  // control the page it sits on.
  void SetContainer(const Control& container, std::optional<int> tab = {});

  // Free-form look that only the page reads: "font", "fontSize", "bold", "alignment",
  // "border", "borderColor", "style".
  void SetStyle(const char* key, Json value) { Set(key, std::move(value)); }

  // Whole state for a page that connects.
  const Json& Properties() const { return properties_; }
  // Whether pages draw it (timers are not drawn).
  virtual bool Rendered() const { return true; }

  // What the user did, as the page reports it. Disabled or hidden controls ignore it.
  virtual void UserClick();
  virtual void UserDoubleClick();
  virtual void UserChange(const Json& value);
  void UserMouse(std::string_view what, const MouseEvent& event);
  void UserFocus(bool gained);

  std::function<void()> onClick;
  std::function<void()> onDoubleClick;
  std::function<void()> onGotFocus;
  std::function<void()> onLostFocus;
  std::function<void(const MouseEvent&)> onMouseDown;
  std::function<void(const MouseEvent&)> onMouseMove;
  std::function<void(const MouseEvent&)> onMouseUp;

 protected:
  template <class T>
  T Get(const char* key) const {
    return properties_.at(key).get<T>();
  }
  // Records the change and tells the pages; no message when nothing changed.
  bool Set(const char* key, Json value);
  // The stored value itself, for changes that tell the pages their own way.
  Json& Stored(const char* key) { return properties_[key]; }
  static void Raise(const std::function<void()>& handler) {
    if (handler) handler();
  }
  bool AcceptsUserInput() const { return Enabled() && Visible(); }

 private:
  Window& owner_;
  std::string kind_;
  std::string name_;
  std::optional<int> index_;
  Json properties_;
};

// TEXT without its oldest lines, so that at most `keepLines` line ends ("\n") remain. The page
// trims appended text by the same rule.
std::string KeepLastLines(std::string text, std::size_t keepLines);

class Label : public Control {
 public:
  Label(Window& owner, std::string name, std::optional<int> index = {});
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  void SetForeColor(std::string color) { Set("foreColor", std::move(color)); }
  std::string ForeColor() const { return Get<std::string>("foreColor"); }
  void SetBackColor(std::string color) { Set("backColor", std::move(color)); }
  std::string BackColor() const { return Get<std::string>("backColor"); }
};

class Button : public Control {
 public:
  Button(Window& owner, std::string name, std::optional<int> index = {});
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  // What the user's press does; code may call it too ("press the button").
  void Press() { Raise(onClick); }
  void UserClick() override;
};

class CheckBox : public Control {
 public:
  CheckBox(Window& owner, std::string name, std::optional<int> index = {});
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  int Value() const { return Get<int>("value"); }
  // Raises Click when the value changes, whoever sets it.
  void SetValue(int value);
  void UserClick() override;
};

class OptionButton : public Control {
 public:
  OptionButton(Window& owner, std::string name, std::optional<int> index = {});
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  bool Value() const { return Get<bool>("value"); }
  // Setting it clears the other option buttons of the same container; raises Click.
  void SetValue(bool value);
  void UserClick() override;
};

class TextBox : public Control {
 public:
  TextBox(Window& owner, std::string name, std::optional<int> index = {});
  std::string Text() const { return Get<std::string>("text"); }
  // Raises Change when the text changes.
  void SetText(std::string text);
  // Adds text at the end and keeps only the last `keepLines` lines; pages are sent only the
  // added text. Does not raise Change: only code appends (a log).
  void AppendText(std::string_view text, std::size_t keepLines);
  void SetMultiLine(bool multiLine) { Set("multiLine", multiLine); }
  void SetLocked(bool locked) { Set("locked", locked); }
  int SelStart() const { return Get<int>("selStart"); }
  int SelLength() const { return Get<int>("selLength"); }
  void Select(int start, int length);
  void UserChange(const Json& value) override;
  std::function<void()> onChange;
};

class ComboBox : public Control {
 public:
  ComboBox(Window& owner, std::string name, std::optional<int> index = {});
  void AddItem(std::string item);
  void Clear();
  std::vector<std::string> Items() const { return Get<std::vector<std::string>>("items"); }
  int ListIndex() const { return Get<int>("listIndex"); }
  // Selecting an item sets the text; raises Click as the old list controls did.
  void SetListIndex(int index);
  std::string Text() const { return Get<std::string>("text"); }
  // For a drop-down list the text is one of the items or empty.
  void SetText(std::string text);
  void UserChange(const Json& value) override;
  std::function<void()> onChange;
};

class ListBox : public ComboBox {
 public:
  ListBox(Window& owner, std::string name, std::optional<int> index = {});
};

class ScrollBar : public Control {
 public:
  enum class Orientation { Horizontal, Vertical };
  ScrollBar(Window& owner, std::string name, Orientation orientation,
            std::optional<int> index = {});
  int Value() const { return Get<int>("value"); }
  // Raises Change when the value changes; values outside Min..Max are refused.
  void SetValue(int value);
  int Min() const { return Get<int>("min"); }
  int Max() const { return Get<int>("max"); }
  void SetRange(int min, int max);
  int SmallChange() const { return Get<int>("smallChange"); }
  int LargeChange() const { return Get<int>("largeChange"); }
  void SetChanges(int smallChange, int largeChange);
  void UserChange(const Json& value) override;
  std::function<void()> onChange;
};

// Not drawn; fires `onTimer` every Interval milliseconds while enabled.
class Timer : public Control {
 public:
  Timer(Window& owner, std::string name, Scheduler& scheduler);
  ~Timer() override;
  bool Rendered() const override { return false; }
  int Interval() const { return Get<int>("interval"); }
  void SetInterval(int intervalMs);
  bool TimerEnabled() const { return Enabled(); }
  void SetTimerEnabled(bool enabled);
  std::function<void()> onTimer;

 private:
  void Restart();
  void Fire();
  Scheduler& scheduler_;
  std::optional<Scheduler::TimerId> pending_;
};

// A menu or a menu item; items name their parent menu. Top-level menus that are not visible
// serve as pop-up menus.
class MenuItem : public Control {
 public:
  MenuItem(Window& owner, std::string name, std::string caption, MenuItem* parent = nullptr);
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
  bool Checked() const { return Get<bool>("checked"); }
  void SetChecked(bool checked) { Set("checked", checked); }
  MenuItem* Parent() const { return parent_; }
  void UserClick() override;

 private:
  MenuItem* parent_;
};

// A filled rectangle or circle (the state lamps).
class Shape : public Control {
 public:
  Shape(Window& owner, std::string name, std::optional<int> index = {});
  std::string FillColor() const { return Get<std::string>("fillColor"); }
  void SetFillColor(std::string color) { Set("fillColor", std::move(color)); }
  void SetShape(std::string shape) { Set("shape", std::move(shape)); }  // "rectangle", "circle"
};

class Line : public Control {
 public:
  Line(Window& owner, std::string name, std::optional<int> index = {});
  double X1() const { return Get<double>("x1"); }
  double Y1() const { return Get<double>("y1"); }
  double X2() const { return Get<double>("x2"); }
  double Y2() const { return Get<double>("y2"); }
  void SetStart(double x1, double y1);
  void SetEnd(double x2, double y2);
  void SetBorderColor(std::string color) { Set("borderColor", std::move(color)); }
};

class Image : public Control {
 public:
  Image(Window& owner, std::string name, std::optional<int> index = {});
  // A path below the program's data folder, or empty for none.
  std::string Picture() const { return Get<std::string>("picture"); }
  void SetPicture(std::string path) { Set("picture", std::move(path)); }
};

class Frame : public Control {
 public:
  Frame(Window& owner, std::string name, std::optional<int> index = {});
  std::string Caption() const { return Get<std::string>("caption"); }
  void SetCaption(std::string caption) { Set("caption", std::move(caption)); }
};

class TabControl : public Control {
 public:
  TabControl(Window& owner, std::string name, std::vector<std::string> captions);
  int Tab() const { return Get<int>("tab"); }
  // Raises Click when the current tab changes.
  void SetTab(int tab);
  int Tabs() const { return static_cast<int>(Get<Json>("tabs").size()); }
  void UserChange(const Json& value) override;
};

}  // namespace orvo::host::ui
