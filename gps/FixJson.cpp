#include "gps/FixJson.hpp"

#include <ostream>

namespace orvo::gps {
namespace {

nlohmann::json TableToJson(const SatelliteTable& table) {
  nlohmann::json array = nlohmann::json::array();
  for (const auto& slot : table) {
    if (slot) {
      array.push_back(*slot);
    } else {
      array.push_back(nullptr);
    }
  }
  return array;
}

}  // namespace

nlohmann::json FixToJson(const GpsFix& fix) {
  return {
      {"FixMode", fix.FixMode},
      {"SatCount", fix.SatCount},
      {"HDOP", fix.HDOP},
      {"VDOP", fix.VDOP},
      {"SatId", TableToJson(fix.SatId)},
      {"SatElevation", TableToJson(fix.SatElevation)},
      {"SatAzimuth", TableToJson(fix.SatAzimuth)},
      {"SatSNR", TableToJson(fix.SatSNR)},
      {"LatText", fix.LatText},
      {"LatHemisphere", fix.LatHemisphere},
      {"LngText", fix.LngText},
      {"LngHemisphere", fix.LngHemisphere},
      {"Latitude", fix.Latitude},
      {"Longitude", fix.Longitude},
      {"UtcTimeText", fix.UtcTimeText},
      {"UtcDateText", fix.UtcDateText},
      {"GpsDateTime", fix.GpsDateTime.ToIso()},
      {"NewFix", fix.NewFix},
      {"Elevation", fix.Elevation},
      {"Course", fix.Course},
      {"SpeedKnots", fix.SpeedKnots},
      {"SentencesSeen", fix.SentencesSeen},
      {"TimeZoneBias", fix.TimeZoneBias},
  };
}

std::string SentenceRecord(std::string_view sentence, const GpsFix& fix) {
  constexpr int kSingleLine = -1;
  constexpr bool kEnsureAscii = true;
  auto dump = [](const nlohmann::json& value) {
    return value.dump(kSingleLine, ' ', kEnsureAscii, nlohmann::json::error_handler_t::replace);
  };
  // Written by hand so that the sentence leads the line, where a reader looks for it.
  return "{\"sentence\":" + dump(std::string(sentence)) + ",\"fix\":" + dump(FixToJson(fix)) + "}";
}

void WriteSentenceRecord(std::ostream& out, std::string_view sentence, const GpsFix& fix) {
  out << SentenceRecord(sentence, fix) << '\n';
}

}  // namespace orvo::gps
