// Long names in the text report. A finding that quotes a name of thousands of bytes would push its
// reason and code off the screen, so the text report shows such a name shortened, with its length;
// JSON keeps every text exactly.
#ifndef VELMORA_CLI_SHORT_NAMES_H_
#define VELMORA_CLI_SHORT_NAMES_H_

#include <cstddef>
#include <cstring>
#include <string>
#include <unordered_set>

// Names up to this many bytes are shown whole.
constexpr size_t kShownNameBytes = 64;

namespace short_names_detail {

// Bytes of a long name that are shown.
constexpr size_t kShownHeadBytes = 48;

inline bool EndsName(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f' ||
         (c != '\0' && std::strchr("'\",:;=()[]{}<>|", c) != nullptr);
}

inline std::string Shortened(const std::string& name, size_t length) {
  size_t cut = kShownHeadBytes;
  // Cut at the start of a character, never inside one.
  while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
  return name.substr(0, cut) + "...(" + std::to_string(length) + " bytes)";
}

}  // namespace short_names_detail

// text with each long name it quotes shortened to its first bytes, "..." and its length in bytes:
// "aaaa...(10000 bytes)". The long names are table, the checked table's name, and names, those of
// the schema; a name is matched as a whole run of bytes between blanks, quotes and the punctuation
// messages put around names (,:;=()[]{}<>|). A run that begins the table's name and ends a message
// (cut short in the error buffer) is shown with the table name's length.
inline std::string ShortenLongNames(const std::string& text, const std::string& table,
                                    const std::unordered_set<std::string>& names) {
  std::string shown;
  shown.reserve(text.size());
  size_t at = 0;
  while (at < text.size()) {
    size_t end = at;
    while (end < text.size() && !short_names_detail::EndsName(text[end])) ++end;
    if (end == at) {
      shown += text[at++];
      continue;
    }
    const std::string run = text.substr(at, end - at);
    // A message cut at the end of the error buffer may end inside the table's name: the line goes
    // on with its code or ends there.
    const bool ends_message =
        end == text.size() || text[end] == '\n' || text.compare(end, 2, " [") == 0;
    if (run.size() > kShownNameBytes && (run == table || names.count(run) != 0)) {
      shown += short_names_detail::Shortened(run, run.size());
    } else if (run.size() > kShownNameBytes && ends_message && table.size() > run.size() &&
               table.compare(0, run.size(), run) == 0) {
      shown += short_names_detail::Shortened(run, table.size());
    } else {
      shown += run;
    }
    at = end;
  }
  return shown;
}

#endif  // VELMORA_CLI_SHORT_NAMES_H_
