#pragma once
// ORVO's per-user settings: text values by section and key in one INI file
// ($XDG_CONFIG_HOME/ORVO/ORVO.ini). Every change is written through at once, crash-safe: a
// temporary file is written, flushed and renamed over the old one, so a crash leaves either the
// old or the new store, never half of one.
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::settings {

inline constexpr const char* kApplicationName = "ORVO";

class SettingsStore {
 public:
  // Reads the file if there is one. Lines that are neither a section nor a key are kept as they
  // are and reported: nothing of a damaged file is thrown away.
  explicit SettingsStore(std::filesystem::path file,
                         std::function<void(std::string_view)> diagnostics = {});

  // The stored text, or `defaultValue` when the key is absent. Sections and keys are found
  // without regard to case.
  std::string GetSetting(std::string_view section, std::string_view key,
                         std::string_view defaultValue) const;
  std::optional<std::string> Find(std::string_view section, std::string_view key) const;
  void SaveSetting(std::string_view section, std::string_view key, std::string_view value);
  void DeleteSetting(std::string_view section, std::string_view key);

  // Groups many saves into one write of the file (the unload saves every setting at once).
  class Batch {
   public:
    explicit Batch(SettingsStore& store);
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    SettingsStore& store_;
  };

  const std::filesystem::path& File() const { return file_; }

 private:
  struct Entry {
    std::string key;  // empty for a line kept as it was
    std::string value;
  };
  struct Section {
    std::string name;
    std::vector<Entry> entries;
  };

  void Load();
  void Write();
  void Changed();
  Section* FindSection(std::string_view name);
  const Section* FindSection(std::string_view name) const;
  void Report(const std::string& text) const;

  std::filesystem::path file_;
  std::function<void(std::string_view)> diagnostics_;
  std::vector<Section> sections_;
  int batchDepth_ = 0;
  bool dirty_ = false;
};

// "True"/"False" as the store keeps Booleans; reading also takes "true"/"false" and numbers.
std::string BooleanText(bool value);
std::optional<bool> ParseBoolean(std::string_view text);

}  // namespace orvo::settings
