#include "gps/ReceiverSession.hpp"

#include "gps/Capture.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::gps {

ReceiverSession::ReceiverSession(host::serial::SerialPort& port,
                                 host::platform::TimeZoneSource& timeZone,
                                 host::platform::SystemClock& clock, IntakeListener* owner,
                                 DiagnosticSink diagnostics)
    : port_(port),
      owner_(owner),
      diagnostics_(std::move(diagnostics)),
      parser_(timeZone, clock, [this](std::string_view text) { Report(text); }),
      intake_(parser_, this, [this](std::string_view text) { Report(text); }) {
  port_.SetOnComm([this](int eventCode) { comNMEA_OnComm(eventCode); });
}

ReceiverSession::~ReceiverSession() {
  port_.SetOnComm({});
}

void ReceiverSession::Report(std::string_view text) const {
  if (diagnostics_) diagnostics_(text);
}

std::optional<std::string> ReceiverSession::Start(const ReceiverSettings& settings) {
  std::string failure;
  const auto step = [&failure](const auto& action) {
    try {
      action();
    } catch (const std::exception& error) {
      if (failure.empty()) failure = error.what();
    }
  };
  parser_.ResetGpsFix();
  step([&] { port_.SetCommPort(host::platform::ToInt16(settings.portText)); });
  step([&] { port_.SetSettings(settings.settings); });
  step([&] { port_.SetDTREnable(settings.dtr); });
  step([&] { port_.Open(); });
  if (failure.empty()) return std::nullopt;
  // A port opened with an earlier port number or settings must not stay open behind the user.
  if (port_.IsOpen()) step([&] { port_.Close(); });
  return failure;
}

std::optional<std::string> ReceiverSession::Stop() {
  std::optional<std::string> failure;
  try {
    port_.Close();
  } catch (const std::exception& error) {
    failure = error.what();
  }
  parser_.ResetGpsFix();
  return failure;
}

void ReceiverSession::ClosePort() {
  try {
    port_.Close();
  } catch (const std::exception& error) {
    Report(std::string("Form_Unload: ") + error.what());
  }
}

bool ReceiverSession::ProcessData(std::string_view text) {
  return intake_.ProcessData(text);
}

void ReceiverSession::comNMEA_OnComm(int eventCode) {
  if (eventCode != host::serial::kEventReceive) return;
  const bool sawSentence = ProcessData(port_.ReadInput());
  if (sawSentence || !intake_.NonNmeaTextMentionsAstral()) return;
  // Some receivers announce themselves with "ASTRAL" and wait for the word back before they send
  // NMEA sentences.
  try {
    port_.Write("ASTRAL\r\n");
  } catch (const std::exception& error) {
    Report(std::string("comNMEA_OnComm: ") + error.what());
  }
}

void ReceiverSession::StartCapture(const std::filesystem::path& file) {
  AppendToFile(file, "\r\n");
  captureFile_ = file;
  captureFailing_ = false;
}

// Capture failures are not shown (the stream must go on), but the log hears of the first of a
// run of them, not of every chunk while a disk stays full.
void ReceiverSession::OnChunkReceived(std::string_view chunk) {
  if (!captureFile_) return;
  try {
    AppendToFile(*captureFile_, chunk);
    captureFailing_ = false;
  } catch (const std::exception& error) {
    if (!captureFailing_) Report(std::string("ProcessData: capture: ") + error.what());
    captureFailing_ = true;
  }
}

void ReceiverSession::OnSentence(std::string_view sentence) {
  if (owner_ != nullptr) owner_->OnSentence(sentence);
}

bool ReceiverSession::IsRefreshAutomatic() const {
  return owner_ != nullptr && owner_->IsRefreshAutomatic();
}

void ReceiverSession::OnRefreshTick() {
  if (owner_ != nullptr) owner_->OnRefreshTick();
}

}  // namespace orvo::gps
