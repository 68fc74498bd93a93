// Count and refer rules. An entry with a count above 1 is an array, and the store needs the entry
// that holds its current length (its refer) to know how much of it to keep; a string has a length
// of its own and must not be an array. These checks list every offending entry in one report
// that the caller owns and reads (strResult); the result follows from that report alone.
#include <cstring>
#include <string>

#include <velmora/check_table.h>
#include "common/check_table_report.h"

namespace {

const char* const kStringWithCountHeading =
    "these string entry should not have 'count' attribute : ";
const char* const kCountWithoutReferHeading = "these entry have 'count' without 'refer' : ";
const char* const kNewCountWithoutReferHeading = "these new entry have 'count' without 'refer' : ";

// Struct entries are descended into at most this many levels deep (the table itself is level 0),
// so that even a struct that contains itself cannot exhaust the stack.
const int kMaxStructDepth = 64;

#define COUNT_REFER_LOC CHECK_TABLE_LOC_OF("CheckWhetherCountWithRefer")
#define NEW_COUNT_REFER_LOC CHECK_TABLE_LOC_OF("CheckWhetherNewEntryCountWithRefer")

// Adds an offending entry to the report, which starts with the heading of the check that finds
// the first one. A name is not added when its text and blank already occur anywhere in the
// report: a name that is the tail of one already listed is skipped too. Deliberate; keep it.
void AddOffendingEntry(std::string& strResult, const char* heading, const char* entry_name) {
  if (strResult.empty()) strResult = heading;
  const std::string item = std::string(entry_name) + " ";
  if (strResult.find(item) == std::string::npos) strResult += item;
}

bool IsArrayWithoutRefer(LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_count(pstEntry) > 1 && zem_get_entry_refer(pstEntry) == nullptr;
}

// The meta of a struct entry, found in the library that owns the entry's meta.
LPZEMMETA EntryTypeMeta(LPZEMMETA owner, LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_type_meta(zem_meta_metalib(owner), pstEntry);
}

// Entries that the store would keep as they are: same type, count and unit size.
bool IsSameEntryShape(LPZEMMETAENTRY pstOld, LPZEMMETAENTRY pstNew) {
  return zem_get_entry_type(pstOld) == zem_get_entry_type(pstNew) &&
         zem_get_entry_count(pstOld) == zem_get_entry_count(pstNew) &&
         zem_get_entry_unitsize(pstOld) == zem_get_entry_unitsize(pstNew);
}

}  // namespace

int CheckTable::CheckStringWithCount(LPZEMMETA meta, std::string& strResult,
                                     LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "Meta is NULL!");
  }
  const int entry_num = zem_get_entry_num(meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) continue;  // an empty slot has no type to judge
    if (zem_get_entry_type(pstEntry) == ZEM_TYPE_STRING && zem_get_entry_count(pstEntry) > 1) {
      AddOffendingEntry(strResult, kStringWithCountHeading, zem_get_entry_name(pstEntry));
    }
  }
  // A report the caller passed in already filled fails the check as well.
  return strResult.empty() ? CHECK_TABLE_SUCCESS : ERROR_FIELD_TYPE_ILLEGAL;
}

int CheckTable::CheckWhetherCountWithRefer(LPZEMMETA table_meta, std::string& strResult,
                                           LPWLOGCATEGORYINST log_handle) {
  return CheckCountWithReferAt(table_meta, strResult, log_handle, 0);
}

int CheckTable::CheckCountWithReferAt(LPZEMMETA table_meta, std::string& strResult,
                                      LPWLOGCATEGORYINST log_handle, int depth) {
  // A nested struct entry whose meta cannot be found ends up here with NULL, at any depth; the
  // line names the check the caller called.
  if (table_meta == nullptr) {
    return REPORT_ERROR_AT(log_handle, COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "table_meta is NULL!");
  }
  // Depth first: a struct's members are listed right after the entries before it, without any
  // prefix of the struct entry's name.
  const int entry_num = zem_get_entry_num(table_meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(table_meta, i);
    if (pstEntry == nullptr) continue;  // an empty slot has no count to judge
    if (IsArrayWithoutRefer(pstEntry)) {
      AddOffendingEntry(strResult, kCountWithoutReferHeading, zem_get_entry_name(pstEntry));
    }
    // The nested result is not needed: whatever it finds is in strResult.
    if (zem_get_entry_type(pstEntry) == ZEM_TYPE_STRUCT && depth + 1 < kMaxStructDepth) {
      CheckCountWithReferAt(EntryTypeMeta(table_meta, pstEntry), strResult, log_handle, depth + 1);
    }
  }
  return strResult.empty() ? CHECK_TABLE_SUCCESS : ERROR_COUNT_WITHNOT_REFER;
}

int CheckTable::CheckWhetherNewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                                   std::string& strResult,
                                                   LPWLOGCATEGORYINST log_handle) {
  return CheckNewEntryCountWithReferAt(old_meta, new_meta, strResult, log_handle, 0);
}

int CheckTable::CheckNewEntryCountWithReferAt(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                              std::string& strResult, LPWLOGCATEGORYINST log_handle,
                                              int depth) {
  // At any depth the line names the check the caller called.
  if (old_meta == nullptr) {
    return REPORT_ERROR_AT(log_handle, NEW_COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
  }
  if (new_meta == nullptr) {
    return REPORT_ERROR_AT(log_handle, NEW_COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                           "CheckWhetherNewEntryCountWithRefer:new_meta is NULL!");
  }
  // Arrays that the table already had are not judged again: only entries the change adds are.
  const int old_value_field_num = zem_get_entry_num(old_meta);
  const int new_value_field_num = zem_get_entry_num(new_meta);
  for (int n = 0; n < new_value_field_num; ++n) {
    LPZEMMETAENTRY pstNew = zem_get_entry_by_index(new_meta, n);
    if (pstNew == nullptr) continue;  // an empty slot has nothing to judge
    const char* new_name = zem_get_entry_name(pstNew);

    // An old entry of the same name and shape keeps the new one unchanged, even when an earlier
    // one of that name differs.
    bool found = false;
    bool unchanged = false;
    for (int o = 0; o < old_value_field_num && !unchanged; ++o) {
      LPZEMMETAENTRY pstOld = zem_get_entry_by_index(old_meta, o);
      if (pstOld == nullptr || std::strcmp(zem_get_entry_name(pstOld), new_name) != 0) continue;
      found = true;
      unchanged = IsSameEntryShape(pstOld, pstNew);
    }
    if (unchanged) continue;

    const bool is_struct = zem_get_entry_type(pstNew) == ZEM_TYPE_STRUCT;
    if (found) {
      // A changed entry is not judged itself; a changed struct is compared member by member.
      // The old side is the struct of the last old entry, where the search ended, not the one
      // with the matching name. Deliberate; keep this pairing.
      if (is_struct && depth + 1 < kMaxStructDepth) {
        LPZEMMETAENTRY pstLastOld = zem_get_entry_by_index(old_meta, old_value_field_num - 1);
        CheckNewEntryCountWithReferAt(EntryTypeMeta(old_meta, pstLastOld),
                                      EntryTypeMeta(new_meta, pstNew), strResult, log_handle,
                                      depth + 1);
      }
      continue;
    }

    // A new entry, and all of a new struct's members, are judged in full.
    if (IsArrayWithoutRefer(pstNew)) {
      AddOffendingEntry(strResult, kNewCountWithoutReferHeading, new_name);
    }
    if (is_struct && depth + 1 < kMaxStructDepth) {
      CheckCountWithReferAt(EntryTypeMeta(new_meta, pstNew), strResult, log_handle, depth + 1);
    }
  }
  return strResult.empty() ? CHECK_TABLE_SUCCESS : ERROR_COUNT_WITHNOT_REFER;
}
