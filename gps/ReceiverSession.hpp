#pragma once
// A receiver session: the serial port, the framing and decoders behind it, and the capture file.
// It starts and stops the connection, takes what the port receives (answering a receiver that
// waits for "ASTRAL"), and appends every chunk to the capture file while capture is on. It knows
// no window: the main window drives it through its controls, `orvo parse --serial` on its own.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "host/platform/Clock.hpp"
#include "host/serial/SerialPort.hpp"

namespace orvo::gps {

// The ports the user can choose: "1" to "8".
inline constexpr int kPortCount = 8;

struct ReceiverSettings {
  std::string portText;  // the port number as the user wrote it
  std::string settings;  // "baud,parity,data,stop", passed on unchanged
  bool dtr = false;
};

class ReceiverSession final : private IntakeListener {
 public:
  using DiagnosticSink = std::function<void(std::string_view text)>;

  // `owner` hears of every sentence and runs the refresh tick; failures nobody is shown go to
  // `diagnostics` with the procedure's name in front.
  ReceiverSession(host::serial::SerialPort& port, host::platform::TimeZoneSource& timeZone,
                  host::platform::SystemClock& clock, IntakeListener* owner,
                  DiagnosticSink diagnostics);
  ~ReceiverSession() override;
  ReceiverSession(const ReceiverSession&) = delete;
  ReceiverSession& operator=(const ReceiverSession&) = delete;

  // Resets the fix, then sets the port number, the settings and DTR and opens the port. Every
  // step runs; the first failure is returned, and a port left open by it is closed again.
  std::optional<std::string> Start(const ReceiverSettings& settings);
  // Closes the port and resets the fix; the failure of the close, if any.
  std::optional<std::string> Stop();
  // Closes the port only (the main window's unload); a failure is logged.
  void ClosePort();
  bool PortOpen() const { return port_.IsOpen(); }

  // The one entry for received NMEA text: the port and playback feed it.
  bool ProcessData(std::string_view text);
  // The port's notification: on receive, everything pending goes to ProcessData.
  void comNMEA_OnComm(int eventCode);

  const GpsFix& Fix() const { return parser_.Fix(); }
  void ResetGpsFix() { parser_.ResetGpsFix(); }
  NmeaParser& Parser() { return parser_; }
  NmeaIntake& Intake() { return intake_; }

  // Capture: the first append (a line end) proves the file can be written and throws
  // std::system_error when it cannot; then every chunk received is appended as it came.
  void StartCapture(const std::filesystem::path& file);
  void StopCapture() { captureFile_.reset(); }
  bool Capturing() const { return captureFile_.has_value(); }

 private:
  void OnChunkReceived(std::string_view chunk) override;
  void OnSentence(std::string_view sentence) override;
  bool IsRefreshAutomatic() const override;
  void OnRefreshTick() override;
  void Report(std::string_view text) const;

  host::serial::SerialPort& port_;
  IntakeListener* owner_;
  DiagnosticSink diagnostics_;
  NmeaParser parser_;
  NmeaIntake intake_;
  std::optional<std::filesystem::path> captureFile_;
  bool captureFailing_ = false;
};

}  // namespace orvo::gps
