#include "guidance/GuideAudio.hpp"

#include "host/ui/Desktop.hpp"

#include <cctype>
#include <optional>

namespace orvo::guidance {
namespace {

namespace fs = std::filesystem;

// FILE's path below FOLDER, or nothing when it lies elsewhere.
std::optional<fs::path> Below(const fs::path& folder, const std::string& file) {
  if (folder.empty()) return std::nullopt;
  const fs::path relative =
      fs::path(file).lexically_normal().lexically_relative(folder.lexically_normal());
  if (relative.empty() || *relative.begin() == "..") return std::nullopt;
  return relative;
}

std::string Escape(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || c == '-' || c == '_' || c == '.' || c == '~' || c == '/') {
      escaped += c;
    } else {
      escaped += '%';
      escaped += kHex[byte >> 4];
      escaped += kHex[byte & 15];
    }
  }
  return escaped;
}

}  // namespace

std::string SoundAddress(const fs::path& dataFolder, const std::string& file) {
  if (auto relative = Below(dataFolder, file)) return "/data/" + Escape(relative->generic_string());
  return "/userfile?path=" + Escape(file);
}

std::string PictureValue(const fs::path& dataFolder, const std::string& file) {
  if (auto relative = Below(dataFolder, file)) return relative->generic_string();
  return file;
}

host::ui::Json SoundMessage(std::vector<std::string> addresses) {
  return host::ui::Json{{"type", "sound"}, {"sounds", std::move(addresses)}};
}

host::ui::Json SpeechMessage(std::string_view wav) {
  host::ui::Json message{{"type", "speech"}};
  if (!wav.empty()) message["wav"] = Base64(wav);
  return message;
}

std::string Base64(std::string_view bytes) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const unsigned v = static_cast<unsigned char>(bytes[i]) << 16 |
                       static_cast<unsigned char>(bytes[i + 1]) << 8 |
                       static_cast<unsigned char>(bytes[i + 2]);
    for (int shift = 18; shift >= 0; shift -= 6) out += kDigits[(v >> shift) & 63];
  }
  if (const std::size_t rest = bytes.size() - i; rest > 0) {
    unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
    if (rest == 2) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += kDigits[(v >> 18) & 63];
    out += kDigits[(v >> 12) & 63];
    out += rest == 2 ? kDigits[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

void SpeakOnPage(host::speech::SpeechEngine& speech, host::ui::Desktop& desktop,
                 const std::string& text, std::size_t voice, std::function<bool()> wanted) {
  desktop.Publish(SpeechMessage({}));
  speech.Speak(text, voice,
               [&desktop, wanted = std::move(wanted)](const host::speech::Speech& done) {
                 if (done.outcome == host::speech::Speech::Outcome::Spoken && wanted())
                   desktop.Publish(SpeechMessage(done.wav));
               });
}

}  // namespace orvo::guidance
