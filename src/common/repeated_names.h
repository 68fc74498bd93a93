// Finding the first pair of field names that differ only in letter case, without comparing every
// pair. Names are folded byte by byte as strncasecmp folds them (the C library's tolower, so the
// answer follows the process's locale as strncasecmp's does), and each folded name is looked up
// among those already seen.
#ifndef VELMORA_COMMON_REPEATED_NAMES_H_
#define VELMORA_COMMON_REPEATED_NAMES_H_

#include <cstddef>
#include <vector>

// Where a row-by-row walk over the names stops. Row i first asks whether name i is empty, then
// compares it with every later name in order; the walk ends at the first empty name or repeat.
struct RepeatedNameVerdict {
  int stop = -1;    // the row the walk ends on; -1 when it passes every row
  int repeat = -1;  // the first later name equal to the stop row's; -1 when that name is empty
};

// The verdict of walking the first `rows` rows over `names` (rows at most names.size()); each
// walked row is compared with every later name, walked or not. Linear in the names' bytes.
RepeatedNameVerdict FindFirstRepeatedName(const std::vector<const char*>& names, size_t rows);

#endif  // VELMORA_COMMON_REPEATED_NAMES_H_
