#pragma once
// Playback of a recorded NMEA file through the main window's ProcessData, at a chosen speed, so
// that every display behaves as with a live receiver.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "host/ui/Window.hpp"
#include "settings/WindowPlacement.hpp"

namespace orvo::gps {

// What playback needs of the window that owns it (the main window).
class PlaybackOwner {
 public:
  virtual ~PlaybackOwner() = default;
  virtual bool ProcessData(std::string_view text) = 0;
  // Empties the fix and refreshes the tracking tab (ResetGpsFix, then UpdateTrackTab).
  virtual void ResetGpsFix() = 0;
  // Playing stands in for a running receiver, whose start runs the refresh timer.
  virtual void PlaybackPlaying(bool playing) = 0;
  // The owner's "Always on top" state, which the playback window copies.
  virtual bool AlwaysOnTop() const = 0;
  // Where the speed bar starts: the receiver's baud rate.
  virtual int BaudRate() const = 0;
};

class frmPlayback final : public host::ui::Window {
 public:
  static constexpr int kTickMs = 200;
  // The speed bar is in bits per second: ten bits a character, five ticks a second.
  static constexpr int kSpeedBitsPerByteTick = 50;
  static constexpr int kMaxSpeed = 230400;
  // The position bar never has more steps than this; larger files move in bigger steps.
  static constexpr std::int64_t kMaxPositionSteps = 100000;

  frmPlayback(host::ui::Desktop& desktop, settings::SettingsStore& settings, PlaybackOwner& owner);
  ~frmPlayback() override;

  // Opens the window (cmdOpenNMEA).
  void Start();
  // Opens a file (cmdOpen, or `orvo --replay FILE`): playing goes on with the new file, stopped
  // stays stopped. False, with a message, when it cannot; the old file then stays.
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
  void ResetFix();
  void ShowPosition();
  void ShowPositionText();
  void Seek(std::int64_t position);
  std::int64_t BytesPerPositionStep() const;

  PlaybackOwner& owner_;
  settings::FormPlacement placement_;
  std::ifstream file_;
  std::int64_t length_ = 0;
  std::int64_t position_ = 0;
  bool showingPosition_ = false;
};

}  // namespace orvo::gps
