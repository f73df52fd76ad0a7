#include "host/ui/PageDialogs.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/platform/Files.hpp"
#include "host/platform/Text.hpp"

namespace orvo::host::ui {
namespace {

namespace fs = std::filesystem;

std::string_view Trimmed(std::string_view text) {
  return platform::Trim(text, " \t");
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const auto at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

const char* ButtonsName(MsgBoxButtons buttons) {
  switch (buttons) {
    case MsgBoxButtons::OkOnly:
      return "okOnly";
    case MsgBoxButtons::OkCancel:
      return "okCancel";
    case MsgBoxButtons::YesNo:
      return "yesNo";
  }
  return "okOnly";
}

// The answers each kind of box can give, the cautious one first: it is also what Escape gives
// and what a question asked with nobody to answer takes.
std::vector<std::string> Results(std::string_view buttons) {
  if (buttons == "okCancel") return {"cancel", "ok"};
  if (buttons == "yesNo") return {"no", "yes"};
  return {"ok"};
}

MsgBoxResult ResultValue(std::string_view result) {
  if (result == "cancel") return MsgBoxResult::Cancel;
  if (result == "yes") return MsgBoxResult::Yes;
  if (result == "no") return MsgBoxResult::No;
  return MsgBoxResult::Ok;
}

Json CautiousAnswer(const Json& message) {
  if (message.at("kind") == "file") return Json{{"path", nullptr}};
  return Json{{"result", Results(message.at("buttons").get<std::string>()).front()}};
}

}  // namespace

std::vector<FileFilter> ParseFileFilter(std::string_view filter) {
  std::vector<FileFilter> filters;
  if (Trimmed(filter).empty()) return filters;
  const auto parts = Split(filter, '|');
  for (std::size_t i = 0; i + 1 < parts.size(); i += 2) {
    FileFilter entry{std::string(Trimmed(parts[i])), {}};
    for (const std::string_view pattern : Split(parts[i + 1], ';'))
      if (!Trimmed(pattern).empty()) entry.patterns.emplace_back(Trimmed(pattern));
    if (!entry.patterns.empty()) filters.push_back(std::move(entry));
  }
  return filters;
}

PageDialogs::PageDialogs(Scheduler& scheduler) : scheduler_(scheduler) {}

MsgBoxResult PageDialogs::ShowMessage(const MessageRequest& request) {
  const Json answer = Ask(Json{{"type", "modal"},
                               {"kind", "message"},
                               {"title", request.title},
                               {"prompt", request.prompt},
                               {"buttons", ButtonsName(request.buttons)},
                               {"escape", Results(ButtonsName(request.buttons)).front()}});
  return ResultValue(answer.at("result").get<std::string>());
}

std::optional<std::string> PageDialogs::ChooseFile(const FileRequest& request) {
  // The chooser opens in the folder of the initial path, with its name filled in.
  fs::path folder = platform::HomeFolder();
  std::string fileName;
  if (!request.initialPath.empty()) {
    const fs::path initial = fs::path(request.initialPath).lexically_normal();
    std::error_code error;
    if (initial.is_absolute() && fs::is_directory(initial, error)) {
      folder = initial;
    } else {
      fileName = initial.filename().string();
      if (initial.is_absolute() && fs::is_directory(initial.parent_path(), error))
        folder = initial.parent_path();
    }
  }
  Json filters = Json::array();
  for (const FileFilter& filter : ParseFileFilter(request.filter))
    filters.push_back(Json{{"name", filter.name}, {"patterns", filter.patterns}});
  const Json answer = Ask(Json{
      {"type", "modal"},
      {"kind", "file"},
      {"title", request.title.empty() ? (request.forSaving ? "Save As" : "Open") : request.title},
      {"filters", std::move(filters)},
      {"folder", folder.string()},
      {"fileName", fileName},
      {"forSaving", request.forSaving}});
  const Json& path = answer.at("path");
  if (path.is_null()) return std::nullopt;
  return path.get<std::string>();
}

Json PageDialogs::Ask(Json message) {
  const int id = nextId_++;
  message["id"] = id;
  if (unattended_) {
    Report("PageDialogs: answered without a page: " +
           message.value("prompt", message.value("title", "")));
    return CautiousAnswer(message);
  }
  Question& question = questions_[id];
  question.message = message;
  Publish(message);
  // Whatever ends the wait (an answer, or the loop stopping under us), the question goes.
  struct Forget {
    PageDialogs& dialogs;
    int id;
    ~Forget() {
      const bool answered = dialogs.questions_.at(id).answer.has_value();
      dialogs.questions_.erase(id);
      if (!answered) dialogs.Publish(Json{{"type", "modalclose"}, {"id", id}});
    }
  } forget{*this, id};
  scheduler_.RunUntil([&question] { return question.answer.has_value(); });
  return *question.answer;
}

void PageDialogs::Answer(int id, Json answer) {
  questions_.at(id).answer = std::move(answer);
  // Closed in every page at once, even while a question asked later still waits.
  Publish(Json{{"type", "modalclose"}, {"id", id}});
}

bool PageDialogs::HandleEvent(const Json& event) {
  if (!event.is_object() || event.value("type", "") != "answer") return false;
  const auto id = event.find("id");
  if (id == event.end() || !id->is_number_integer()) {
    Report("PageDialogs: an answer without a question number was ignored");
    return true;
  }
  const auto found = questions_.find(id->get<int>());
  if (found == questions_.end() || found->second.answer) {
    // Two pages answering at once: the first one counts.
    Report("PageDialogs: an answer to a question that is no longer open was ignored");
    return true;
  }
  const Json& message = found->second.message;
  if (message.at("kind") == "file") {
    const auto path = event.find("path");
    if (path != event.end() && path->is_null()) {
      Answer(found->first, Json{{"path", nullptr}});
    } else if (path != event.end() && path->is_string() &&
               std::filesystem::path(path->get<std::string>()).is_absolute()) {
      Answer(found->first,
             Json{{"path",
                   std::filesystem::path(path->get<std::string>()).lexically_normal().string()}});
    } else {
      Report("PageDialogs: a file chooser answer without a full path was ignored");
    }
    return true;
  }
  const std::string result = event.value("result", "");
  const auto allowed = Results(message.at("buttons").get<std::string>());
  if (std::find(allowed.begin(), allowed.end(), result) == allowed.end()) {
    Report("PageDialogs: the answer \"" + result + "\" does not fit the message box");
    return true;
  }
  Answer(found->first, Json{{"result", result}});
  return true;
}

void PageDialogs::AddToSnapshot(Json& snapshot) const {
  Json modals = Json::array();
  for (const auto& [id, question] : questions_)
    if (!question.answer) modals.push_back(question.message);
  snapshot["modals"] = std::move(modals);
}

std::size_t PageDialogs::OpenCount() const {
  return static_cast<std::size_t>(
      std::count_if(questions_.begin(), questions_.end(),
                    [](const auto& entry) { return !entry.second.answer; }));
}

void PageDialogs::SetUnattended(bool unattended) {
  unattended_ = unattended;
  if (unattended) AnswerOpenCautiously();
}

void PageDialogs::AnswerOpenCautiously() {
  for (auto& [id, question] : questions_)
    if (!question.answer) Answer(id, CautiousAnswer(question.message));
}

void PageDialogs::Publish(const Json& message) const {
  if (publish_) publish_(message);
}

void PageDialogs::Report(std::string_view text) const {
  if (diagnostics) diagnostics(text);
}

}  // namespace orvo::host::ui
