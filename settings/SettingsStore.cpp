#include "settings/SettingsStore.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "host/platform/Files.hpp"
#include "host/platform/Text.hpp"

namespace orvo::settings {
namespace {

// Sections and keys are found without regard to ASCII case; keys, section names and Booleans
// are trimmed of white space, values never (a value may begin or end with spaces).
using host::platform::EqualsIgnoringAsciiCase;
using host::platform::Trim;

// Values may hold any text; line ends and backslashes are escaped so a value stays one line.
std::string Escape(std::string_view value) {
  std::string escaped;
  for (const char c : value) {
    if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\r') {
      escaped += "\\r";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string Unescape(std::string_view text) {
  std::string value;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      value += text[i];
      continue;
    }
    const char next = text[++i];
    value += next == 'n' ? '\n' : next == 'r' ? '\r' : next;
  }
  return value;
}

}  // namespace

SettingsStore::SettingsStore(std::filesystem::path file,
                             std::function<void(std::string_view)> diagnostics)
    : file_(std::move(file)), diagnostics_(std::move(diagnostics)) {
  Load();
}

void SettingsStore::Report(const std::string& text) const {
  if (diagnostics_) diagnostics_(text);
}

void SettingsStore::Load() {
  std::ifstream in(file_, std::ios::binary);
  if (!in) return;
  sections_.clear();
  std::string line;
  int lineNumber = 0;
  while (std::getline(in, line)) {
    ++lineNumber;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string_view trimmed = Trim(line);
    if (trimmed.size() >= 2 && trimmed.front() == '[' && trimmed.back() == ']') {
      sections_.push_back(Section{std::string(trimmed.substr(1, trimmed.size() - 2)), {}});
      continue;
    }
    if (sections_.empty()) sections_.push_back(Section{"", {}});
    const auto equals = line.find('=');
    if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#' ||
        equals == std::string::npos || Trim(std::string_view(line).substr(0, equals)).empty()) {
      if (!trimmed.empty() && trimmed.front() != ';' && trimmed.front() != '#') {
        Report("Settings: line " + std::to_string(lineNumber) + " of " + file_.string() +
               " is not a setting; it is kept as it is");
      }
      sections_.back().entries.push_back(Entry{"", line});
      continue;
    }
    sections_.back().entries.push_back(
        Entry{std::string(Trim(std::string_view(line).substr(0, equals))),
              Unescape(std::string_view(line).substr(equals + 1))});
  }
}

SettingsStore::Section* SettingsStore::FindSection(std::string_view name) {
  const auto found = std::find_if(sections_.begin(), sections_.end(), [name](const Section& s) {
    return EqualsIgnoringAsciiCase(s.name, name);
  });
  return found == sections_.end() ? nullptr : &*found;
}

const SettingsStore::Section* SettingsStore::FindSection(std::string_view name) const {
  return const_cast<SettingsStore*>(this)->FindSection(name);
}

std::optional<std::string> SettingsStore::Find(std::string_view section,
                                               std::string_view key) const {
  const Section* found = FindSection(section);
  if (found == nullptr) return std::nullopt;
  for (const Entry& entry : found->entries)
    if (!entry.key.empty() && EqualsIgnoringAsciiCase(entry.key, key)) return entry.value;
  return std::nullopt;
}

std::string SettingsStore::GetSetting(std::string_view section, std::string_view key,
                                      std::string_view defaultValue) const {
  return Find(section, key).value_or(std::string(defaultValue));
}

void SettingsStore::SaveSetting(std::string_view section, std::string_view key,
                                std::string_view value) {
  Section* target = FindSection(section);
  if (target == nullptr) {
    sections_.push_back(Section{std::string(section), {}});
    target = &sections_.back();
  }
  for (Entry& entry : target->entries) {
    if (entry.key.empty() || !EqualsIgnoringAsciiCase(entry.key, key)) continue;
    if (entry.value == value) return;
    entry.value = value;
    return Changed();
  }
  target->entries.push_back(Entry{std::string(key), std::string(value)});
  Changed();
}

void SettingsStore::DeleteSetting(std::string_view section, std::string_view key) {
  Section* target = FindSection(section);
  if (target == nullptr) return;
  const auto before = target->entries.size();
  std::erase_if(target->entries, [key](const Entry& entry) {
    return !entry.key.empty() && EqualsIgnoringAsciiCase(entry.key, key);
  });
  if (target->entries.size() != before) Changed();
}

void SettingsStore::Changed() {
  dirty_ = true;
  if (batchDepth_ == 0) Write();
}

void SettingsStore::Write() {
  dirty_ = false;
  std::ostringstream text;
  for (const Section& section : sections_) {
    if (!section.name.empty()) text << '[' << section.name << "]\n";
    for (const Entry& entry : section.entries) {
      if (entry.key.empty()) {
        text << entry.value << '\n';
      } else {
        text << entry.key << '=' << Escape(entry.value) << '\n';
      }
    }
  }
  host::platform::WriteFileAtomically(file_, text.str());
}

SettingsStore::Batch::Batch(SettingsStore& store) : store_(store) {
  ++store_.batchDepth_;
}

SettingsStore::Batch::~Batch() {
  if (--store_.batchDepth_ > 0 || !store_.dirty_) return;
  try {
    store_.Write();
  } catch (const std::exception& error) {
    store_.Report(std::string("Settings: ") + error.what());
  }
}

std::string BooleanText(bool value) {
  return value ? "True" : "False";
}

std::optional<bool> ParseBoolean(std::string_view text) {
  const std::string_view trimmed = Trim(text);
  if (EqualsIgnoringAsciiCase(trimmed, "true")) return true;
  if (EqualsIgnoringAsciiCase(trimmed, "false")) return false;
  // As the old conversion did: any number that is not zero is true.
  if (!trimmed.empty() && trimmed.find_first_not_of("+-0123456789.") == std::string_view::npos) {
    try {
      return std::stod(std::string(trimmed)) != 0.0;
    } catch (const std::exception&) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace orvo::settings
