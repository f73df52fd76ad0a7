#include "guidance/AbbreviationList.hpp"

#include <fstream>
#include <iterator>
#include <system_error>

#include "host/platform/Text.hpp"

namespace orvo::guidance {
namespace {

// Blanks only, as the file has always been read: a tab around a field is part of it.
constexpr std::string_view kBlank = " ";

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  for (std::size_t at = text.find(separator); at != std::string_view::npos;
       at = text.find(separator, start)) {
    parts.push_back(text.substr(start, at - start));
    start = at + separator.size();
  }
  parts.push_back(text.substr(start));
  return parts;
}

}  // namespace

void AbbreviationList::Load(const std::filesystem::path& file,
                            const std::function<void(std::string_view)>& diagnostics) {
  AbbrevFrom.clear();
  AbbrevTo.clear();
  const auto report = [&](const std::string& why) {
    if (diagnostics) diagnostics("LoadAbbreviations: " + file.string() + ": " + why);
  };
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return;
  if (std::filesystem::is_directory(file, error)) return report("is a folder");
  std::ifstream in(file, std::ios::binary);
  if (!in) return report("cannot be read");
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return report("read error");
  if (bytes.empty()) return;

  for (const std::string_view line : Split(bytes, "\r\n")) {
    if (!line.empty() && line.front() == '#') continue;
    const auto fields = Split(line, "=");
    if (fields.size() < 2) continue;
    const std::string_view to = host::platform::Trim(fields[1], kBlank);
    AbbrevFrom.emplace_back(host::platform::Trim(fields[0], kBlank));
    // An empty right side reads the abbreviation as a pause; a field of blanks trims to nothing
    // but was not empty, so it stays empty.
    AbbrevTo.emplace_back(fields[1].empty() ? std::string_view(" ") : to);
  }
}

std::string AbbreviationList::Apply(std::string_view text) const {
  std::string result = " ";
  result += text;
  for (std::size_t rule = 0; rule < AbbrevCount(); ++rule)
    result = ReplaceIgnoringCase(result, AbbrevFrom[rule], AbbrevTo[rule]);
  return result;
}

std::string ReplaceIgnoringCase(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty() || from.size() > text.size()) return std::string(text);
  const std::string lowerText = host::platform::ToLowerAscii(text);
  const std::string lowerFrom = host::platform::ToLowerAscii(from);
  std::string result;
  std::size_t start = 0;
  for (std::size_t at = lowerText.find(lowerFrom); at != std::string::npos;
       at = lowerText.find(lowerFrom, start)) {
    result.append(text, start, at - start);
    result += to;
    start = at + from.size();
  }
  result.append(text, start);
  return result;
}

}  // namespace orvo::guidance
