#include "common/repeated_names.h"

#include <cctype>
#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace {

unsigned char FoldByte(char c) {
  return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(c)));
}

// FNV-1a over the folded bytes.
struct FoldedHash {
  size_t operator()(std::string_view name) const {
    uint64_t hash = 14695981039346656037ULL;
    for (const char c : name) {
      hash ^= FoldByte(c);
      hash *= 1099511628211ULL;
    }
    return static_cast<size_t>(hash);
  }
};

// Equal lengths and equal folded bytes: what strncasecmp over the first name's length answers
// for two names of the same length.
struct FoldedEqual {
  bool operator()(std::string_view a, std::string_view b) const {
    if (a.size() != b.size()) return false;
    for (size_t k = 0; k < a.size(); ++k) {
      if (FoldByte(a[k]) != FoldByte(b[k])) return false;
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
  // all repeated earlier names, the walk meets the one of the lowest row first.
  std::unordered_map<std::string_view, int, FoldedHash, FoldedEqual> first_seen;
  first_seen.reserve(names.size());
  for (size_t j = 0; j < names.size(); ++j) {
    const auto inserted = first_seen.emplace(names[j], static_cast<int>(j));
    if (inserted.second) continue;
    const int earlier = inserted.first->second;
    if (static_cast<size_t>(earlier) < rows && (verdict.stop < 0 || earlier < verdict.stop)) {
      verdict.stop = earlier;
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
