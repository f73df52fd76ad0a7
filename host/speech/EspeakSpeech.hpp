#pragma once
// Speech by espeak-ng, synthesized on a worker thread of its own. espeak-ng keeps global state, so
// every call into it is made on that thread, under a lock shared by all engines of the process.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "host/speech/Speech.hpp"

namespace orvo::host::speech {

class EspeakSpeech final : public SpeechEngine {
 public:
  // Hands a finished request's `done` call to the thread that owns the caller's state (for the
  // program: a post to the event loop). Called from the worker thread, so it must be thread-safe.
  using Deliver = std::function<void(std::function<void()>)>;

  // Starts espeak-ng and reads its voices, espeak-ng's English voice first (the instructions are
  // English, and a fresh user speaks with voice 0); throws std::runtime_error when espeak-ng cannot
  // start (no data folder).
  explicit EspeakSpeech(Deliver deliver);
  // Cuts off the speech under way; every request not yet answered is answered Cancelled.
  ~EspeakSpeech() override;
  EspeakSpeech(const EspeakSpeech&) = delete;
  EspeakSpeech& operator=(const EspeakSpeech&) = delete;

  const std::vector<Voice>& GetVoices() const override { return voices_; }
  std::uint64_t Speak(std::string text, std::size_t voiceIndex, Done done) override;
  void Cancel() override;

  // espeak-ng's output format.
  int SampleRate() const { return sampleRate_; }

 private:
  struct Request {
    std::uint64_t id;
    std::string text;
    std::size_t voiceIndex;
    Done done;
  };

  void Run();
  Speech Synthesize(const Request& request);
  void Finish(Done done, Speech speech);

  Deliver deliver_;
  std::vector<Voice> voices_;
  int sampleRate_ = 0;

  // The number of the request that may go on, read by the synthesis callback (older ones stop)
  // and by a result's delivery, which may run after the engine is gone.
  std::shared_ptr<std::atomic<std::uint64_t>> newest_ =
      std::make_shared<std::atomic<std::uint64_t>>(0);

  std::mutex mutex_;
  std::condition_variable wake_;
  std::optional<Request> waiting_;  // only the newest request waits
  std::uint64_t lastId_ = 0;
  bool stopping_ = false;
  std::thread worker_;
};

// The bytes of a WAV file: 16-bit signed PCM, one channel.
std::string WavFile(const std::vector<std::int16_t>& samples, int sampleRate);

}  // namespace orvo::host::speech
