#pragma once
// A control array: controls that share a name and differ by index, as lblSpeed(0..3).
#include <memory>
#include <string>
#include <vector>

#include "host/ui/Window.hpp"

namespace orvo::host::ui {

template <class T>
class ControlArray {
 public:
  ControlArray(Window& owner, const std::string& name, int count) {
    for (int index = 0; index < count; ++index)
      items_.push_back(std::make_unique<T>(owner, name, index));
  }
  T& operator[](int index) { return *items_.at(static_cast<std::size_t>(index)); }
  const T& operator[](int index) const { return *items_.at(static_cast<std::size_t>(index)); }
  int Count() const { return static_cast<int>(items_.size()); }

  template <class Visit>
  void ForEach(Visit visit) {
    for (auto& item : items_) visit(*item);
  }

 private:
  std::vector<std::unique_ptr<T>> items_;
};

}  // namespace orvo::host::ui
