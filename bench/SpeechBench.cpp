// From an announcement to speech ready to play: one instruction through espeak-ng to WAV bytes,
// request to delivery, as the guidance window asks for it.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>

#include "host/speech/EspeakSpeech.hpp"

namespace {

using orvo::host::speech::EspeakSpeech;
using orvo::host::speech::Speech;

void SpeakInstruction(benchmark::State& state) {
  std::mutex mutex;
  std::condition_variable done;
  bool ready = false;
  std::size_t audioBytes = 0;
  EspeakSpeech engine([&](const std::function<void()>& work) {
    const std::lock_guard lock(mutex);
    work();
    ready = true;
    done.notify_all();
  });
  std::size_t english = 0;
  for (std::size_t i = 0; i < engine.GetVoices().size(); ++i)
    if (engine.GetVoices()[i].language == "en") english = i;
  for (auto _ : state) {
    {
      const std::lock_guard lock(mutex);
      ready = false;
    }
    engine.Speak(" Turn left onto Boulevard Albert premier toward Monte-Carlo", english,
                 [&](const Speech& speech) { audioBytes = speech.wav.size(); });
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return ready; });
  }
  state.counters["audio_s"] = static_cast<double>(audioBytes - 44) / 2 / engine.SampleRate();
}
BENCHMARK(SpeakInstruction)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
