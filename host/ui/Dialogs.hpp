#pragma once
// Message boxes and the file chooser. The page answers them; tests script them.
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace orvo::host::ui {

enum class MsgBoxButtons { OkOnly, OkCancel, YesNo };
enum class MsgBoxResult { Ok, Cancel, Yes, No };

inline constexpr const char* kDefaultTitle = "ORVO";

struct MessageRequest {
  std::string prompt;
  MsgBoxButtons buttons = MsgBoxButtons::OkOnly;
  std::string title = kDefaultTitle;
};

struct FileRequest {
  std::string title;
  // "Name (*.ext)|*.ext|All (*.*)|*.*", shown as the chooser's filter list.
  std::string filter;
  std::string initialPath;
  bool forSaving = false;
};

class DialogService {
 public:
  virtual ~DialogService() = default;
  // Modal: returns when the user has answered.
  virtual MsgBoxResult ShowMessage(const MessageRequest& request) = 0;
  // Modal: the chosen path, or nothing when cancelled.
  virtual std::optional<std::string> ChooseFile(const FileRequest& request) = 0;
};

// Answers from a script, and remembers what was asked: for tests and for running without a page.
class ScriptedDialogs final : public DialogService {
 public:
  MsgBoxResult ShowMessage(const MessageRequest& request) override;
  std::optional<std::string> ChooseFile(const FileRequest& request) override;

  void QueueAnswer(MsgBoxResult answer) { answers_.push_back(answer); }
  void QueueFile(std::optional<std::string> path) { files_.push_back(std::move(path)); }

  const std::vector<MessageRequest>& Messages() const { return messages_; }
  const std::vector<FileRequest>& FileRequests() const { return fileRequests_; }
  std::vector<std::string> Prompts() const;
  void Forget() {
    messages_.clear();
    fileRequests_.clear();
  }

 private:
  std::deque<MsgBoxResult> answers_;
  std::deque<std::optional<std::string>> files_;
  std::vector<MessageRequest> messages_;
  std::vector<FileRequest> fileRequests_;
};

// For commands run without a page: questions are written to a stream and take the cautious
// answer (OK, Cancel, No); no file is chosen.
class ConsoleDialogs final : public DialogService {
 public:
  ConsoleDialogs(std::ostream& out, std::string prefix) : out_(out), prefix_(std::move(prefix)) {}
  MsgBoxResult ShowMessage(const MessageRequest& request) override;
  std::optional<std::string> ChooseFile(const FileRequest& request) override;

 private:
  std::ostream& out_;
  std::string prefix_;
};

}  // namespace orvo::host::ui
