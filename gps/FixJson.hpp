#pragma once
// The fix as JSON, for `orvo parse`, its golden files and diagnostics.
#include <iosfwd>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "gps/GpsFix.hpp"

namespace orvo::gps {

// Every GpsFix field under its own name. Satellite tables are arrays of 12 with null for an
// empty slot; GpsDateTime is "YYYY-MM-DDTHH:MM:SS"; doubles as exactly as they round-trip.
nlohmann::json FixToJson(const GpsFix& fix);

// One line of `orvo parse` output: {"sentence": "...", "fix": {...}}. Text that is not valid
// UTF-8 (receivers send binary too) has each invalid byte sequence replaced by U+FFFD, and
// everything outside ASCII is written as a \u escape, so every line is valid JSON in plain ASCII.
std::string SentenceRecord(std::string_view sentence, const GpsFix& fix);

// Writes SentenceRecord and a line feed.
void WriteSentenceRecord(std::ostream& out, std::string_view sentence, const GpsFix& fix);

}  // namespace orvo::gps
