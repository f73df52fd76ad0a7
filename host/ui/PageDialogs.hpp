#pragma once
// Message boxes and the file chooser shown in the pages. A question goes to every page as a
// {"type":"modal"} message and stays open until one page answers it; then every page closes it.
// The core waits by running the event loop (Scheduler::RunUntil), so serial input, timers and
// the pages themselves go on meanwhile, and a question asked during that wait (a timer's message
// box) stacks on top of the first.
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/ui/Control.hpp"
#include "host/ui/Dialogs.hpp"
#include "host/ui/Scheduler.hpp"

namespace orvo::host::ui {

// One entry of a chooser's filter list: "NMEA (*.nmea)" with its patterns.
struct FileFilter {
  std::string name;
  std::vector<std::string> patterns;
};

// "NMEA (*.nmea)|*.nmea|Text (*.txt)| *.txt" as its entries; blanks around names and patterns
// are dropped, patterns are split at ';', and a name without patterns is left out.
std::vector<FileFilter> ParseFileFilter(std::string_view filter);

class PageDialogs final : public DialogService {
 public:
  explicit PageDialogs(Scheduler& scheduler);

  // How questions reach the pages (Desktop::Publish once the desktop exists).
  void SetPublisher(std::function<void(const Json&)> publish) { publish_ = std::move(publish); }

  MsgBoxResult ShowMessage(const MessageRequest& request) override;
  std::optional<std::string> ChooseFile(const FileRequest& request) override;

  // A page's {"type":"answer","id":N,...}. Returns false for messages of other types; a wrong
  // answer (unknown question, a button the box does not have) is reported and ignored.
  bool HandleEvent(const Json& event);
  // Adds "modals": the open questions, oldest first, for a page that connects.
  void AddToSnapshot(Json& snapshot) const;
  std::size_t OpenCount() const;
  // Whether the core is inside a modal wait (answered questions whose wait has not returned yet
  // count too): nothing may be torn down under it.
  bool Waiting() const { return !questions_.empty(); }

  // For shutting down with nobody to ask: while set, questions take their cautious answer at
  // once (OK, Cancel, No; no file), and so do those already open.
  void SetUnattended(bool unattended);
  // Gives every open question its cautious answer now (the program is closing).
  void AnswerOpenCautiously();

  std::function<void(std::string_view)> diagnostics;

 private:
  struct Question {
    Json message;
    std::optional<Json> answer;
  };
  // Publishes the question, waits for its answer and closes it in every page.
  Json Ask(Json message);
  void Answer(int id, Json answer);
  void Publish(const Json& message) const;
  void Report(std::string_view text) const;

  Scheduler& scheduler_;
  std::function<void(const Json&)> publish_;
  int nextId_ = 1;
  bool unattended_ = false;
  std::map<int, Question> questions_;  // by id, so oldest first
};

}  // namespace orvo::host::ui
