#pragma once
// Playback of a recorded NMEA file through the main window's ProcessData, at a chosen speed, so
// that every display behaves as with a live receiver.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/ui/Window.hpp"

namespace orvo::addin {
class frmAddIn;
}

namespace orvo::gps {

class frmPlayback final : public host::ui::Window {
 public:
  static constexpr int kTickMs = 200;
  // The speed bar is in bits per second: ten bits a character, five ticks a second.
  static constexpr int kSpeedBitsPerByteTick = 50;
  static constexpr int kMaxSpeed = 230400;
  // The position bar never has more steps than this; larger files move in bigger steps.
  static constexpr std::int64_t kMaxPositionSteps = 100000;

  frmPlayback(host::ui::Desktop& desktop, addin::frmAddIn& mainWindow);
  ~frmPlayback() override;

  // Opens the window (cmdOpenNMEA).
  void Start();
  // Opens a file without asking (`orvo --replay FILE`); false, with a message, when it cannot.
  bool OpenFile(const std::filesystem::path& file);
  // Copies the main window's always-on-top state.
  void UpdateShowTopFromParent();

  std::int64_t Position() const { return position_; }
  std::int64_t Length() const { return length_; }

  host::ui::Button cmdOpen;
  host::ui::Button cmdPlay;
  host::ui::Button cmdStop;
  host::ui::ScrollBar scrFPos;
  host::ui::Label lblFPos;
  host::ui::ScrollBar scrSpeed;
  host::ui::Label lblSpeed;
  host::ui::Timer Timer1;

 protected:
  void OnLoad() override;
  void OnUnload() override;

 private:
  void Tick();
  void Play();
  void Stop();
  void ResetDisplays();
  void ShowPosition();
  void ShowPositionText();
  void Seek(std::int64_t position);
  std::int64_t BytesPerPositionStep() const;

  addin::frmAddIn& main_;
  std::ifstream file_;
  std::int64_t length_ = 0;
  std::int64_t position_ = 0;
  bool showingPosition_ = false;
};

}  // namespace orvo::gps
