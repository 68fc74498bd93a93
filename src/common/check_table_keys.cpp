// Primary key, split table key and index rules, and the lookups they share. A record is found by
// its primary key, spread over the store by its split table key, and its indexes are ways to find
// records by part of the key, so every index column and every split key field must be a key member.
//
// The lookups answer 0 when a name belongs where asked. When it does not, the first three write
// and log their own message, and the calling check then writes and logs its own: one failure gives
// two error lines in the log and leaves the caller's text in the error buffer.
#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include "common/check_table_report.h"
#include "common/check_table_rules.h"
#include <velmora/string_helpers.h>

namespace {

// Most key members a table may have. A list table gets one fewer than a generic table; the two
// limits differ on purpose.
const int kGenericTableMaxKeyNum = 8;
const int kListTableMaxKeyNum = 7;

// The name of the entry that a key member or an index column is made of.
const char* KeyMemberName(LPZEMMETA meta, int k) {
  return zem_get_entry_name(zem_meta_entry_at(meta, zem_meta_key_member(meta, k)->ptrEntry));
}
const char* ColumnName(LPZEMMETA meta, LPZEMMETAINDEX index, int j) {
  return zem_get_entry_name(zem_meta_entry_at(meta, zem_index_column(meta, index, j)->ptrEntry));
}

// Whether some column of the index is made of the entry of this name.
bool IndexHasColumn(LPZEMMETA meta, LPZEMMETAINDEX index, const char* entry_name) {
  for (int j = 0; j < index->iColumnNum; ++j) {
    if (std::strcmp(ColumnName(meta, index, j), entry_name) == 0) return true;
  }
  return false;
}

// The meta's name for a message about bad arguments, where the meta itself may be missing.
const char* MetaNameOrNull(LPZEMMETA meta) {
  return OrNullText(meta != nullptr ? zem_get_meta_name(meta) : nullptr);
}

bool HasPrimaryKey(LPZEMMETA meta) {
  return meta->nPrimayKeyMemberNum >= 1 && meta->ptrPrimayKeyBase != ZEMPTR_NONE;
}

bool HasSplitTableKey(LPZEMMETA meta) { return meta->stSplitTableKey.ptrEntry != ZEMPTR_NONE; }

// The names of the primary key members.
std::unordered_set<std::string_view> KeyMemberNames(LPZEMMETA meta) {
  std::unordered_set<std::string_view> names;
  if (!HasPrimaryKey(meta)) return names;
  for (int k = 0; k < meta->nPrimayKeyMemberNum; ++k) names.insert(KeyMemberName(meta, k));
  return names;
}

// For each column of the index, whether a later column has the same name.
std::vector<bool> ColumnsRepeatedLater(LPZEMMETA meta, LPZEMMETAINDEX index) {
  const int column_num = std::max(index->iColumnNum, 0);
  std::vector<bool> repeated(static_cast<size_t>(column_num), false);
  std::unordered_set<std::string_view> later;
  later.reserve(static_cast<size_t>(column_num));
  for (int j = column_num - 1; j >= 0; --j) {
    repeated[static_cast<size_t>(j)] = !later.insert(ColumnName(meta, index, j)).second;
  }
  return repeated;
}

// An index's column count, then its column names sorted, each ended by a NUL byte: two indexes
// whose columns are each named once hold the same columns exactly when these texts are equal.
std::string ColumnSetKey(LPZEMMETA meta, LPZEMMETAINDEX index) {
  std::string key = std::to_string(index->iColumnNum) + ':';
  std::vector<std::string_view> names;
  for (int j = 0; j < index->iColumnNum; ++j) names.emplace_back(ColumnName(meta, index, j));
  std::sort(names.begin(), names.end());
  for (const std::string_view name : names) {
    key.append(name.data(), name.size());
    key.push_back('\0');
  }
  return key;
}

// The first pair (i, k), i < k, in row order, of indexes holding the same columns, each column
// named once in its index; (-1, -1) when there is none.
std::pair<int, int> FirstIndexesWithSameColumns(LPZEMMETA meta) {
  std::pair<int, int> first(-1, -1);
  std::unordered_map<std::string, int> seen;
  for (int k = 0; k < meta->iIndexesNum; ++k) {
    const auto inserted = seen.emplace(ColumnSetKey(meta, zem_meta_index(meta, k)), k);
    // The first repeat met of an earlier index is its nearest one.
    if (!inserted.second && (first.first < 0 || inserted.first->second < first.first)) {
      first = {inserted.first->second, k};
    }
  }
  return first;
}

}  // namespace

// The per-member steps log under the name of the check they belong to.
#define PRIMARY_KEY_LOC CHECK_TABLE_LOC_OF("CheckPrimaryKey")
#define SPLIT_KEY_LOC CHECK_TABLE_LOC_OF("CheckSplittableKey")

// A lookup asked about no name or no meta, reported under the lookup's own name.
#define REPORT_LOOKUP_ARGUMENTS(log_handle) \
  REPORT_ERROR((log_handle), CHECK_TABLE_ERROR_INVALID_PARAMETER, "Entry_name or meta is invalid")

int CheckTable::CheckPrimaryKey(LPZEMMETA meta, const int table_type,
                                LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "Meta is NULL!");
  }
  const char* meta_name = zem_get_meta_name(meta);
  const int key_num = meta->nPrimayKeyMemberNum;
  if (key_num < 1) {
    return REPORT_ERROR(log_handle, ERROR_NO_PRIMARY_KEY_IN_META,
                        "There is no Primaykey in meta:'%s', maybe it is a pure struct.",
                        meta_name);
  }
  if (meta->ptrPrimayKeyBase == ZEMPTR_NONE) {
    return REPORT_ERROR_ON(log_handle, OnPrimaryKey(meta), ERROR_PRIMARYKEY_FIELD, "Primaykey is not exist!  table:'%s'",
                        meta_name);
  }
  if (!IsKnownTableKind(table_type)) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table_type is invaild type! table:'%s'", meta_name);
  }
  if (table_type == kGenericTable && key_num > kGenericTableMaxKeyNum) {
    return REPORT_ERROR_ON(log_handle, OnPrimaryKey(meta), ERROR_PRIMARYKEY_FIELD,
                        "The number of generic_table's primarykey can't be more than %d! table:'%s'",
                        kGenericTableMaxKeyNum, meta_name);
  }
  if (table_type == kListTable && key_num > kListTableMaxKeyNum) {
    return REPORT_ERROR_ON(log_handle, OnPrimaryKey(meta), ERROR_PRIMARYKEY_FIELD,
                        "The number of list_table's primarykey  can't be more than %d! table:'%s'",
                        kListTableMaxKeyNum, meta_name);
  }

  // Without a split table key the store spreads records by the whole primary key, so every index
  // must hold every key member.
  const bool every_index_needs_whole_key = !HasSplitTableKey(meta) && meta->iIndexesNum != 0;
  std::set<std::string> tmp_set;
  for (int k = 0; k < key_num; ++k) {
    LPZEMMETAENTRY pstEntry = zem_meta_entry_at(meta, zem_meta_key_member(meta, k)->ptrEntry);
    const char* entry_name = zem_get_entry_name(pstEntry);
    // Repetition is tested before the member's type and existence.
    if (!tmp_set.insert(entry_name).second) {
      return REPORT_ERROR_ON(log_handle, OnPrimaryKey(meta), ERROR_REPEATED_FIELD_NAME,
                          "repeated field name in primary key, invalid! entry_name:'%s' table='%s'",
                          entry_name, meta_name);
    }
    const int ret = CheckKeyMember(meta, pstEntry, every_index_needs_whole_key, log_handle);
    if (ret != CHECK_TABLE_SUCCESS) return ret;
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO,
           "CheckPrimaryKey successed!table: '%s' ,primary key num: %d", meta_name, key_num);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckKeyMember(LPZEMMETA meta, LPZEMMETAENTRY pstEntry,
                               bool every_index_needs_whole_key, LPWLOGCATEGORYINST log_handle) {
  const char* meta_name = zem_get_meta_name(meta);
  const char* entry_name = zem_get_entry_name(pstEntry);
  if (CheckWhetherTypeSupportted(pstEntry, log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR_ON_AT(log_handle, OnEntry(pstEntry), PRIMARY_KEY_LOC,
                              ERROR_FIELD_TYPE_ILLEGAL, "The entry type is not supported! entry_name:'%s' table='%s'",
                           entry_name, meta_name);
  }
  if (CheckWhetherExistEntry(entry_name, meta, log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR_ON_AT(log_handle, OnPrimaryKey(meta), PRIMARY_KEY_LOC,
                              ERROR_PRIMARYKEY_FIELD,
                              "Primaykey is not exist entry! Primaykey:'%s', table:'%s'",
                              entry_name, meta_name);
  }
  if (every_index_needs_whole_key &&
      CheckWhetherIndex(entry_name, meta, log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR_ON_AT(log_handle, OnPrimaryKey(meta), PRIMARY_KEY_LOC,
                              ERROR_PRIMARYKEY_FIELD,
                           "The index field has not include primarykey if splittablekey not exist! primarykey:'%s' table:'%s'",
                           entry_name, meta_name);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckSplittableKey(LPZEMMETA meta, LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    // Logged only: the error buffer keeps whatever it held.
    LOG_LINE(log_handle, WLOG_PRIORITY_ERROR, "meta is NULL");
    return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  }
  const char* meta_name = zem_get_meta_name(meta);
  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "Start CheckSplittableKey...table:'%s'", meta_name);

  if (!HasPrimaryKey(meta)) {
    return REPORT_ERROR(log_handle, ERROR_PRIMARYKEY_FIELD,
                        "Table dose not have primaykey, table:'%s' ", meta_name);
  }
  // A table need not be split; the note stays in the error buffer although nothing failed.
  if (!HasSplitTableKey(meta)) {
    REPORT_NOTE(log_handle, WLOG_PRIORITY_INFO, "Table %s does not have splittablekey", meta_name);
    return CHECK_TABLE_SUCCESS;
  }
  if (zem_meta_metalib(meta) == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "system error,get meta from table:%s failed", meta_name);
  }

  std::string splittablekey;
  const int ret = ReadSplitTableKey(meta, splittablekey, log_handle);
  if (ret != CHECK_TABLE_SUCCESS) return ret;
  if (splittablekey.empty()) {
    REPORT_NOTE(log_handle, WLOG_PRIORITY_INFO, "Table %s does not have splittablekey", meta_name);
    return CHECK_TABLE_SUCCESS;
  }

  std::vector<std::string> splitkey_vec;
  SplitString(splittablekey, ",", splitkey_vec);
  // SplitString gives every text at least one piece, so this does not fire today; it keeps the
  // loop safe should the splitter ever drop empty pieces.
  if (splitkey_vec.empty()) {
    LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "The table:'%s' has not splittablekey", meta_name);
    return CHECK_TABLE_SUCCESS;
  }

  std::set<std::string> tmp_set;
  for (const std::string& piece : splitkey_vec) {
    const int piece_ret = CheckSplitKeyPiece(meta, piece, log_handle);
    if (piece_ret != CHECK_TABLE_SUCCESS) return piece_ret;
    // Repetition is tested last here, unlike in the primary key: a repeated piece that is no key
    // member is reported as such. Deliberate.
    if (!tmp_set.insert(piece).second) {
      return REPORT_ERROR_ON(log_handle, OnSplitTableKey(meta), ERROR_REPEATED_FIELD_NAME,
                          "repeated field name in split table key, invalid! Splittablekey:'%s' table='%s'",
                          piece.c_str(), meta_name);
    }
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, " CheckSplittableKey successed! table:'%s'", meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::ReadSplitTableKey(LPZEMMETA meta, std::string& splittablekey,
                                  LPWLOGCATEGORYINST log_handle) {
  char buffer[1024];
  const char* err_str = nullptr;
  if (zem_get_meta_splittablekey(meta, buffer, sizeof(buffer), &err_str) != 0) {
    // The library's reason is logged only; the error buffer is left as it was.
    if (err_str != nullptr) {
      LOG_LINE_AT(log_handle, WLOG_PRIORITY_ERROR, SPLIT_KEY_LOC, "table:'%s' %s",
                  zem_get_meta_name(meta), err_str);
    }
    return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  }
  splittablekey = buffer;
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckSplitKeyPiece(LPZEMMETA meta, const std::string& piece,
                                   LPWLOGCATEGORYINST log_handle) {
  const char* meta_name = zem_get_meta_name(meta);
  if (CheckWhetherPrimaryKey(piece.c_str(), meta, log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR_ON_AT(log_handle, OnSplitTableKey(meta), SPLIT_KEY_LOC,
                              ERROR_SPLITTABLE_FIELD,
                           "Primaykey must include splittablekey! Splittablekey:'%s',table:'%s' ",
                           piece.c_str(), meta_name);
  }
  if (meta->iIndexesNum > 0 &&
      CheckWhetherIndex(piece.c_str(), meta, log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR_ON_AT(log_handle, OnSplitTableKey(meta), SPLIT_KEY_LOC, ERROR_INDEX_FIELD,
                           "The index field has not include splittablekey! Splittablekey:'%s',table:'%s' ",
                           piece.c_str(), meta_name);
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckIndex(LPZEMMETA meta, const int table_type, LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "CheckIndex failure.meta is NULL");
  }
  const char* meta_name = zem_get_meta_name(meta);
  if (!IsKnownTableKind(table_type)) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table_type is invalid! table:'%s'", meta_name);
  }
  const int index_num = meta->iIndexesNum;
  if (index_num == 0) {
    // A table without indexes passes, yet the note is logged at error priority. Deliberate.
    REPORT_NOTE(log_handle, WLOG_PRIORITY_ERROR, "Table dose not have indexs, table:'%s'",
                meta_name);
    return CHECK_TABLE_SUCCESS;
  }
  // A list table keeps all its elements under one key, so there is nothing for an index to find.
  if (table_type == kListTable) {
    return REPORT_ERROR_ON(log_handle, OnIndex(zem_meta_index(meta, 0)), ERROR_INDEX_FIELD,
                        "List-type-table isn't allowed to configure index field! table:'%s'",
                        meta_name);
  }

  // Key members are looked up in a set; a column not found there is asked again through the
  // member lookup, which reports the failure in its own words.
  const std::unordered_set<std::string_view> key_members = KeyMemberNames(meta);
  for (int i = 0; i < index_num; ++i) {
    LPZEMMETAINDEX pstIndex = zem_meta_index(meta, i);
    const std::vector<bool> repeated_later = ColumnsRepeatedLater(meta, pstIndex);
    for (int j = 0; j < pstIndex->iColumnNum; ++j) {
      const char* column_name = ColumnName(meta, pstIndex, j);
      if (repeated_later[static_cast<size_t>(j)]) {
        return REPORT_ERROR_ON(log_handle, OnIndex(pstIndex), ERROR_INDEX_FIELD,
                            "The index field has repeated field '%s', table:'%s'", column_name,
                            meta_name);
      }
      // The label says "index" but the name printed is the column's field. Kept as it is.
      if (key_members.count(column_name) == 0 &&
          CheckWhetherPrimaryKey(column_name, meta, log_handle) != CHECK_TABLE_SUCCESS) {
        return REPORT_ERROR_ON(log_handle, OnIndex(pstIndex), ERROR_INDEX_FIELD,
                            "The index field should be primarykey field! index:'%s', table:'%s'",
                            column_name, meta_name);
      }
    }
  }

  // Pairs of indexes are taken in order, (0,1), (0,2), ... (1,2), ...; the first pair holding the
  // same columns is reported, by the comparison that reports it.
  const std::pair<int, int> same = FirstIndexesWithSameColumns(meta);
  if (same.first >= 0 &&
      CompareIndexColumn(zem_meta_index(meta, same.first), zem_meta_index(meta, same.second), meta,
                         log_handle) != CHECK_TABLE_SUCCESS) {
    return REPORT_ERROR(log_handle, ERROR_INDEX_FIELD,
                        "The index field can't be repeated!  table:'%s'", meta_name);
  }

  LOG_LINE(log_handle, WLOG_PRIORITY_INFO, "CheckIndex Successed! table:'%s'", meta_name);
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CompareIndexColumn(LPZEMMETAINDEX index1, LPZEMMETAINDEX index2, LPZEMMETA meta,
                                   LPWLOGCATEGORYINST log_handle) {
  if (index1 == nullptr || index2 == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Invaild parameter! table:'%s'", MetaNameOrNull(meta));
  }
  if (index1->iColumnNum != index2->iColumnNum) return CHECK_TABLE_SUCCESS;
  // Two indexes are the same when they hold the same columns, whatever their order.
  for (int j = 0; j < index2->iColumnNum; ++j) {
    if (CheckWhetherColumnField(ColumnName(meta, index2, j), index1, meta, log_handle) !=
        CHECK_TABLE_SUCCESS) {
      return CHECK_TABLE_SUCCESS;
    }
  }
  return REPORT_ERROR_ON(log_handle, OnIndex(index2), ERROR_INDEX_FIELD,
                      "Index field is repeated! index1:'%s', index2:'%s', table:'%s'",
                      zem_index_name(meta, index1), zem_index_name(meta, index2),
                      zem_get_meta_name(meta));
}

int CheckTable::CheckWhetherExistEntry(const char* entry_name, LPZEMMETA meta,
                                       LPWLOGCATEGORYINST log_handle) {
  if (entry_name == nullptr || meta == nullptr) return REPORT_LOOKUP_ARGUMENTS(log_handle);
  const int entry_num = zem_get_entry_num(meta);
  if (entry_num < 0) {
    return REPORT_ERROR(log_handle, ERROR_PRIMARYKEY_FIELD, "Table dose not have entry, table:'%s'",
                        zem_get_meta_name(meta));
  }
  for (int i = 0; i < entry_num; ++i) {
    // An empty entry slot has no name, so it cannot be the one asked for.
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry != nullptr && std::strcmp(zem_get_entry_name(pstEntry), entry_name) == 0) {
      return CHECK_TABLE_SUCCESS;
    }
  }
  return REPORT_ERROR(log_handle, ERROR_EIXST_FIELD, "The entry: %s is not exist! table:'%s'",
                      entry_name, zem_get_meta_name(meta));
}

int CheckTable::CheckWhetherPrimaryKey(const char* entry_name, LPZEMMETA meta,
                                       LPWLOGCATEGORYINST log_handle) {
  if (entry_name == nullptr || meta == nullptr) return REPORT_LOOKUP_ARGUMENTS(log_handle);
  if (!HasPrimaryKey(meta)) {
    return REPORT_ERROR(log_handle, ERROR_PRIMARYKEY_FIELD,
                        "Table should have primaykey! table:'%s'", zem_get_meta_name(meta));
  }
  for (int k = 0; k < meta->nPrimayKeyMemberNum; ++k) {
    if (std::strcmp(entry_name, KeyMemberName(meta, k)) == 0) return CHECK_TABLE_SUCCESS;
  }
  return REPORT_ERROR(log_handle, ERROR_EIXST_FIELD,
                      "Entry is not belong to primarykey!Entry:'%s' table:'%s'", entry_name,
                      zem_get_meta_name(meta));
}

int CheckTable::CheckWhetherIndex(const char* entry_name, LPZEMMETA meta,
                                  LPWLOGCATEGORYINST log_handle) {
  if (entry_name == nullptr || meta == nullptr) return REPORT_LOOKUP_ARGUMENTS(log_handle);
  const int index_num = meta->iIndexesNum;
  if (index_num == 0) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                        "Table dose not have index, table:'%s'", zem_get_meta_name(meta));
  }
  if (index_num < 0) return CHECK_TABLE_SUCCESS;
  // The name must be a column of every index, not of one; an index without columns holds nothing.
  for (int i = 0; i < index_num; ++i) {
    if (!IndexHasColumn(meta, zem_meta_index(meta, i), entry_name)) {
      // The text speaks of the split table key even when a primary key member is looked up.
      // Deliberate: operators know the failure by these words.
      return REPORT_ERROR_ON(log_handle, OnIndex(zem_meta_index(meta, i)), ERROR_EIXST_FIELD,
                          "Splittablekey field is not belong to index field! Splittablekey:'%s',table:'%s'",
                          entry_name, zem_get_meta_name(meta));
    }
  }
  return CHECK_TABLE_SUCCESS;
}

int CheckTable::CheckWhetherColumnField(const char* szFieldName, LPZEMMETAINDEX pstIndex,
                                        LPZEMMETA pstTabMeta, LPWLOGCATEGORYINST log_handle) {
  if (szFieldName == nullptr || pstIndex == nullptr) {
    // A bad argument is answered with the not-found code, not the invalid-parameter one.
    // Deliberate.
    return REPORT_ERROR(log_handle, ERROR_EIXST_FIELD,
                        "CHECK_TABLE_ERROR_INVALID_PARAMETER! table:'%s'",
                        MetaNameOrNull(pstTabMeta));
  }
  if (pstIndex->iColumnNum < 1) return ERROR_EIXST_FIELD;
  // Not finding the name is an ordinary answer here, so it is neither written nor logged.
  const char* data_base = zem_meta_data_base(pstTabMeta);
  for (int j = 0; j < pstIndex->iColumnNum; ++j) {
    LPZEMMETAENTRY pstEntry =
        zem_meta_entry_at(pstTabMeta, zem_index_column(pstTabMeta, pstIndex, j)->ptrEntry);
    if (std::strcmp(data_base + pstEntry->ptrName, szFieldName) == 0) return CHECK_TABLE_SUCCESS;
  }
  return ERROR_EIXST_FIELD;
}
