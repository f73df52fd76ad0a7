#pragma once
// Text-to-speech as the guidance window asks for it: a list of voices, and an instruction spoken
// with one of them. The audio comes back as the bytes of a WAV file, which the page plays. Only
// the newest request counts: a new one cuts off the one before it, which then reports
// `Outcome::Cancelled` (so a guidance window never speaks an instruction it has moved past).
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvo::host::speech {

struct Voice {
  std::string name;        // shown in the options dialog ("English (Great Britain)")
  std::string identifier;  // the engine's own name for it ("gmw/en")
  std::string language;    // its first language ("en-gb")
};

struct Speech {
  enum class Outcome { Spoken, Cancelled, Failed };

  std::uint64_t request = 0;  // as returned by Speak
  Outcome outcome = Outcome::Failed;
  std::string wav;    // a whole WAV file when spoken; empty otherwise
  std::string error;  // why, when failed
};

class SpeechEngine {
 public:
  using Done = std::function<void(const Speech&)>;

  virtual ~SpeechEngine() = default;

  // The same list, in the same order, for the life of the engine: settings keep an index into it.
  virtual const std::vector<Voice>& GetVoices() const = 0;

  // Speaks `text` with the voice at `voiceIndex` in the background and returns the request's
  // number; `done` is called once with the result, on the thread the engine delivers to. A voice
  // index outside the list fails the request.
  virtual std::uint64_t Speak(std::string text, std::size_t voiceIndex, Done done) = 0;

  // Cuts off whatever is being spoken or waiting to be.
  virtual void Cancel() = 0;
};

}  // namespace orvo::host::speech
