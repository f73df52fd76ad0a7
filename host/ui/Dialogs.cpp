#include "host/ui/Dialogs.hpp"

namespace orvo::host::ui {

MsgBoxResult ScriptedDialogs::ShowMessage(const MessageRequest& request) {
  messages_.push_back(request);
  if (!answers_.empty()) {
    const MsgBoxResult answer = answers_.front();
    answers_.pop_front();
    return answer;
  }
  // Unscripted questions take the cautious answer.
  switch (request.buttons) {
    case MsgBoxButtons::OkOnly:
      return MsgBoxResult::Ok;
    case MsgBoxButtons::OkCancel:
      return MsgBoxResult::Cancel;
    case MsgBoxButtons::YesNo:
      return MsgBoxResult::No;
  }
  return MsgBoxResult::Ok;
}

std::optional<std::string> ScriptedDialogs::ChooseFile(const FileRequest& request) {
  fileRequests_.push_back(request);
  if (files_.empty()) return std::nullopt;
  auto path = files_.front();
  files_.pop_front();
  return path;
}

std::vector<std::string> ScriptedDialogs::Prompts() const {
  std::vector<std::string> prompts;
  for (const auto& message : messages_) prompts.push_back(message.prompt);
  return prompts;
}

}  // namespace orvo::host::ui
