#pragma once
// The rules of "phraselogy.ini" that rewrite an instruction before it is spoken: each line
// "from=to" makes every occurrence of `from` (any case, anywhere, even inside a word) read as `to`.
// The rules run in file order, each on the output of the ones before it.
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::guidance {

struct AbbreviationList {
  // Parallel lists, one entry per rule, in file order.
  std::vector<std::string> AbbrevFrom;
  std::vector<std::string> AbbrevTo;

  std::size_t AbbrevCount() const { return AbbrevFrom.size(); }

  // Reads the file whole as bytes and splits it at each CR LF pair (a file with bare line feeds is
  // one line). "#" at the start of a line makes it a comment; a line without "=" is ignored; fields
  // after the second are ignored; both fields lose their surrounding blanks, and an empty right
  // side becomes a single blank. A file that cannot be read leaves the list empty; the reason
  // goes to `diagnostics` (a missing file is normal and not reported).
  void Load(const std::filesystem::path& file,
            const std::function<void(std::string_view)>& diagnostics = {});

  // One blank is put in front of the text first, so that a rule may match at its very start.
  std::string Apply(std::string_view text) const;
};

// Every occurrence of `from`, compared without regard to ASCII case, replaced by `to`, scanning
// from the start and going on after each replacement. An empty `from` changes nothing.
std::string ReplaceIgnoringCase(std::string_view text, std::string_view from, std::string_view to);

}  // namespace orvo::guidance
