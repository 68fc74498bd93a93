#include "schema/zem_xml_suggest.h"

#include <algorithm>
#include <cstring>

#include "base/ascii.h"

namespace {

// Farthest a misspelling may be from the name it stands for.
constexpr size_t MAX_DISTANCE = 2;
// Known names are all shorter than this; the distance rows live on the stack.
constexpr size_t MAX_KNOWN_LENGTH = 63;

bool EqualIgnoringCase(std::string_view name, std::string_view known) {
  if (name.size() != known.size()) return false;
  for (size_t i = 0; i < name.size(); ++i) {
    if (AsciiLower(name[i]) != AsciiLower(known[i])) return false;
  }
  return true;
}

// The edit distance of name and known, both at most MAX_KNOWN_LENGTH + MAX_DISTANCE long, with
// two neighbouring letters swapped counted as one edit: the commonest slip of typing.
size_t EditDistance(std::string_view name, std::string_view known) {
  size_t before[MAX_KNOWN_LENGTH + 1] = {};
  size_t previous[MAX_KNOWN_LENGTH + 1];
  size_t current[MAX_KNOWN_LENGTH + 1];
  for (size_t j = 0; j <= known.size(); ++j) previous[j] = j;
  for (size_t i = 1; i <= name.size(); ++i) {
    current[0] = i;
    for (size_t j = 1; j <= known.size(); ++j) {
      const size_t replace = previous[j - 1] + (name[i - 1] == known[j - 1] ? 0 : 1);
      current[j] = std::min({previous[j] + 1, current[j - 1] + 1, replace});
      if (i > 1 && j > 1 && name[i - 1] == known[j - 2] && name[i - 2] == known[j - 1]) {
        current[j] = std::min(current[j], before[j - 2] + 1);
      }
    }
    std::copy(previous, previous + known.size() + 1, before);
    std::copy(current, current + known.size() + 1, previous);
  }
  return previous[known.size()];
}

}  // namespace

const char* ClosestKnownName(std::string_view name, const char* const* known, size_t known_count) {
  for (size_t k = 0; k < known_count; ++k) {
    if (EqualIgnoringCase(name, known[k])) return known[k];
  }
  const char* closest = nullptr;
  size_t best = MAX_DISTANCE + 1;
  for (size_t k = 0; k < known_count; ++k) {
    const std::string_view candidate = known[k];
    const size_t longer = std::max(name.size(), candidate.size());
    const size_t shorter = std::min(name.size(), candidate.size());
    if (candidate.size() > MAX_KNOWN_LENGTH || longer - shorter > MAX_DISTANCE) continue;
    const size_t distance = EditDistance(name, candidate);
    if (distance < best && distance * 3 < candidate.size()) {
      best = distance;
      closest = known[k];
    }
  }
  return closest;
}

std::string DidYouMean(std::string_view name, const char* const* known, size_t known_count) {
  const char* closest = ClosestKnownName(name, known, known_count);
  if (closest == nullptr) return std::string();
  return std::string("; did you mean '") + closest + "'?";
}
