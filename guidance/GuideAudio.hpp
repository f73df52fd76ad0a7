#pragma once
// How the guidance window's sounds, pictures and speech reach the page, which plays and shows
// them: files of the data folder by their /data/ address, the user's own files through the
// bridge's /userfile route, and speech as a WAV file carried in the message itself.
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/speech/Speech.hpp"
#include "host/ui/Control.hpp"

namespace orvo::host::ui {
class Desktop;
}

namespace orvo::guidance {

// The address the page fetches FILE from.
std::string SoundAddress(const std::filesystem::path& dataFolder, const std::string& file);
// What an Image's picture property holds for FILE: the path below the data folder, or the full
// path of a file elsewhere (the page asks /userfile for it).
std::string PictureValue(const std::filesystem::path& dataFolder, const std::string& file);

// {"type":"sound","sounds":[address, ...]}: the page plays them one after the other, and beeps
// for each one it cannot play.
host::ui::Json SoundMessage(std::vector<std::string> addresses);
// {"type":"speech","wav":BASE64}: the page plays it, cutting off the speech before; without
// WAV the page only stops the speech playing.
host::ui::Json SpeechMessage(std::string_view wav);

std::string Base64(std::string_view bytes);

// Stops the speech the page is playing, has SPEECH say TEXT with the voice at VOICE, and sends
// the audio to the page if WANTED still says yes when it is ready.
void SpeakOnPage(host::speech::SpeechEngine& speech, host::ui::Desktop& desktop,
                 const std::string& text, std::size_t voice, std::function<bool()> wanted);

}  // namespace orvo::guidance
