#include "common/repeated_names.h"

#include <cctype>
#include <cstdint>
#include <string_view>

#include "base/name_hash.h"
#include "base/name_table.h"

namespace {

// tolower of every byte, as the C library answers it now, looked up instead of called for each
// byte of each name.
struct FoldTable {
  FoldTable() {
    for (int c = 0; c < 256; ++c) bytes[c] = static_cast<unsigned char>(std::tolower(c));
  }
  unsigned char bytes[256];
};

// The folded bytes, hashed with the process's key.
struct FoldedHash {
  const FoldTable* fold;
  size_t operator()(std::string_view name) const {
    return static_cast<size_t>(
        KeyedHash(name, [this](unsigned char c) { return uint64_t{fold->bytes[c]}; }));
  }
};

// Equal lengths and equal folded bytes: what strncasecmp over the first name's length answers
// for two names of the same length.
struct FoldedEqual {
  const FoldTable* fold;
  bool operator()(std::string_view a, std::string_view b) const {
    if (a.size() != b.size()) return false;
    for (size_t k = 0; k < a.size(); ++k) {
      if (fold->bytes[static_cast<unsigned char>(a[k])] !=
          fold->bytes[static_cast<unsigned char>(b[k])]) {
        return false;
      }
    }
    return true;
  }
};

}  // namespace

RepeatedNameVerdict FindFirstRepeatedName(const std::vector<const char*>& names, size_t rows) {
  RepeatedNameVerdict verdict;
  int first_empty = -1;
  for (size_t i = 0; i < rows && first_empty < 0; ++i) {
    if (names[i][0] == '\0') first_empty = static_cast<int>(i);
  }
  // Names are seen in order, so the first repeat found of an earlier name is its nearest one; of
  // all repeated earlier names, the walk meets the one of the lowest row first. The table holds
  // positions in names, not copies of them.
  const FoldTable fold;
  const auto name_of = [&names](size_t position) { return std::string_view(names[position]); };
  NameIndex<FoldedHash, FoldedEqual> first_seen(FoldedHash{&fold}, FoldedEqual{&fold});
  first_seen.Reserve(names.size(), name_of);
  for (size_t j = 0; j < names.size(); ++j) {
    const size_t earlier = first_seen.Add(j, name_of);
    if (earlier == j) continue;
    if (earlier < rows && (verdict.stop < 0 || static_cast<int>(earlier) < verdict.stop)) {
      verdict.stop = static_cast<int>(earlier);
      verdict.repeat = static_cast<int>(j);
    }
  }
  // An empty name ends the walk on its own row, before that row's comparisons.
  if (first_empty >= 0 && (verdict.stop < 0 || first_empty <= verdict.stop)) {
    verdict.stop = first_empty;
    verdict.repeat = -1;
  }
  return verdict;
}
