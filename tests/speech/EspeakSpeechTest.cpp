#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

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

struct Wav {
  double samples = -1;
  std::uint32_t sampleRate = 0;
  double seconds = -1;
  double rms = -1;  // of full scale
};

// The WAV as sox measures it.
Wav Measure(const std::string& bytes) {
  const orvo::testing::TempFolder folder;
  const auto path = folder.Path() / "speech.wav";
  std::ofstream(path, std::ios::binary) << bytes;
  const std::string file = orvo::testing::ShellQuote(path.string());
  const std::string text = orvo::testing::RunCommand("sox --i -s " + file + " && sox --i -r " +
                                                     file + " && sox " + file + " -n stat 2>&1")
                               .out;
  Wav wav;
  std::istringstream(text) >> wav.samples >> wav.sampleRate;
  for (auto [label, value] :
       {std::pair{"Length (seconds):", &wav.seconds}, std::pair{"RMS     amplitude:", &wav.rms}})
    if (const auto at = text.find(label); at != std::string::npos)
      *value = std::stod(text.substr(at + std::strlen(label)));
  // The header's sample count agrees with the file's length: 44 bytes of header, 16-bit mono.
  EXPECT_EQ(wav.samples * 2 + 44, static_cast<double>(bytes.size())) << text;
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
      EXPECT_GT(Measure(received[n].wav).seconds, 0.3) << voices[tried[n]].name;
    } else {
      EXPECT_EQ(received[n].outcome, Speech::Outcome::Failed);
      EXPECT_EQ(received[n].error, "no voice " + std::to_string(voices.size()) + " (there are " +
                                       std::to_string(voices.size()) + ")");
    }
  }
}

TEST(EspeakSpeech, AnInstructionBecomesAWavOfPlausibleLength) {
  Results results;
  EspeakSpeech engine(results.Deliver());
  const std::uint64_t id =
      engine.Speak("Turn left onto Boulevard Albert premier", kEnglish, results.Done());
  const auto& received = results.WaitFor(1);
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].request, id);
  ASSERT_EQ(received[0].outcome, Speech::Outcome::Spoken) << received[0].error;
  const Wav wav = Measure(received[0].wav);
  EXPECT_EQ(wav.sampleRate, static_cast<std::uint32_t>(engine.SampleRate()));
  // Six words at espeak-ng's 175 words a minute, with its pauses: about two seconds.
  EXPECT_GT(wav.seconds, 1.2);
  EXPECT_LT(wav.seconds, 4.5);
  EXPECT_GT(wav.rms, 0.02) << "speech, not silence";
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

// Speech that finishes just before a newer request or a cancel reaches the loop after them: it
// must not play then.
TEST(EspeakSpeech, SpeechOvertakenOnItsWayToTheLoopIsNotPlayed) {
  std::mutex mutex;
  std::condition_variable queued;
  std::vector<std::function<void()>> loop;
  std::vector<Speech> received;
  EspeakSpeech engine([&](std::function<void()> work) {
    const std::lock_guard lock(mutex);
    loop.push_back(std::move(work));
    queued.notify_all();
  });
  const auto speakAndWait = [&](const char* text) {
    std::unique_lock lock(mutex);
    const std::size_t before = loop.size();
    lock.unlock();
    engine.Speak(text, kEnglish, [&](const Speech& speech) { received.push_back(speech); });
    lock.lock();
    queued.wait_for(lock, 60s, [&] { return loop.size() > before; });
  };
  const auto runLoop = [&] {
    const std::lock_guard lock(mutex);
    for (auto& work : std::exchange(loop, {})) work();
  };
  speakAndWait("Turn left");
  speakAndWait("Turn right");
  runLoop();
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].outcome, Speech::Outcome::Cancelled);
  EXPECT_TRUE(received[0].wav.empty());
  EXPECT_EQ(received[1].outcome, Speech::Outcome::Spoken);

  speakAndWait("Arrive");
  engine.Cancel();
  runLoop();
  ASSERT_EQ(received.size(), 3u);
  EXPECT_EQ(received[2].outcome, Speech::Outcome::Cancelled);
}

}  // namespace
}  // namespace orvo::host::speech
