#include "gps/NmeaIntake.hpp"

#include <exception>
#include <string>

#include "host/platform/Text.hpp"

namespace orvo::gps {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kNonNmeaTextLength = 20;
constexpr std::size_t kHeaderLength = 6;  // "$" and a five-letter address, "$GPGGA"

}  // namespace

NmeaIntake::NmeaIntake(NmeaParser& parser, IntakeListener* listener, DiagnosticSink diagnostics)
    : parser_(parser), listener_(listener), diagnostics_(std::move(diagnostics)) {}

bool NmeaIntake::ProcessData(std::string_view text) {
  try {
    rxBuffer_.append(text);
    if (listener_ != nullptr) {
      try {
        listener_->OnChunkReceived(text);
      } catch (const std::exception&) {
        // Capture failures are ignored: the receiver's data must keep flowing.
      }
    }
    BoundBuffer();

    std::size_t start = rxBuffer_.find('$');
    if (start == std::string::npos) {
      nonNmeaText_ = rxBuffer_.substr(0, kNonNmeaTextLength);
      rxBuffer_.clear();
      ++counters_.chunksWithoutSentenceStart;
      return false;
    }

    std::size_t lineEnd = rxBuffer_.find(kLineEnd, start);
    if (lineEnd != std::string::npos) {
      if (static_cast<std::int64_t>(rxBuffer_.size()) > lenDetectRepeat_) {
        const SkipResult skip = SkipToLatestRepeat(rxBuffer_, start, lineEnd);
        start = skip.newStart;
        lineEnd = skip.lineEnd;
      }
      currentSentence_.assign(rxBuffer_, start, lineEnd - start);
      // The rest starts with the LF of the pair; the next search for "$" steps over it.
      rxBuffer_.erase(0, lineEnd + 1);
      ++counters_.sentencesCut;
      Dispatch(currentSentence_);
      if (listener_ != nullptr) {
        listener_->OnSentence(currentSentence_);
      }
    }

    if (listener_ != nullptr && listener_->IsRefreshAutomatic() && parser_.Fix().NewFix) {
      listener_->OnRefreshTick();
      parser_.ClearNewFix();
    }
    return true;
  } catch (const std::exception& error) {
    rxBuffer_.clear();
    Report(std::string("ProcessData: ") + error.what());
    return false;
  }
}

void NmeaIntake::Dispatch(std::string_view sentence) {
  // Characters 4 to 6, compared with case: "$gprmc" is not an RMC.
  const std::string_view type = sentence.size() > 3 ? sentence.substr(3, 3) : std::string_view();
  if (type == "GGA") {
    parser_.ParseGGA(sentence);
  } else if (type == "RMC") {
    parser_.ParseRMC(sentence);
  } else if (type == "GSA") {
    parser_.ParseGSA(sentence);
  } else if (type == "GSV") {
    parser_.ParseGSV(sentence);
  } else {
    ++counters_.sentencesOfOtherTypes;
  }
}

SkipResult NmeaIntake::SkipToLatestRepeat(std::string_view buffer, std::size_t start,
                                          std::size_t lineEnd) {
  const std::size_t last = buffer.rfind(kLineEnd);
  const std::string_view header = buffer.substr(start, kHeaderLength);
  if (last == std::string_view::npos || last + 1 < header.size()) {
    return {lineEnd, start};
  }
  // The newest header that ends at or before the CR of the last line end.
  const std::size_t found = buffer.rfind(header, last + 1 - header.size());
  if (found == std::string_view::npos || found < start) {
    return {lineEnd, start};
  }
  return {buffer.find(kLineEnd, found), found};
}

bool NmeaIntake::HasCompleteSentence() const {
  const std::size_t start = rxBuffer_.find('$');
  return start != std::string::npos && rxBuffer_.find(kLineEnd, start) != std::string::npos;
}

bool NmeaIntake::NonNmeaTextMentionsAstral() const {
  return host::platform::ToLowerAscii(nonNmeaText_).find("astral") != std::string::npos;
}

void NmeaIntake::BoundBuffer() {
  if (rxBuffer_.size() <= kMaxBufferBytes) {
    return;
  }
  ++counters_.bufferOverflows;
  const std::size_t newest = rxBuffer_.rfind('$');
  const std::size_t before = rxBuffer_.size();
  if (newest != std::string::npos && rxBuffer_.size() - newest <= kMaxBufferBytes / 2) {
    rxBuffer_.erase(0, newest);
  } else {
    rxBuffer_.clear();
  }
  Report("ProcessData: buffer above " + std::to_string(kMaxBufferBytes) + " bytes, dropped " +
         std::to_string(before - rxBuffer_.size()) + " bytes");
}

void NmeaIntake::Report(std::string_view message) const {
  if (diagnostics_) {
    diagnostics_(message);
  }
}

}  // namespace orvo::gps
