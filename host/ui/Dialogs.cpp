#include "host/ui/Dialogs.hpp"

namespace orvo::host::ui {
namespace {

MsgBoxResult CautiousAnswer(MsgBoxButtons buttons) {
  switch (buttons) {
    case MsgBoxButtons::OkOnly:
      return MsgBoxResult::Ok;
    case MsgBoxButtons::OkCancel:
      return MsgBoxResult::Cancel;
    case MsgBoxButtons::YesNo:
      return MsgBoxResult::No;
  }
  return MsgBoxResult::Ok;
}

}  // namespace

MsgBoxResult ScriptedDialogs::ShowMessage(const MessageRequest& request) {
  messages_.push_back(request);
  if (answers_.empty()) return CautiousAnswer(request.buttons);
  const MsgBoxResult answer = answers_.front();
  answers_.pop_front();
  return answer;
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

MsgBoxResult ConsoleDialogs::ShowMessage(const MessageRequest& request) {
  out_ << prefix_ << request.prompt << '\n';
  return CautiousAnswer(request.buttons);
}

std::optional<std::string> ConsoleDialogs::ChooseFile(const FileRequest&) {
  return std::nullopt;
}

}  // namespace orvo::host::ui
