#pragma once
// The guidance windows on a desktop with a stepped clock, scripted dialogs, a real settings
// file, and the real espeak-ng whose results come back to the test's own thread.
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "guidance/MMSetup.hpp"
#include "host/speech/EspeakSpeech.hpp"
#include "host/ui/Desktop.hpp"
#include "settings/SettingsStore.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::testing {

struct AudioMessages final : host::ui::UiObserver {
  void UiMessage(const host::ui::Json& message) override {
    const std::string type = message.value("type", "");
    if (type == "sound" || type == "speech") messages.push_back(message);
  }
  std::vector<host::ui::Json> messages;
};

// Finished speech waits here until the test runs it, as the event loop would.
struct SpeechDelivery {
  host::speech::EspeakSpeech::Deliver Deliver() {
    return [this](std::function<void()> work) {
      const std::lock_guard lock(mutex);
      waiting.push_back(std::move(work));
      changed.notify_all();
    };
  }
  // Runs COUNT deliveries, waiting for them as long as synthesis may take.
  void Run(std::size_t count) {
    for (std::size_t done = 0; done < count; ++done) {
      std::function<void()> work;
      {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, std::chrono::seconds(60), [&] { return !waiting.empty(); });
        if (waiting.empty()) return;
        work = std::move(waiting.front());
        waiting.pop_front();
      }
      work();
    }
  }
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> waiting;
};

struct GuideFixture {
  GuideFixture() { desktop.AddObserver(audio); }
  ~GuideFixture() { desktop.RemoveObserver(audio); }

  host::speech::EspeakSpeech& Speech() {
    if (!speech) speech = std::make_unique<host::speech::EspeakSpeech>(delivery.Deliver());
    return *speech;
  }

  TempFolder folder;
  host::ui::ManualScheduler scheduler;
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  AudioMessages audio;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  guidance::MMSetup setup{"/opt/orvo/data", {}};
  SpeechDelivery delivery;
  // Last: it goes first, answering what it still holds into the delivery above.
  std::unique_ptr<host::speech::EspeakSpeech> speech;
};

}  // namespace orvo::testing
