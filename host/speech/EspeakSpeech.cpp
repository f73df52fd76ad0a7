#include "host/speech/EspeakSpeech.hpp"

#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace orvo::host::speech {
namespace {

// Audio comes back to the synthesis callback in pieces of this much; a cut-off takes effect at the
// next piece, and espeak-ng computes 100 ms of speech in well under that.
constexpr int kPieceMilliseconds = 100;

// espeak-ng is one engine per process with global state: one lock for every call into it.
std::mutex& EspeakLock() {
  static std::mutex lock;
  return lock;
}

// What the synthesis callback works on; set, under the lock, for the one synthesis under way.
struct Synthesis {
  std::vector<std::int16_t> samples;
  std::uint64_t id = 0;
  const std::atomic<std::uint64_t>* newest = nullptr;
  bool cutOff = false;
};
Synthesis* active = nullptr;

int OnAudio(short* wav, int count, espeak_EVENT* /*events*/) {
  if (active == nullptr) return 1;
  if (active->newest->load() != active->id) {
    active->cutOff = true;
    return 1;  // stop synthesizing
  }
  if (wav != nullptr && count > 0) active->samples.insert(active->samples.end(), wav, wav + count);
  return 0;
}

// Started once per process; the sample rate it reports, or the reason it failed.
int StartEspeak() {
  static const int sampleRate = [] {
    const int rate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, kPieceMilliseconds, nullptr,
                                       espeakINITIALIZE_DONT_EXIT);
    if (rate > 0) espeak_SetSynthCallback(OnAudio);
    return rate;
  }();
  return sampleRate;
}

void PutLittleEndian(std::string& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

std::string WavFile(const std::vector<std::int16_t>& samples, int sampleRate) {
  const auto dataBytes = static_cast<std::uint32_t>(samples.size() * 2);
  std::string bytes;
  bytes.reserve(44 + dataBytes);
  bytes += "RIFF";
  PutLittleEndian(bytes, 36 + dataBytes, 4);
  bytes += "WAVEfmt ";
  PutLittleEndian(bytes, 16, 4);  // format chunk size
  PutLittleEndian(bytes, 1, 2);   // PCM
  PutLittleEndian(bytes, 1, 2);   // channels
  PutLittleEndian(bytes, static_cast<std::uint32_t>(sampleRate), 4);
  PutLittleEndian(bytes, static_cast<std::uint32_t>(sampleRate) * 2, 4);  // bytes per second
  PutLittleEndian(bytes, 2, 2);                                           // bytes per frame
  PutLittleEndian(bytes, 16, 2);                                          // bits per sample
  bytes += "data";
  PutLittleEndian(bytes, dataBytes, 4);
  for (const std::int16_t sample : samples)
    PutLittleEndian(bytes, static_cast<std::uint16_t>(sample), 2);
  return bytes;
}

EspeakSpeech::EspeakSpeech(Deliver deliver) : deliver_(std::move(deliver)) {
  {
    const std::lock_guard lock(EspeakLock());
    sampleRate_ = StartEspeak();
    if (sampleRate_ <= 0)
      throw std::runtime_error("espeak-ng cannot start (is espeak-ng-data installed?)");
    for (const espeak_VOICE** voice = espeak_ListVoices(nullptr);
         voice != nullptr && *voice != nullptr; ++voice) {
      // `languages` is a list of (priority byte, name) pairs; the first names the main language.
      const char* languages = (*voice)->languages;
      voices_.push_back({(*voice)->name != nullptr ? (*voice)->name : "",
                         (*voice)->identifier != nullptr ? (*voice)->identifier : "",
                         languages != nullptr && languages[0] != '\0' ? languages + 1 : ""});
    }
    // The instructions are English, and a fresh user's voice is the first: espeak-ng's own
    // English voice goes first, the others follow in espeak-ng's order.
    const auto english = std::find_if(voices_.begin(), voices_.end(), [](const Voice& voice) {
      return voice.identifier == "gmw/en";
    });
    if (english != voices_.end()) std::rotate(voices_.begin(), english, english + 1);
  }
  worker_ = std::thread([this] { Run(); });
}

EspeakSpeech::~EspeakSpeech() {
  std::optional<Request> waiting;
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    waiting = std::exchange(waiting_, std::nullopt);
    *newest_ = 0;
  }
  wake_.notify_all();
  worker_.join();
  if (waiting) Finish(std::move(waiting->done), {waiting->id, Speech::Outcome::Cancelled, {}, {}});
}

std::uint64_t EspeakSpeech::Speak(std::string text, std::size_t voiceIndex, Done done) {
  std::optional<Request> replaced;
  std::uint64_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    id = ++lastId_;
    *newest_ = id;
    replaced = std::exchange(waiting_, Request{id, std::move(text), voiceIndex, std::move(done)});
  }
  wake_.notify_all();
  if (replaced)
    Finish(std::move(replaced->done), {replaced->id, Speech::Outcome::Cancelled, {}, {}});
  return id;
}

void EspeakSpeech::Cancel() {
  std::optional<Request> replaced;
  {
    const std::lock_guard lock(mutex_);
    *newest_ = 0;
    replaced = std::exchange(waiting_, std::nullopt);
  }
  if (replaced)
    Finish(std::move(replaced->done), {replaced->id, Speech::Outcome::Cancelled, {}, {}});
}

void EspeakSpeech::Run() {
  for (;;) {
    Request request;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || waiting_.has_value(); });
      if (stopping_) return;
      request = std::move(*waiting_);
      waiting_.reset();
    }
    Speech speech = Synthesize(request);
    Finish(std::move(request.done), std::move(speech));
  }
}

Speech EspeakSpeech::Synthesize(const Request& request) {
  Speech speech{request.id, Speech::Outcome::Failed, {}, {}};
  if (request.voiceIndex >= voices_.size()) {
    speech.error = "no voice " + std::to_string(request.voiceIndex) + " (there are " +
                   std::to_string(voices_.size()) + ")";
    return speech;
  }
  Synthesis synthesis;
  synthesis.id = request.id;
  synthesis.newest = newest_.get();
  {
    const std::lock_guard lock(EspeakLock());
    const Voice& voice = voices_[request.voiceIndex];
    if (espeak_SetVoiceByName(voice.identifier.c_str()) != EE_OK &&
        espeak_SetVoiceByName(voice.name.c_str()) != EE_OK) {
      speech.error = "espeak-ng cannot load the voice " + voice.name;
      return speech;
    }
    active = &synthesis;
    const espeak_ERROR result = espeak_Synth(request.text.c_str(), request.text.size() + 1, 0,
                                             POS_CHARACTER, 0, espeakCHARS_UTF8, nullptr, nullptr);
    active = nullptr;
    if (result != EE_OK && !synthesis.cutOff) {
      speech.error = "espeak-ng could not speak the text";
      return speech;
    }
  }
  if (synthesis.cutOff) {
    speech.outcome = Speech::Outcome::Cancelled;
    return speech;
  }
  speech.outcome = Speech::Outcome::Spoken;
  speech.wav = WavFile(synthesis.samples, sampleRate_);
  return speech;
}

void EspeakSpeech::Finish(Done done, Speech speech) {
  if (!done) return;
  // Speech finished just before a newer request or a cancel must not play after it: whether it
  // is still wanted is decided when it reaches the caller's thread.
  auto answer = [done = std::move(done), speech = std::move(speech),
                 newest = newest_]() mutable {
    if (speech.outcome == Speech::Outcome::Spoken && newest->load() != speech.request) {
      speech.outcome = Speech::Outcome::Cancelled;
      speech.wav.clear();
    }
    done(speech);
  };
  if (!deliver_) return answer();
  deliver_(std::move(answer));
}

}  // namespace orvo::host::speech
