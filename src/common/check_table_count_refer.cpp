// Count and refer rules. An entry with a count above 1 is an array, and the store needs the entry
// that holds its current length (its refer) to know how much of it to keep; a string has a length
// of its own and must not be an array. These checks list every offending entry in one report
// that the caller owns and reads (strResult); the result follows from that report alone.
//
// Struct types are shared: a table may reach one struct through many entries and many paths, and
// the paths through a chain of shared structs grow as a power of its length. The walks below give
// exactly what a walk of every path gives, yet visit each struct (each pair of old and new structs
// in a change) once per check: a struct walked before, no shallower and without a NULL meta on the
// way, cannot add to the report (every name it would add is in it already) and logs nothing, so
// walking it again is skipped. A walk that met a NULL meta is walked again, so that every line a
// walk of every path logs is logged, in its place.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include "base/name_hash.h"
#include "base/name_table.h"
#include "common/check_table_report.h"
#include "common/report_name_index.h"

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

bool IsArrayWithoutRefer(LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_count(pstEntry) > 1 && zem_get_entry_refer(pstEntry) == nullptr;
}

bool IsStringWithCount(LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_type(pstEntry) == ZEM_TYPE_STRING && zem_get_entry_count(pstEntry) > 1;
}

bool IsStructEntry(LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_type(pstEntry) == ZEM_TYPE_STRUCT;
}

// Entries that the store would keep as they are: same type, count and unit size.
bool IsSameEntryShape(LPZEMMETAENTRY pstOld, LPZEMMETAENTRY pstNew) {
  return zem_get_entry_type(pstOld) == zem_get_entry_type(pstNew) &&
         zem_get_entry_count(pstOld) == zem_get_entry_count(pstNew) &&
         zem_get_entry_unitsize(pstOld) == zem_get_entry_unitsize(pstNew);
}

// The meta of a struct entry, found in the library that owns the entry's meta.
LPZEMMETA EntryTypeMeta(LPZEMMETA owner, LPZEMMETAENTRY pstEntry) {
  return zem_get_entry_type_meta(zem_meta_metalib(owner), pstEntry);
}

// The result of a count/refer check follows from its report alone: a report the caller passed in
// already filled fails the check as well.
int ResultOf(const std::string& strResult, int failure) {
  return strResult.empty() ? CHECK_TABLE_SUCCESS : failure;
}

// The report of offending entries. It starts with the heading of the check that finds the first
// one. A name is not added when its text and blank already occur anywhere in the report: a name
// that is the tail of one already listed, or of a heading word, is skipped too. Deliberate; keep
// it. The names that may be added are gathered when the first one is offered.
class OffendingEntries {
 public:
  using Gather = std::function<void(ReportNameIndex&)>;

  OffendingEntries(std::string& strResult, Gather gather)
      : m_result(strResult), m_gather(std::move(gather)) {}

  // Lists the entry, found by the check whose heading and result are given.
  void Add(const char* heading, LPZEMMETAENTRY pstEntry, int result) {
    const char* entry_name = zem_get_entry_name(pstEntry);
    if (t_check_table_observer != nullptr) {
      NotifyFailure(result, heading, (std::string(heading) + entry_name).c_str(),
                    OnEntry(pstEntry));
    }
    if (m_result.empty()) m_result = heading;
    if (m_gather) {
      m_gather(m_names);
      m_gather = nullptr;
    }
    if (m_names.Listed(m_result, entry_name)) return;
    m_result += entry_name;
    m_result += ' ';
  }

 private:
  std::string& m_result;
  Gather m_gather;
  ReportNameIndex m_names;
};

// Every array without refer in the metas a table reaches through its struct entries, each meta
// once, at any depth: a superset of the names a walk of the table can list.
void GatherArrayNames(LPZEMMETA table_meta, ReportNameIndex& names) {
  std::unordered_set<LPZEMMETA> seen{table_meta};
  std::vector<LPZEMMETA> pending{table_meta};
  while (!pending.empty()) {
    LPZEMMETA meta = pending.back();
    pending.pop_back();
    const int entry_num = zem_get_entry_num(meta);
    for (int i = 0; i < entry_num; ++i) {
      LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
      if (pstEntry == nullptr) continue;
      if (IsArrayWithoutRefer(pstEntry)) names.AddName(zem_get_entry_name(pstEntry));
      if (!IsStructEntry(pstEntry)) continue;
      LPZEMMETA type_meta = EntryTypeMeta(meta, pstEntry);
      if (type_meta != nullptr && seen.insert(type_meta).second) pending.push_back(type_meta);
    }
  }
}

// What a walk from one meta (or pair of metas) did beyond the report: whether it reported a NULL
// meta anywhere below, and whether the depth limit kept it from a struct.
struct WalkOutcome {
  bool logged = false;
  bool cut = false;

  void Add(const WalkOutcome& below) {
    logged = logged || below.logged;
    cut = cut || below.cut;
  }
};

// A walk that logged nothing, remembered by the shallowest depth it started from. From that depth
// or deeper a walk reaches nothing it did not reach; from any depth when the depth limit never cut
// it short.
struct WalkMark {
  int depth = 0;
  bool whole = false;
};

struct MetaPairHash {
  size_t operator()(const std::pair<LPZEMMETA, LPZEMMETA>& pair) const {
    const std::hash<LPZEMMETA> hash;
    return hash(pair.first) * 31 + hash(pair.second);
  }
};

template <typename Key, typename Hash = std::hash<Key>>
class WalkMarks {
 public:
  // Whether a walk of key from depth may be skipped; *skipped then says what it would have done.
  bool Covers(const Key& key, int depth, WalkOutcome* skipped) const {
    const auto found = m_marks.find(key);
    if (found == m_marks.end() || (!found->second.whole && depth < found->second.depth)) {
      return false;
    }
    skipped->cut = !found->second.whole;
    return true;
  }

  void Remember(const Key& key, int depth, const WalkOutcome& outcome) {
    if (!outcome.logged) m_marks[key] = WalkMark{depth, !outcome.cut};
  }

 private:
  std::unordered_map<Key, WalkMark, Hash> m_marks;
};

// The entries of an old meta by name and by name and shape (type, count and unit size): the
// change walk asks, for each new entry, whether the old meta has one of that name and whether it
// has one of that name that the store would keep as it is. A name is found at its first entry,
// whose shape the meta holds; the shapes of names held more than once are held apart. Positions
// into the meta are kept, not copies of its entries, under hashes a file cannot aim at.
class OldEntries {
 public:
  explicit OldEntries(LPZEMMETA old_meta) : m_meta(old_meta) {
    const int old_value_field_num = std::max(zem_get_entry_num(old_meta), 0);
    const Names names{m_meta};
    m_by_name.Reserve(static_cast<size_t>(old_value_field_num), names);
    for (int o = 0; o < old_value_field_num; ++o) {
      LPZEMMETAENTRY pstOld = zem_get_entry_by_index(old_meta, o);
      if (pstOld == nullptr) continue;
      const size_t first = m_by_name.Add(static_cast<size_t>(o), names);
      if (first == static_cast<size_t>(o)) continue;
      if (m_repeated.insert(first).second) m_repeated_shapes.insert(ShapeOf(EntryAt(first)));
      m_repeated_shapes.insert(ShapeOf(pstOld));
    }
  }

  bool HasName(const char* name) const {
    return m_by_name.Find(name, Names{m_meta}) != NameIndex<>::NOT_FOUND;
  }

  bool HasSameEntry(LPZEMMETAENTRY pstNew) const {
    const Shape shape = ShapeOf(pstNew);
    const size_t found = m_by_name.Find(shape.name, Names{m_meta});
    if (found == NameIndex<>::NOT_FOUND) return false;
    if (ShapeOf(EntryAt(found)) == shape) return true;
    return m_repeated.count(found) != 0 && m_repeated_shapes.count(shape) != 0;
  }

 private:
  struct Shape {
    std::string_view name;
    int type;
    int count;
    size_t unit_size;
    bool operator==(const Shape& other) const {
      return name == other.name && type == other.type && count == other.count &&
             unit_size == other.unit_size;
    }
  };
  struct ShapeHash {
    size_t operator()(const Shape& shape) const {
      size_t hash = KeyedNameHash()(shape.name);
      hash = hash * 31 + static_cast<size_t>(shape.type);
      hash = hash * 31 + static_cast<size_t>(shape.count);
      return static_cast<size_t>(MixBits(hash * 31 + shape.unit_size));
    }
  };
  struct PositionHash {
    size_t operator()(size_t position) const {
      return static_cast<size_t>(MixBits(position ^ NameHashKey()));
    }
  };
  // The name of an entry the table holds (never an empty slot).
  struct Names {
    LPZEMMETA meta;
    std::string_view operator()(size_t position) const {
      return zem_get_entry_name(zem_get_entry_by_index(meta, static_cast<int>(position)));
    }
  };
  LPZEMMETAENTRY EntryAt(size_t position) const {
    return zem_get_entry_by_index(m_meta, static_cast<int>(position));
  }
  static Shape ShapeOf(LPZEMMETAENTRY pstEntry) {
    return Shape{zem_get_entry_name(pstEntry), zem_get_entry_type(pstEntry),
                 zem_get_entry_count(pstEntry), zem_get_entry_unitsize(pstEntry)};
  }

  LPZEMMETA m_meta;
  NameIndex<> m_by_name;
  std::unordered_set<size_t, PositionHash> m_repeated;  // first entries of names held again
  std::unordered_set<Shape, ShapeHash> m_repeated_shapes;
};

enum class NullMeta { kTable, kOld, kNew };

// One count/refer check: the walk of a table's arrays through its structs, or of what a change
// adds to a table. report_null reports a NULL meta met on the way, as the check's caller sees it.
class CountReferWalk {
 public:
  CountReferWalk(std::string& strResult, LPZEMMETA names_from,
                 std::function<void(NullMeta)> report_null)
      : m_entries(strResult, [names_from](ReportNameIndex& names) {
          GatherArrayNames(names_from, names);
        }),
        m_report_null(std::move(report_null)) {}

  // Every array without refer of meta and, depth first, of the structs its entries hold.
  WalkOutcome Table(LPZEMMETA meta, int depth);
  // The arrays without refer that new_meta adds to old_meta, and all of those of added structs.
  WalkOutcome Change(LPZEMMETA old_meta, LPZEMMETA new_meta, int depth);

 private:
  WalkOutcome Null(NullMeta which) {
    m_report_null(which);
    WalkOutcome outcome;
    outcome.logged = true;
    return outcome;
  }
  // Table() of a struct entry's meta one level down, unless the depth limit stops it there.
  void TableBelow(LPZEMMETA meta, int depth, WalkOutcome* outcome);
  void ChangeOfEntry(LPZEMMETA old_meta, LPZEMMETA new_meta, int n, LPZEMMETAENTRY pstNew,
                     int depth, WalkOutcome* outcome);
  const OldEntries& OldEntriesOf(LPZEMMETA old_meta);

  OffendingEntries m_entries;
  std::function<void(NullMeta)> m_report_null;
  WalkMarks<LPZEMMETA> m_tables;
  WalkMarks<std::pair<LPZEMMETA, LPZEMMETA>, MetaPairHash> m_changes;
  std::unordered_map<LPZEMMETA, OldEntries> m_old_entries;
};

void CountReferWalk::TableBelow(LPZEMMETA meta, int depth, WalkOutcome* outcome) {
  if (depth + 1 >= kMaxStructDepth) {
    outcome->cut = true;
    return;
  }
  outcome->Add(Table(meta, depth + 1));
}

WalkOutcome CountReferWalk::Table(LPZEMMETA meta, int depth) {
  // A nested struct entry whose meta cannot be found ends up here with NULL, at any depth.
  if (meta == nullptr) return Null(NullMeta::kTable);
  WalkOutcome outcome;
  if (m_tables.Covers(meta, depth, &outcome)) return outcome;
  // Depth first: a struct's members are listed right after the entries before it, without any
  // prefix of the struct entry's name.
  const int entry_num = zem_get_entry_num(meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) continue;  // an empty slot has no count to judge
    if (IsArrayWithoutRefer(pstEntry)) {
      m_entries.Add(kCountWithoutReferHeading, pstEntry, ERROR_COUNT_WITHNOT_REFER);
    }
    if (IsStructEntry(pstEntry)) TableBelow(EntryTypeMeta(meta, pstEntry), depth, &outcome);
  }
  m_tables.Remember(meta, depth, outcome);
  return outcome;
}

const OldEntries& CountReferWalk::OldEntriesOf(LPZEMMETA old_meta) {
  auto found = m_old_entries.find(old_meta);
  if (found == m_old_entries.end()) found = m_old_entries.emplace(old_meta, old_meta).first;
  return found->second;
}

void CountReferWalk::ChangeOfEntry(LPZEMMETA old_meta, LPZEMMETA new_meta, int n,
                                   LPZEMMETAENTRY pstNew, int depth, WalkOutcome* outcome) {
  // An old entry of the same name and shape keeps the new one unchanged, even when another one of
  // that name differs. A change mostly leaves entries where they were: the old entry at the same
  // place is asked first, and all of them only when it is not the same.
  const char* new_name = zem_get_entry_name(pstNew);
  LPZEMMETAENTRY pstInPlace = zem_get_entry_by_index(old_meta, n);
  if (pstInPlace != nullptr && std::strcmp(zem_get_entry_name(pstInPlace), new_name) == 0 &&
      IsSameEntryShape(pstInPlace, pstNew)) {
    return;
  }
  const OldEntries& old_entries = OldEntriesOf(old_meta);
  if (old_entries.HasSameEntry(pstNew)) return;
  if (old_entries.HasName(new_name)) {
    // A changed entry is not judged itself; a changed struct is compared member by member. The
    // old side is the struct of the last old entry, where a search of the old entries in order
    // ends, not the one with the matching name. Deliberate; keep this pairing.
    if (!IsStructEntry(pstNew)) return;
    if (depth + 1 >= kMaxStructDepth) {
      outcome->cut = true;
      return;
    }
    LPZEMMETAENTRY pstLastOld = zem_get_entry_by_index(old_meta, zem_get_entry_num(old_meta) - 1);
    outcome->Add(Change(EntryTypeMeta(old_meta, pstLastOld), EntryTypeMeta(new_meta, pstNew),
                        depth + 1));
    return;
  }
  // A new entry, and all of a new struct's members, are judged in full.
  if (IsArrayWithoutRefer(pstNew)) {
    m_entries.Add(kNewCountWithoutReferHeading, pstNew, ERROR_COUNT_WITHNOT_REFER);
  }
  if (IsStructEntry(pstNew)) TableBelow(EntryTypeMeta(new_meta, pstNew), depth, outcome);
}

WalkOutcome CountReferWalk::Change(LPZEMMETA old_meta, LPZEMMETA new_meta, int depth) {
  if (old_meta == nullptr) return Null(NullMeta::kOld);
  if (new_meta == nullptr) return Null(NullMeta::kNew);
  WalkOutcome outcome;
  const std::pair<LPZEMMETA, LPZEMMETA> pair(old_meta, new_meta);
  if (m_changes.Covers(pair, depth, &outcome)) return outcome;
  // Arrays that the table already had are not judged again: only entries the change adds are.
  const int new_value_field_num = zem_get_entry_num(new_meta);
  for (int n = 0; n < new_value_field_num; ++n) {
    LPZEMMETAENTRY pstNew = zem_get_entry_by_index(new_meta, n);
    if (pstNew == nullptr) continue;  // an empty slot has nothing to judge
    ChangeOfEntry(old_meta, new_meta, n, pstNew, depth, &outcome);
  }
  m_changes.Remember(pair, depth, outcome);
  return outcome;
}

}  // namespace

int CheckTable::CheckStringWithCount(LPZEMMETA meta, std::string& strResult,
                                     LPWLOGCATEGORYINST log_handle) {
  if (meta == nullptr) {
    return REPORT_ERROR(log_handle, CHECK_TABLE_ERROR_INVALID_PARAMETER, "Meta is NULL!");
  }
  const int entry_num = zem_get_entry_num(meta);
  OffendingEntries offending(strResult, [meta, entry_num](ReportNameIndex& names) {
    for (int i = 0; i < entry_num; ++i) {
      LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
      if (pstEntry != nullptr && IsStringWithCount(pstEntry)) {
        names.AddName(zem_get_entry_name(pstEntry));
      }
    }
  });
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY pstEntry = zem_get_entry_by_index(meta, i);
    if (pstEntry == nullptr) continue;  // an empty slot has no type to judge
    if (IsStringWithCount(pstEntry)) {
      offending.Add(kStringWithCountHeading, pstEntry, ERROR_FIELD_TYPE_ILLEGAL);
    }
  }
  return ResultOf(strResult, ERROR_FIELD_TYPE_ILLEGAL);
}

int CheckTable::CheckWhetherCountWithRefer(LPZEMMETA table_meta, std::string& strResult,
                                           LPWLOGCATEGORYINST log_handle) {
  // A NULL meta, the table's or a nested struct entry's at any depth, is reported under the name
  // of this check; the nested ones do not change the result, which follows the report.
  CountReferWalk walk(strResult, table_meta, [this, log_handle](NullMeta) {
    (void)REPORT_ERROR_AT(log_handle, COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                          "table_meta is NULL!");
  });
  walk.Table(table_meta, 0);
  if (table_meta == nullptr) return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  return ResultOf(strResult, ERROR_COUNT_WITHNOT_REFER);
}

int CheckTable::CheckWhetherNewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                                   std::string& strResult,
                                                   LPWLOGCATEGORYINST log_handle) {
  // At any depth a NULL meta is reported under the name of the check whose walk met it: the walk
  // of an added struct is that of CheckWhetherCountWithRefer.
  CountReferWalk walk(strResult, new_meta, [this, log_handle](NullMeta which) {
    switch (which) {
      case NullMeta::kOld:
        (void)REPORT_ERROR_AT(log_handle, NEW_COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                              "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
        break;
      case NullMeta::kNew:
        (void)REPORT_ERROR_AT(log_handle, NEW_COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                              "CheckWhetherNewEntryCountWithRefer:new_meta is NULL!");
        break;
      case NullMeta::kTable:
        (void)REPORT_ERROR_AT(log_handle, COUNT_REFER_LOC, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                              "table_meta is NULL!");
        break;
    }
  });
  walk.Change(old_meta, new_meta, 0);
  if (old_meta == nullptr || new_meta == nullptr) return CHECK_TABLE_ERROR_INVALID_PARAMETER;
  return ResultOf(strResult, ERROR_COUNT_WITHNOT_REFER);
}
