#pragma once
// The four sentence decoders behind NmeaParser, which is their only user. A decoder writes the
// fix field by field and returns false at its first error, leaving what it had stored; why it
// stopped is kept for the diagnostic text.
//
// A stop is ordinary receiver input, not an exceptional event: an NMEA 4.10 receiver puts a
// signal number after the satellites of every GSV, which the decoder reads as the start of a
// group that then lacks its fields, and some receivers send a fourth GSV message each cycle.
// So stops are return values, and their text is made only when someone asks for it.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gps/GpsFix.hpp"
#include "host/platform/DateValue.hpp"

namespace orvo::gps::detail {

struct DecodeStop {
  enum class Reason { kFieldMissing, kSlotOutOfRange, kNotANumber, kTooLarge, kNotATime, kOther };
  Reason reason = Reason::kOther;
  std::int64_t index = 0;  // the field or slot
  double value = 0.0;      // the number that does not fit in 16 bits
  std::string_view text;   // the text that is no number or no time; it points into the sentence
                           // or the fix, so it is read before either changes
  std::string other;       // an error's own words ("Overflow: ...")

  std::string Describe() const;
};

class SentenceDecoder {
 public:
  // `fieldStorage` is scratch kept by the caller, so that splitting needs no new memory.
  SentenceDecoder(GpsFix& fix, std::vector<std::string_view>& fieldStorage)
      : fix_(fix), fieldStorage_(fieldStorage) {}

  bool RMC(std::string_view sentence);
  bool GGA(std::string_view sentence);
  bool GSA(std::string_view sentence);
  bool GSV(std::string_view sentence);

  DecodeStop& Stop() { return stop_; }

 private:
  class Fields;

  bool Copy(const Fields& fields, std::size_t index, std::string& into);
  bool Number(std::string_view text, double& value);
  bool Whole(double number, std::int16_t& value);
  bool Whole(std::string_view text, std::int16_t& value);
  bool Slot(std::string_view field, std::optional<std::int16_t>& slot);
  bool TimeOfDay(std::string_view hhmmss, host::platform::DateValue& time);
  bool ConvertPosition();

  GpsFix& fix_;
  std::vector<std::string_view>& fieldStorage_;
  DecodeStop stop_;
};

}  // namespace orvo::gps::detail
