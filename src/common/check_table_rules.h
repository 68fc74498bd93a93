// Rules shared by the CheckTable implementation files: table kinds, the characters of a name and
// the walk over a table's entries. Not for other users.
#ifndef VELMORA_COMMON_CHECK_TABLE_RULES_H_
#define VELMORA_COMMON_CHECK_TABLE_RULES_H_

#include <velmora/check_table_error.h>
#include <velmora/zem.h>

// Table kinds as callers pass them to the entry point and the key checks. The attribute check
// hands back the same codes for generic and list tables, and its own code for sorted lists.
constexpr int kGenericTable = 0;
constexpr int kListTable = 1;
constexpr int kSortedListTable = 2;

// Only generic and list tables; compared unsigned so that negative kinds fail too.
inline bool IsKnownTableKind(int table_type) {
  return static_cast<unsigned int>(table_type) <= static_cast<unsigned int>(kListTable);
}

// A table or field name is made of ASCII letters, digits and '_'. Bytes are taken as signed
// chars, so every byte of 0x80 or above (any non-ASCII text) is illegal.
inline bool IsNameChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

// Whether every byte of the name is a name character.
inline bool HasOnlyNameChars(const char* name) {
  for (; *name != '\0'; ++name) {
    if (!IsNameChar(*name)) return false;
  }
  return true;
}

inline bool StartsWithDigit(const char* name) { return name[0] >= '0' && name[0] <= '9'; }

inline bool IsPrimaryKeyEntry(LPZEMMETAENTRY pstEntry) {
  return (pstEntry->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY) != 0;
}

// Hands the table's entries from slot first on, in order, to visit(i, pstEntry), stopping at the
// first answer that is not CHECK_TABLE_SUCCESS. An empty slot ends the walk with
// on_empty_slot(i): an entry that cannot be read cannot be judged.
template <typename Visit, typename OnEmptySlot>
int ForEachEntryFrom(LPZEMMETA meta, int first, Visit&& visit, OnEmptySlot&& on_empty_slot) {
  const int entry_num = zem_get_entry_num(meta);
  for (int i = first; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) return on_empty_slot(i);
    const int ret = visit(i, pstEntry);
    if (ret != CHECK_TABLE_SUCCESS) return ret;
  }
  return CHECK_TABLE_SUCCESS;
}

// The same walk over every entry of the table.
template <typename Visit, typename OnEmptySlot>
int ForEachEntry(LPZEMMETA meta, Visit&& visit, OnEmptySlot&& on_empty_slot) {
  return ForEachEntryFrom(meta, 0, visit, on_empty_slot);
}

#endif  // VELMORA_COMMON_CHECK_TABLE_RULES_H_
