#include "gps/NmeaParser.hpp"

#include <exception>
#include <string>

#include "gps/NmeaParserDecoders.hpp"
#include "host/platform/Numeric.hpp"

namespace orvo::gps {
namespace {

// A quoted copy of a sentence for diagnostics, cut to a length a log line can carry.
std::string Quoted(std::string_view sentence) {
  constexpr std::size_t kMaxShown = 120;  // longer than any valid sentence (82 characters)
  std::string text = "\"" + std::string(sentence.substr(0, kMaxShown));
  if (sentence.size() > kMaxShown) {
    text += "...";
  }
  return text + "\"";
}

}  // namespace

NmeaParser::NmeaParser(host::platform::TimeZoneSource& timeZone, host::platform::SystemClock& clock,
                       DiagnosticSink diagnostics)
    : timeZone_(timeZone), clock_(clock), diagnostics_(std::move(diagnostics)) {
  ResetGpsFix();
}

void NmeaParser::ResetGpsFix() {
  fix_ = GpsFix{};
  fix_.TimeZoneBias = GetTimeZoneBias();
  try {
    fix_.GpsDateTime = clock_.Now();
  } catch (const std::exception& error) {
    Report(std::string("ResetGpsFix: ") + error.what());
  }
}

std::int16_t NmeaParser::GetTimeZoneBias() const {
  try {
    const host::platform::TimeZoneInformation zone = timeZone_.Current();
    // The platform's own daylight bias is not used: daylight time is always one hour.
    constexpr std::int32_t kDaylightMinutes = 60;
    const std::int32_t bias =
        -zone.standardBiasMinutes + (zone.daylightInForce ? kDaylightMinutes : 0);
    return host::platform::ToInt16(static_cast<double>(bias));
  } catch (const std::exception& error) {
    Report(std::string("GetTimeZoneBias: ") + error.what());
    return 0;
  }
}

template <typename Decode>
void NmeaParser::Run(const char* name, std::string_view sentence, Decode decode) {
  detail::SentenceDecoder decoder(fix_, fieldStorage_);
  bool completed = false;
  try {
    completed = (decoder.*decode)(sentence);
  } catch (const std::exception& error) {
    // Input no receiver sends: a number beyond a double's range, a date beyond the calendar.
    decoder.Stop().reason = detail::DecodeStop::Reason::kOther;
    decoder.Stop().other = error.what();
  }
  if (!completed) {
    ++failureCount_;
    if (diagnostics_) {
      Report(std::string(name) + ": " + decoder.Stop().Describe() + " in " + Quoted(sentence));
    }
  }
}

void NmeaParser::ParseRMC(std::string_view sentence) {
  Run("ParseRMC", sentence, &detail::SentenceDecoder::RMC);
}
void NmeaParser::ParseGGA(std::string_view sentence) {
  Run("ParseGGA", sentence, &detail::SentenceDecoder::GGA);
}
void NmeaParser::ParseGSA(std::string_view sentence) {
  Run("ParseGSA", sentence, &detail::SentenceDecoder::GSA);
}
void NmeaParser::ParseGSV(std::string_view sentence) {
  Run("ParseGSV", sentence, &detail::SentenceDecoder::GSV);
}

void NmeaParser::Report(std::string_view message) const {
  if (diagnostics_) {
    diagnostics_(message);
  }
}

}  // namespace orvo::gps
