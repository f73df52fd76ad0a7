#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "host/speech/EspeakSpeech.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::speech {
namespace {

using namespace std::chrono_literals;

// Results as the event loop would receive them: delivered in order, waited for by the test.
struct Results {
  EspeakSpeech::Deliver Deliver() {
    return [this](const std::function<void()>& work) {
      const std::lock_guard lock(mutex);
      work();
      changed.notify_all();
    };
  }
  SpeechEngine::Done Done() {
    return [this](const Speech& speech) { received.push_back(speech); };
  }
  const std::vector<Speech>& WaitFor(std::size_t count) {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, 60s, [&] { return received.size() >= count; });
    return received;
  }
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Speech> received;
};

std::uint32_t Little(const std::string& bytes, std::size_t at, int size) {
  std::uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i)
    value = (value << 8) | static_cast<unsigned char>(bytes.at(at + static_cast<std::size_t>(i)));
  return value;
}

struct Wav {
  std::uint32_t sampleRate = 0;
  double seconds = 0;
  double rms = 0;  // of full scale
};

// Reads the 16-bit mono samples after the header ORVO writes, checking that its sizes agree with
// the file's length (sox reads the rest of the header below).
Wav ReadWav(const std::string& bytes) {
  Wav wav;
  EXPECT_GE(bytes.size(), 44u);
  if (bytes.size() < 44) return wav;
  EXPECT_EQ(Little(bytes, 4, 4), bytes.size() - 8);
  wav.sampleRate = Little(bytes, 24, 4);
  const std::uint32_t dataBytes = Little(bytes, 40, 4);
  EXPECT_EQ(dataBytes, bytes.size() - 44);
  const std::size_t samples = dataBytes / 2;
  double sum = 0;
  for (std::size_t i = 0; i < samples; ++i) {
    const auto sample = static_cast<std::int16_t>(Little(bytes, 44 + 2 * i, 2));
    sum += static_cast<double>(sample) * sample;
  }
  wav.seconds = static_cast<double>(samples) / wav.sampleRate;
  wav.rms = samples > 0 ? std::sqrt(sum / static_cast<double>(samples)) / 32768 : 0;
  return wav;
}

std::vector<std::string> Identifiers(const SpeechEngine& engine) {
  std::vector<std::string> identifiers;
  for (const Voice& voice : engine.GetVoices()) identifiers.push_back(voice.identifier);
  return identifiers;
}

// A fresh user speaks with voice 0, and the instructions are English.
constexpr std::size_t kEnglish = 0;

TEST(EspeakSpeech, VoicesAreListedAlikeByEveryEngineEnglishFirstAndSpeak) {
  Results results;
  EspeakSpeech engine(results.Deliver());
  const auto& voices = engine.GetVoices();
  ASSERT_GT(voices.size(), 10u);
  EXPECT_EQ(voices[kEnglish].language, "en-gb");
  const auto identifiers = Identifiers(engine);
  EXPECT_EQ(std::set<std::string>(identifiers.begin(), identifiers.end()).size(), voices.size());
  EXPECT_EQ(Identifiers(EspeakSpeech(results.Deliver())), identifiers);

  // Voices of three families speak; a voice past the list fails with a reason.
  const std::size_t tried[] = {0, voices.size() / 2, voices.size() - 1, voices.size()};
  for (std::size_t n = 0; n < std::size(tried); ++n) {
    engine.Speak("Bonjour, hello", tried[n], results.Done());
    const auto& received = results.WaitFor(n + 1);
    ASSERT_EQ(received.size(), n + 1);
    if (tried[n] < voices.size()) {
      EXPECT_EQ(received[n].outcome, Speech::Outcome::Spoken)
          << voices[tried[n]].name << received[n].error;
      EXPECT_GT(ReadWav(received[n].wav).seconds, 0.3) << voices[tried[n]].name;
    } else {
      EXPECT_EQ(received[n].outcome, Speech::Outcome::Failed);
      EXPECT_EQ(received[n].error, "no voice " + std::to_string(voices.size()) + " (there are " +
                                       std::to_string(voices.size()) + ")");
    }
  }
}

TEST(EspeakSpeech, AnInstructionBecomesAWavOfPlausibleLengthAsSoxMeasuresIt) {
  Results results;
  EspeakSpeech engine(results.Deliver());
  const std::uint64_t id =
      engine.Speak("Turn left onto Boulevard Albert premier", kEnglish, results.Done());
  const auto& received = results.WaitFor(1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].request, id);
  ASSERT_EQ(received[0].outcome, Speech::Outcome::Spoken) << received[0].error;
  const Wav wav = ReadWav(received[0].wav);
  EXPECT_EQ(wav.sampleRate, static_cast<std::uint32_t>(engine.SampleRate()));
  // Six words at espeak-ng's 175 words a minute, with its pauses: about two seconds.
  EXPECT_GT(wav.seconds, 1.2);
  EXPECT_LT(wav.seconds, 4.5);
  EXPECT_GT(wav.rms, 0.02) << "speech, not silence";

  orvo::testing::TempFolder folder;
  const auto file = folder.Path() / "instruction.wav";
  std::ofstream(file, std::ios::binary) << received[0].wav;
  FILE* sox = popen(("sox --i -D " + orvo::testing::ShellQuote(file.string())).c_str(), "r");
  ASSERT_NE(sox, nullptr);
  char line[64] = {};
  const bool read = fgets(line, sizeof line, sox) != nullptr;
  pclose(sox);
  ASSERT_TRUE(read) << "sox cannot read the WAV";
  EXPECT_NEAR(std::stod(line), wav.seconds, 0.001);
}

TEST(EspeakSpeech, ANewRequestOrCancelCutsOffTheSpeechUnderWay) {
  std::string lecture;
  for (int i = 0; i < 200; ++i) lecture += "Continue along the Boulevard du Jardin Exotique. ";
  Results results;
  EspeakSpeech engine(results.Deliver());

  const std::uint64_t first = engine.Speak(lecture, kEnglish, results.Done());
  std::this_thread::sleep_for(100ms);  // under way, not just waiting
  const std::uint64_t second = engine.Speak(lecture, kEnglish, results.Done());
  const std::uint64_t third = engine.Speak(lecture, kEnglish, results.Done());
  std::this_thread::sleep_for(100ms);
  engine.Cancel();
  const auto& received = results.WaitFor(3);
  ASSERT_EQ(received.size(), 3u);
  std::vector<std::uint64_t> cancelled;
  for (const Speech& speech : received) {
    EXPECT_EQ(speech.outcome, Speech::Outcome::Cancelled) << speech.request;
    EXPECT_TRUE(speech.wav.empty());
    cancelled.push_back(speech.request);
  }
  std::sort(cancelled.begin(), cancelled.end());
  EXPECT_EQ(cancelled, (std::vector<std::uint64_t>{first, second, third}));

  // The engine goes on speaking after a cut-off.
  engine.Speak("Arrive", kEnglish, results.Done());
  ASSERT_EQ(results.WaitFor(4).size(), 4u);
  EXPECT_EQ(results.received[3].outcome, Speech::Outcome::Spoken);

  // An engine going away answers what it was speaking and what was waiting.
  {
    EspeakSpeech leaving(results.Deliver());
    leaving.Speak(lecture, kEnglish, results.Done());
    std::this_thread::sleep_for(100ms);
    leaving.Speak(lecture, kEnglish, results.Done());
  }
  ASSERT_EQ(results.WaitFor(6).size(), 6u);
  EXPECT_EQ(results.received[4].outcome, Speech::Outcome::Cancelled);
  EXPECT_EQ(results.received[5].outcome, Speech::Outcome::Cancelled);
}

}  // namespace
}  // namespace orvo::host::speech
