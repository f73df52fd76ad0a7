#include "host/ui/Control.hpp"

#include <algorithm>
#include <cstdio>

#include "host/ui/Window.hpp"

namespace orvo::host::ui {

std::string Rgb(int red, int green, int blue) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", red & 0xFF, green & 0xFF, blue & 0xFF);
  return text;
}

std::string FromBgr(std::uint32_t bgr) {
  return Rgb(static_cast<int>(bgr & 0xFF), static_cast<int>((bgr >> 8) & 0xFF),
             static_cast<int>((bgr >> 16) & 0xFF));
}

std::string KeepLastLines(std::string text, std::size_t keepLines) {
  std::size_t lineEnds = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  if (lineEnds <= keepLines) return text;
  std::size_t cut = 0;
  for (; lineEnds > keepLines; --lineEnds) cut = text.find('\n', cut) + 1;
  text.erase(0, cut);
  return text;
}

Control::Control(Window& owner, std::string kind, std::string name, std::optional<int> index)
    : owner_(owner), kind_(std::move(kind)), name_(std::move(name)), index_(index) {
  properties_ = Json{{"kind", kind_},   {"name", name_}, {"index", nullptr}, {"enabled", true},
                     {"visible", true}, {"toolTip", ""}, {"left", 0},        {"top", 0},
                     {"width", 0},      {"height", 0},   {"container", ""},  {"page", nullptr}};
  if (index_) properties_["index"] = *index_;
  owner_.Attach(*this);
}

Control::~Control() {
  owner_.Detach(*this);
}

std::string Control::Id() const {
  return index_ ? name_ + "(" + std::to_string(*index_) + ")" : name_;
}

void Control::Place(int left, int top, int width, int height) {
  Set("left", left);
  Set("top", top);
  Set("width", width);
  Set("height", height);
}

void Control::SetContainer(const Control& container, std::optional<int> tab) {
  Set("container", container.Id());
  Set("page", tab ? Json(*tab) : Json(nullptr));
}

bool Control::Set(const char* key, Json value) {
  auto found = properties_.find(key);
  if (found != properties_.end() && *found == value) return false;
  Json previous = found != properties_.end() ? std::move(*found) : Json(nullptr);
  const Json& stored = properties_[key] = std::move(value);
  owner_.ControlChanged(*this, key, previous, stored);
  return true;
}

void Control::UserClick() {
  if (AcceptsUserInput()) Raise(onClick);
}

void Control::UserDoubleClick() {
  if (AcceptsUserInput()) Raise(onDoubleClick);
}

void Control::UserChange(const Json&) {}

void Control::UserMouse(std::string_view what, const MouseEvent& event) {
  if (!AcceptsUserInput()) return;
  const auto& handler = what == "mousedown" ? onMouseDown
                        : what == "mouseup" ? onMouseUp
                                            : onMouseMove;
  if (handler) handler(event);
}

void Control::UserFocus(bool gained) {
  Raise(gained ? onGotFocus : onLostFocus);
}

Label::Label(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Label", std::move(name), index) {
  Set("caption", "");
  Set("foreColor", "#000000");
  Set("backColor", "");
}

Button::Button(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Button", std::move(name), index) {
  Set("caption", "");
}

void Button::UserClick() {
  if (AcceptsUserInput()) Press();
}

CheckBox::CheckBox(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "CheckBox", std::move(name), index) {
  Set("caption", "");
  Set("value", 0);
}

void CheckBox::SetValue(int value) {
  if (Set("value", value)) Raise(onClick);
}

void CheckBox::UserClick() {
  if (AcceptsUserInput()) SetValue(Value() == 0 ? 1 : 0);
}

OptionButton::OptionButton(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "OptionButton", std::move(name), index) {
  Set("caption", "");
  Set("value", false);
}

void OptionButton::SetValue(bool value) {
  if (value) {
    const Json& container = Properties().at("container");
    for (Control* other : Owner().Controls()) {
      auto* option = dynamic_cast<OptionButton*>(other);
      if (option != nullptr && option != this && option->Properties().at("container") == container)
        option->Set("value", false);
    }
  }
  // As with the old option buttons, choosing the chosen one again clicks it again.
  if (Set("value", value) || value) Raise(onClick);
}

void OptionButton::UserClick() {
  if (AcceptsUserInput()) SetValue(true);
}

TextBox::TextBox(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "TextBox", std::move(name), index) {
  Set("text", "");
  Set("multiLine", false);
  Set("locked", false);
  Set("selStart", 0);
  Set("selLength", 0);
}

void TextBox::SetText(std::string text) {
  if (Set("text", std::move(text))) Raise(onChange);
}

void TextBox::AppendText(std::string_view text, std::size_t keepLines) {
  if (text.empty()) return;
  std::string& stored = Stored("text").get_ref<std::string&>();
  stored.append(text);
  stored = KeepLastLines(std::move(stored), keepLines);
  Owner().ControlAppended(*this, std::string(text), keepLines);
}

void TextBox::Select(int start, int length) {
  Set("selStart", start);
  Set("selLength", length);
}

void TextBox::UserChange(const Json& value) {
  if (AcceptsUserInput() && value.is_string() && !Get<bool>("locked"))
    SetText(value.get<std::string>());
}

ComboBox::ComboBox(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "ComboBox", std::move(name), index) {
  Set("items", Json::array());
  Set("listIndex", -1);
  Set("text", "");
}

void ComboBox::AddItem(std::string item) {
  Json items = Get<Json>("items");
  items.push_back(std::move(item));
  Set("items", std::move(items));
}

void ComboBox::Clear() {
  Set("items", Json::array());
  Set("listIndex", -1);
  Set("text", "");
}

void ComboBox::SetListIndex(int index) {
  const auto items = Items();
  if (index < -1 || index >= static_cast<int>(items.size())) return;
  const bool changed = Set("listIndex", index);
  Set("text", index < 0 ? std::string{} : items[static_cast<std::size_t>(index)]);
  if (changed) {
    Raise(onClick);
    Raise(onChange);
  }
}

void ComboBox::SetText(std::string text) {
  const auto items = Items();
  const auto found = std::find(items.begin(), items.end(), text);
  if (found != items.end()) {
    SetListIndex(static_cast<int>(found - items.begin()));
    return;
  }
  Set("listIndex", -1);
  if (Set("text", std::move(text))) Raise(onChange);
}

void ComboBox::UserChange(const Json& value) {
  if (!AcceptsUserInput()) return;
  if (value.is_number_integer()) SetListIndex(value.get<int>());
  if (value.is_string()) SetText(value.get<std::string>());
}

ListBox::ListBox(Window& owner, std::string name, std::optional<int> index)
    : ComboBox(owner, std::move(name), index) {
  Set("list", true);
}

ScrollBar::ScrollBar(Window& owner, std::string name, Orientation orientation,
                     std::optional<int> index)
    : Control(owner, "ScrollBar", std::move(name), index) {
  Set("orientation", orientation == Orientation::Horizontal ? "horizontal" : "vertical");
  Set("min", 0);
  Set("max", 32767);
  Set("smallChange", 1);
  Set("largeChange", 1);
  Set("value", 0);
}

void ScrollBar::SetValue(int value) {
  if (value < std::min(Min(), Max()) || value > std::max(Min(), Max())) return;
  if (Set("value", value)) Raise(onChange);
}

void ScrollBar::SetRange(int min, int max) {
  Set("min", min);
  Set("max", max);
  // A value left outside the new range moves to its nearest end, as the old scroll bars did.
  const int clamped = std::clamp(Value(), std::min(min, max), std::max(min, max));
  if (clamped != Value()) SetValue(clamped);
}

void ScrollBar::SetChanges(int smallChange, int largeChange) {
  Set("smallChange", smallChange);
  Set("largeChange", largeChange);
}

void ScrollBar::UserChange(const Json& value) {
  if (AcceptsUserInput() && value.is_number()) SetValue(value.get<int>());
}

Timer::Timer(Window& owner, std::string name, Scheduler& scheduler)
    : Control(owner, "Timer", std::move(name)), scheduler_(scheduler) {
  Set("interval", 0);
  SetEnabled(false);
}

Timer::~Timer() {
  if (pending_) scheduler_.CancelTimer(*pending_);
}

void Timer::SetInterval(int intervalMs) {
  Set("interval", std::max(0, intervalMs));
  Restart();
}

void Timer::SetTimerEnabled(bool enabled) {
  SetEnabled(enabled);
  Restart();
}

void Timer::Restart() {
  if (pending_) scheduler_.CancelTimer(*pending_);
  pending_.reset();
  if (Enabled() && Interval() > 0)
    pending_ = scheduler_.StartTimer(Milliseconds(Interval()), [this] { Fire(); });
}

void Timer::Fire() {
  pending_.reset();
  // Re-arm first: the handler may stop or restart the timer.
  Restart();
  Raise(onTimer);
}

MenuItem::MenuItem(Window& owner, std::string name, std::string caption, MenuItem* parent)
    : Control(owner, "Menu", std::move(name)), parent_(parent) {
  Set("caption", std::move(caption));
  Set("checked", false);
  Set("parent", parent != nullptr ? parent->Id() : std::string{});
}

void MenuItem::UserClick() {
  if (AcceptsUserInput()) Raise(onClick);
}

Shape::Shape(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Shape", std::move(name), index) {
  Set("fillColor", "#808080");
  Set("shape", "circle");
}

Line::Line(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Line", std::move(name), index) {
  Set("x1", 0.0);
  Set("y1", 0.0);
  Set("x2", 0.0);
  Set("y2", 0.0);
  Set("borderColor", "#000000");
}

void Line::SetStart(double x1, double y1) {
  Set("x1", x1);
  Set("y1", y1);
}

void Line::SetEnd(double x2, double y2) {
  Set("x2", x2);
  Set("y2", y2);
}

Image::Image(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Image", std::move(name), index) {
  Set("picture", "");
}

Frame::Frame(Window& owner, std::string name, std::optional<int> index)
    : Control(owner, "Frame", std::move(name), index) {
  Set("caption", "");
}

TabControl::TabControl(Window& owner, std::string name, std::vector<std::string> captions)
    : Control(owner, "TabControl", std::move(name)) {
  Json tabs = Json::array();
  for (std::string& caption : captions) tabs.push_back(std::move(caption));
  Set("tabs", std::move(tabs));
  Set("tab", 0);
}

void TabControl::SetTab(int tab) {
  if (tab < 0 || tab >= Tabs()) return;
  if (Set("tab", tab)) Raise(onClick);
}

void TabControl::UserChange(const Json& value) {
  if (AcceptsUserInput() && value.is_number_integer()) SetTab(value.get<int>());
}

}  // namespace orvo::host::ui
