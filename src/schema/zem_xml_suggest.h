// Close names for a misspelt one: the "did you mean" of loader warnings. A designer who writes
// primaryKey, customattr or colum gets the name the loader knows instead of a silent default.
#ifndef VELMORA_SCHEMA_ZEM_XML_SUGGEST_H_
#define VELMORA_SCHEMA_ZEM_XML_SUGGEST_H_

#include <cstddef>
#include <string>
#include <string_view>

// The known name that name most likely stands for, or nullptr. A known name equal to it but for
// ASCII letter case wins; otherwise the known name at the smallest edit distance (insertions,
// deletions, substitutions, swaps of neighbouring characters), when that distance is at most 2
// and less than a third of the known name's length. Ties go to the earlier known name. Known
// names are short, and a name whose length differs from a known one's by more than 2 is not
// compared with it, so the cost never grows with the length of name.
const char* ClosestKnownName(std::string_view name, const char* const* known, size_t known_count);

// "; did you mean 'X'?" for the closest known name, or "" when none is close.
std::string DidYouMean(std::string_view name, const char* const* known, size_t known_count);

#endif  // VELMORA_SCHEMA_ZEM_XML_SUGGEST_H_
