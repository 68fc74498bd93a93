// The priority bounds of a log category, read the same way by the log library and by the checker,
// which tests them inline so that a refused line costs no call into the library.
#ifndef VELMORA_LOG_WLOG_BOUNDS_H_
#define VELMORA_LOG_WLOG_BOUNDS_H_

#include <velmora/wlog.h>

// True when high bound <= priority <= low bound; a NULL bound, or a low bound of -1, does not
// restrict.
inline bool WlogWithinBounds(const tagWLogCategoryInst& category, int priority) {
  if (category.piPriorityLow != nullptr && *category.piPriorityLow != WLOG_PRIORITY_NULL &&
      *category.piPriorityLow < priority) {
    return false;
  }
  return category.piPriorityHigh == nullptr || *category.piPriorityHigh <= priority;
}

#endif  // VELMORA_LOG_WLOG_BOUNDS_H_
