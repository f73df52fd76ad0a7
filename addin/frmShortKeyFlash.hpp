#pragma once
// The small flash that confirms a keyboard command: a feature name and its new state, for 700 ms.
#include <string>

#include "host/ui/Window.hpp"

namespace orvo::addin {

class frmShortKeyFlash final : public host::ui::Window {
 public:
  static constexpr int kShowMs = 700;

  explicit frmShortKeyFlash(host::ui::Desktop& desktop);

  void Log(std::string featureName, std::string stateText);

  host::ui::Frame Frame1;
  host::ui::Label lblFn;
  host::ui::Label lblMsg;
  host::ui::Timer Timer1;

 protected:
  void OnKeyUp(int keyCode, int shift) override;

 private:
  void Close();
};

}  // namespace orvo::addin
