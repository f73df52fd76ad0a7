#include "gps/frmPlayback.hpp"

#include <algorithm>

#include "gps/Capture.hpp"
#include "host/platform/Numeric.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::gps {

frmPlayback::frmPlayback(host::ui::Desktop& desktop, settings::SettingsStore& settings,
                         PlaybackOwner& owner)
    : Window(desktop, "frmPlayback", "Playback", 330, 150),
      cmdOpen(*this, "cmdOpen"),
      cmdPlay(*this, "cmdPlay"),
      cmdStop(*this, "cmdStop"),
      scrFPos(*this, "scrFPos", host::ui::ScrollBar::Orientation::Horizontal),
      lblFPos(*this, "lblFPos"),
      scrSpeed(*this, "scrSpeed", host::ui::ScrollBar::Orientation::Horizontal),
      lblSpeed(*this, "lblSpeed"),
      Timer1(*this, "Timer1", desktop.GetScheduler()),
      owner_(owner),
      // Where a first start puts it: at the page's lower left, clear of the main window.
      placement_(*this, settings,
                 [](host::ui::ViewportPixels) { return settings::FormPlacement::Point(12, 520); }) {
  cmdOpen.Place(120, 120, 1380, 400);
  cmdOpen.SetCaption("&Open...");
  cmdPlay.Place(1620, 120, 1380, 400);
  cmdPlay.SetCaption("&Play");
  cmdStop.Place(3120, 120, 1380, 400);
  cmdStop.SetCaption("S&top");
  scrFPos.Place(120, 660, 4620, 270);
  scrFPos.SetRange(0, 0);
  lblFPos.Place(120, 960, 4620, 270);
  scrSpeed.Place(120, 1380, 3000, 270);
  scrSpeed.SetRange(0, kMaxSpeed);
  scrSpeed.SetChanges(1200, 9600);
  lblSpeed.Place(3240, 1380, 1700, 270);
  Timer1.SetInterval(kTickMs);

  cmdOpen.onClick = [this] {
    host::ui::FileRequest request;
    request.title = "Play an NMEA file";
    request.filter = kNmeaFileFilter;
    if (auto chosen = GetDesktop().Dialogs().ChooseFile(request)) OpenFile(*chosen);
  };
  cmdPlay.onClick = [this] { Play(); };
  cmdStop.onClick = [this] { Stop(); };
  scrSpeed.onChange = [this] {
    lblSpeed.SetCaption("Speed: " + std::to_string(scrSpeed.Value()) + " bps");
  };
  scrFPos.onChange = [this] {
    if (showingPosition_) return;  // the bar following playback is not a seek
    Seek(static_cast<std::int64_t>(scrFPos.Value()) * BytesPerPositionStep());
  };
  Timer1.onTimer = [this] { Tick(); };
}

frmPlayback::~frmPlayback() = default;

void frmPlayback::Start() {
  Show();
}

void frmPlayback::OnLoad() {
  scrSpeed.SetValue(std::clamp(owner_.BaudRate(), 0, kMaxSpeed));
  scrSpeed.onChange();
  Timer1.SetTimerEnabled(false);
  cmdPlay.SetEnabled(file_.is_open());
  cmdStop.SetEnabled(false);
  ResetFix();
  ShowPosition();
  placement_.LoadFormLoc();
  UpdateShowTopFromParent();
}

void frmPlayback::OnUnload() {
  Stop();
  file_.close();
  length_ = 0;
  position_ = 0;
  ResetFix();
  placement_.SaveFormLoc();
}

bool frmPlayback::OpenFile(const std::filesystem::path& file) {
  Load();
  std::ifstream opened(file, std::ios::binary);
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (!opened || error || std::filesystem::is_directory(file)) {
    GetDesktop().MsgBox("Playback: can't open " + file.string());
    return false;
  }
  SetCaption("Playback - " + file.filename().string());
  file_ = std::move(opened);
  length_ = static_cast<std::int64_t>(size);
  position_ = 0;
  // The timer is left as it was: a playing window plays on with the new file.
  cmdPlay.SetEnabled(!Timer1.TimerEnabled());
  ResetFix();
  ShowPosition();
  return true;
}

void frmPlayback::Play() {
  if (!file_.is_open()) return;
  Timer1.SetTimerEnabled(true);
  cmdPlay.SetEnabled(false);
  cmdStop.SetEnabled(true);
  owner_.PlaybackPlaying(true);
}

void frmPlayback::Stop() {
  if (Timer1.TimerEnabled()) owner_.PlaybackPlaying(false);
  Timer1.SetTimerEnabled(false);
  cmdPlay.SetEnabled(file_.is_open());
  cmdStop.SetEnabled(false);
}

void frmPlayback::Tick() {
  const double bytes =
      host::platform::RoundHalfEven(static_cast<double>(scrSpeed.Value()) / kSpeedBitsPerByteTick);
  const std::int64_t count = std::min(static_cast<std::int64_t>(bytes), length_ - position_);
  if (count < 1) {
    // End of the file, or a speed too low to feed a byte: back to the start.
    position_ = 0;
    cmdStop.Press();
    ResetFix();
    ShowPosition();
    return;
  }
  std::string chunk(static_cast<std::size_t>(count), '\0');
  file_.seekg(position_);
  file_.read(chunk.data(), count);
  chunk.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, file_.gcount())));
  file_.clear();
  position_ += count;
  ShowPosition();
  owner_.ProcessData(chunk);
}

void frmPlayback::ResetFix() {
  owner_.ResetGpsFix();
}

std::int64_t frmPlayback::BytesPerPositionStep() const {
  return std::max<std::int64_t>(1, (length_ + kMaxPositionSteps - 1) / kMaxPositionSteps);
}

void frmPlayback::ShowPositionText() {
  lblFPos.SetCaption(std::to_string(position_) + " / " + std::to_string(length_) + " bytes");
}

void frmPlayback::ShowPosition() {
  ShowPositionText();
  showingPosition_ = true;
  const std::int64_t step = BytesPerPositionStep();
  scrFPos.SetRange(0, static_cast<int>(length_ / step));
  scrFPos.SetChanges(1, static_cast<int>(std::max<std::int64_t>(1, length_ / step / 20)));
  scrFPos.SetValue(static_cast<int>(position_ / step));
  showingPosition_ = false;
}

void frmPlayback::Seek(std::int64_t position) {
  position_ = std::clamp<std::int64_t>(position, 0, length_);
  ShowPositionText();
}

void frmPlayback::UpdateShowTopFromParent() {
  settings::ApplyAlwaysOnTop(*this, owner_.AlwaysOnTop() ? 1 : 0);
}

}  // namespace orvo::gps
