#include <velmora/zem_builder.h>

#include "schema/zem_metalib_assembler.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <string_view>

#include "base/name_table.h"

namespace {

// The block under construction: room for the library header, then the data area. Records are
// appended 8-byte aligned and addressed by offset from the data area, so growing the block never
// invalidates what has been laid out. The block grows with realloc, which moves a large block by
// remapping its pages instead of copying them, and it becomes the library itself: a schema of
// millions of index columns never stands in memory twice.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() { std::free(m_block); }

  template <typename T>
  ZEMPTR Alloc(size_t count) {
    const size_t offset = (m_size + 7) & ~size_t{7};
    Resize(offset + sizeof(T) * std::max<size_t>(count, 1));
    return static_cast<ZEMPTR>(offset);
  }

  ZEMPTR AddText(const std::string& text) {
    const ZEMPTR offset = static_cast<ZEMPTR>(m_size);
    Resize(m_size + text.size() + 1);
    std::memcpy(Data() + offset, text.data(), text.size());
    return offset;
  }

  template <typename T>
  T* At(ZEMPTR offset) {
    return reinterpret_cast<T*>(Data() + offset);
  }

  const char* Text(ZEMPTR offset) const { return Data() + offset; }
  size_t size() const { return m_size; }

  // Hands the block over: sizeof(tagZEMMetaLib) bytes for the header, then size() bytes of data.
  // It is released with std::free.
  void* Release() {
    Reserve(m_size);
    void* block = m_block;
    m_block = nullptr;
    m_size = m_capacity = 0;
    return block;
  }

 private:
  static constexpr size_t kHeader = sizeof(tagZEMMetaLib);

  char* Data() { return m_block + kHeader; }
  const char* Data() const { return m_block + kHeader; }

  // The data area holds size bytes, those past the old end zeroed.
  void Resize(size_t size) {
    if (size > m_capacity) Reserve(std::max(size, m_capacity * 2));
    std::memset(Data() + m_size, 0, size - m_size);
    m_size = size;
  }

  void Reserve(size_t capacity) {
    void* grown = std::realloc(m_block, kHeader + std::max<size_t>(capacity, 1));
    if (grown == nullptr) throw std::bad_alloc();
    m_block = static_cast<char*>(grown);
    m_capacity = std::max<size_t>(capacity, 1);
  }

  char* m_block = nullptr;
  size_t m_size = 0;
  size_t m_capacity = 0;
};
static_assert(alignof(tagZEMMetaLib) <= alignof(std::max_align_t),
              "a block from realloc is aligned for the library header");

struct BuiltMeta {
  std::string name;
  ZEMPTR offset = ZEMPTR_NONE;
  ZEMPTR entries = ZEMPTR_NONE;  // the meta's entry records, contiguous
  int32_t size = 0;
};

// Finds a meta's entries by name; the first of two entries with one name wins. The names are not
// copied: the description outlives the finder.
class EntryFinder {
 public:
  explicit EntryFinder(const ZemMetaDef& meta) {
    m_by_name.Reserve(meta.entries.size());
    for (size_t i = 0; i < meta.entries.size(); ++i) {
      m_by_name.Add(Named{meta.entries[i].name, static_cast<int>(i)});
    }
  }
  // The entry's position, or -1.
  int Find(std::string_view name) const {
    const size_t found = m_by_name.Find(name);
    return found == NameTable<Named>::NOT_FOUND ? -1 : m_by_name[found].entry;
  }

 private:
  struct Named {
    std::string_view name;
    int entry;
  };
  NameTable<Named> m_by_name;
};

int32_t ClampToInt(int64_t value) {
  return static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(value, 0), INT32_MAX));
}

// Lays a description out: the meta records, each meta's entries, key, split key and indexes, then
// the lookup tables. Records reserved first let entries refer to any meta, later ones and
// themselves included; a meta added without one gets its record when it is laid out, and its
// entries may name only metas added before it. A step that meets a name it cannot resolve sets
// the reason and answers false.
class MetaLibBuilder {
 public:
  MetaLibBuilder(const std::string& name, int version)
      : m_version(version), m_lib_name(m_arena.AddText(name)) {}

  // Reserves a record for each meta, in order, before any is laid out.
  bool ReserveMetas(const std::vector<ZemMetaDef>& metas);
  // Lays out the next meta; its description may be dropped once this returns.
  bool AddMeta(const ZemMetaDef& meta);
  ZemMetaLibPtr Finish(const std::vector<std::pair<std::string, int>>& macros);
  const std::string& error() const { return m_error; }

 private:
  // One meta under construction.
  struct MetaLayout {
    MetaLayout(const ZemMetaDef& meta_def, ZEMPTR meta_offset)
        : def(meta_def),
          offset(meta_offset),
          where("meta '" + meta_def.name + "'"),
          by_name(meta_def),
          entry_count(static_cast<int>(meta_def.entries.size())),
          entry_num(meta_def.entry_num.value_or(entry_count)),
          slots(std::max(entry_num, entry_count)),
          flags(meta_def.entries.size(), 0) {}

    ZEMPTR EntryOffset(int i) const {
      return entries + static_cast<ZEMPTR>(i * sizeof(tagZEMMetaEntry));
    }

    const ZemMetaDef& def;
    ZEMPTR offset;
    std::string where;
    EntryFinder by_name;
    int entry_count;  // entries described
    int entry_num;    // entries the meta claims; extra slots are empty
    int slots;
    ZEMPTR entry_table = ZEMPTR_NONE;
    ZEMPTR entries = ZEMPTR_NONE;
    std::vector<unsigned char> flags;  // key bits, by entry
    std::vector<int> key_entries;      // key members' entries in key order
    ZEMPTR key_base = ZEMPTR_NONE;
    ZEMPTR split_entry = ZEMPTR_NONE;
    ZEMPTR split_text = ZEMPTR_NONE;
    ZEMPTR indexes = ZEMPTR_NONE;
  };

  bool Fail(const std::string& why) {
    m_error = why;
    return false;
  }

  bool ReserveMeta(const std::string& name);
  bool LayOutMeta(const ZemMetaDef& meta, size_t m);
  bool MarkKeyMembers(MetaLayout& layout);
  bool LayOutEntries(MetaLayout& layout, size_t m);
  bool LayOutEntry(const MetaLayout& layout, size_t m, int i, int64_t& host_offset, int64_t& size);
  void FillEntryTable(const MetaLayout& layout);
  ZEMPTR LayOutKey(const MetaLayout& layout);
  void LayOutSplitKey(MetaLayout& layout);
  bool LayOutIndexes(MetaLayout& layout);
  void WriteMetaRecord(const MetaLayout& layout, size_t m);
  ZEMPTR LayOutMetaTables(ZEMPTR& meta_by_name);
  ZEMPTR LayOutMacros(const std::vector<std::pair<std::string, int>>& macro_defs,
                      int32_t& macro_num);

  int m_version;
  Arena m_arena;
  ZEMPTR m_lib_name;
  std::vector<BuiltMeta> m_built;
  size_t m_laid_out = 0;  // metas laid out so far, the first ones of m_built
  std::map<std::string, size_t> m_meta_index;
  std::string m_error;
};

bool MetaLibBuilder::ReserveMeta(const std::string& name) {
  if (!m_meta_index.emplace(name, m_built.size()).second) {
    return Fail("meta '" + name + "' is defined twice");
  }
  m_built.emplace_back();
  m_built.back().name = name;
  m_built.back().offset = m_arena.Alloc<tagZEMMeta>(1);
  return true;
}

bool MetaLibBuilder::ReserveMetas(const std::vector<ZemMetaDef>& metas) {
  m_built.reserve(metas.size());
  for (const ZemMetaDef& meta : metas) {
    if (!ReserveMeta(meta.name)) return false;
  }
  return true;
}

bool MetaLibBuilder::AddMeta(const ZemMetaDef& meta) {
  if (m_laid_out == m_built.size() && !ReserveMeta(meta.name)) return false;
  return LayOutMeta(meta, m_laid_out++);
}

bool MetaLibBuilder::LayOutMeta(const ZemMetaDef& meta, size_t m) {
  MetaLayout layout(meta, m_built[m].offset);
  layout.entry_table = m_arena.Alloc<ZEMPTR>(static_cast<size_t>(layout.slots));
  layout.entries = m_arena.Alloc<tagZEMMetaEntry>(layout.def.entries.size());
  m_built[m].entries = layout.entries;

  if (!MarkKeyMembers(layout)) return false;
  if (layout.def.index_num && *layout.def.index_num > static_cast<int>(layout.def.indexes.size())) {
    return Fail(layout.where + ": index count above the indexes given");
  }
  if (!LayOutEntries(layout, m)) return false;
  FillEntryTable(layout);
  layout.key_base = LayOutKey(layout);
  LayOutSplitKey(layout);
  if (!LayOutIndexes(layout)) return false;
  WriteMetaRecord(layout, m);
  return true;
}

// Key members get the key bit; their entries must exist.
bool MetaLibBuilder::MarkKeyMembers(MetaLayout& layout) {
  for (const std::string& member : layout.def.primary_key) {
    const int e = layout.by_name.Find(member);
    if (e < 0) return Fail(layout.where + ": primary key member '" + member + "' names no entry");
    layout.key_entries.push_back(e);
    layout.flags[static_cast<size_t>(e)] |= ZEM_DBFLAG_PRIMARY_KEY;
  }
  if (layout.def.primary_key_num &&
      *layout.def.primary_key_num > static_cast<int>(layout.key_entries.size()) &&
      !layout.def.primary_key_base_absent) {
    return Fail(layout.where + ": key count above the members given");
  }
  return true;
}

bool MetaLibBuilder::LayOutEntries(MetaLayout& layout, size_t m) {
  int64_t host_offset = 0;
  int64_t size = 0;
  for (int i = 0; i < layout.entry_count; ++i) {
    if (!LayOutEntry(layout, m, i, host_offset, size)) return false;
  }
  m_built[m].size = ClampToInt(size);
  return true;
}

bool MetaLibBuilder::LayOutEntry(const MetaLayout& layout, size_t m, int i, int64_t& host_offset,
                                 int64_t& size) {
  const ZemEntryDef& entry_def = layout.def.entries[static_cast<size_t>(i)];
  ZEMPTR type_meta = ZEMPTR_NONE;
  uint32_t unit_size = ZemBaseTypeUnitSize(entry_def.type, 0);
  if (!entry_def.type_meta.empty()) {
    auto found = m_meta_index.find(entry_def.type_meta);
    if (found == m_meta_index.end()) {
      return Fail(layout.where + ": entry '" + entry_def.name + "' has type '" +
                  entry_def.type_meta + "', which is no meta");
    }
    type_meta = m_built[found->second].offset;
    // A meta laid out later has no size yet.
    unit_size = found->second < m ? static_cast<uint32_t>(m_built[found->second].size) : 0;
  }
  if (entry_def.unit_size) unit_size = *entry_def.unit_size;
  ZEMPTR refer = ZEMPTR_NONE;
  if (!entry_def.refer.empty()) {
    const int r = layout.by_name.Find(entry_def.refer);
    if (r < 0) {
      return Fail(layout.where + ": entry '" + entry_def.name + "' refers to '" + entry_def.refer +
                  "', which is no entry");
    }
    refer = layout.EntryOffset(r);
  }
  const ZEMPTR name = m_arena.AddText(entry_def.name);
  const ZEMPTR attr = entry_def.customattr2 ? m_arena.AddText(*entry_def.customattr2) : ZEMPTR_NONE;

  tagZEMMetaEntry* entry = m_arena.At<tagZEMMetaEntry>(layout.EntryOffset(i));
  entry->ptrSelf = layout.EntryOffset(i);
  entry->ptrName = name;
  entry->ptrCustomAttr2 = attr;
  entry->ptrRefer = refer;
  entry->ptrTypeMeta = type_meta;
  entry->iType = entry_def.type;
  entry->iCount = entry_def.count;
  entry->uUnitSize = unit_size;
  entry->chDBFlag =
      static_cast<unsigned char>(entry_def.db_flag | layout.flags[static_cast<size_t>(i)]);
  const int64_t entry_size =
      static_cast<int64_t>(unit_size) * std::max<int64_t>(entry_def.count, 1);
  entry->iHOff = layout.def.is_union ? 0 : ClampToInt(host_offset);
  host_offset += entry_size;
  size = layout.def.is_union ? std::max(size, entry_size) : size + entry_size;
  return true;
}

void MetaLibBuilder::FillEntryTable(const MetaLayout& layout) {
  for (int i = 0; i < layout.slots; ++i) {
    const bool present =
        i < layout.entry_count && !layout.def.entries[static_cast<size_t>(i)].null_slot;
    m_arena.At<ZEMPTR>(layout.entry_table)[i] = present ? layout.EntryOffset(i) : ZEMPTR_NONE;
  }
}

ZEMPTR MetaLibBuilder::LayOutKey(const MetaLayout& layout) {
  if (layout.def.primary_key_base_absent || layout.key_entries.empty()) return ZEMPTR_NONE;
  const ZEMPTR key_base = m_arena.Alloc<tagZEMDBKeyInfo>(layout.key_entries.size());
  for (size_t k = 0; k < layout.key_entries.size(); ++k) {
    tagZEMDBKeyInfo* key = m_arena.At<tagZEMDBKeyInfo>(key_base) + k;
    key->ptrEntry = layout.EntryOffset(layout.key_entries[k]);
    key->iHOff = m_arena.At<tagZEMMetaEntry>(key->ptrEntry)->iHOff;
  }
  return key_base;
}

// The split key points at its first piece's entry; a text that names no field still declares a
// key, pointing at the meta's first entry record.
void MetaLibBuilder::LayOutSplitKey(MetaLayout& layout) {
  if (!layout.def.split_table_key) return;
  const std::string& text = *layout.def.split_table_key;
  const int e = layout.by_name.Find(text.substr(0, text.find(',')));
  layout.split_entry = e >= 0 ? layout.EntryOffset(e) : layout.entries;
  layout.split_text = m_arena.AddText(text);
}

bool MetaLibBuilder::LayOutIndexes(MetaLayout& layout) {
  const std::vector<ZemIndexDef>& index_defs = layout.def.indexes;
  const ZEMPTR indexes = layout.indexes = m_arena.Alloc<tagZEMMetaIndex>(index_defs.size());
  for (size_t i = 0; i < index_defs.size(); ++i) {
    const ZemIndexDef& index_def = index_defs[i];
    const ZEMPTR name = m_arena.AddText(index_def.name);
    const bool by_name = !index_def.columns.empty();
    const size_t column_num = by_name ? index_def.columns.size() : index_def.column_entries.size();
    const ZEMPTR columns = m_arena.Alloc<tagZEMColumnInfo>(column_num);
    for (size_t j = 0; j < column_num; ++j) {
      const int e = by_name ? layout.by_name.Find(index_def.columns[j]) : index_def.column_entries[j];
      if (e < 0 || e >= layout.entry_count) {
        const std::string column = by_name ? "'" + index_def.columns[j] + "'" : std::to_string(e);
        return Fail(layout.where + ": index '" + index_def.name + "' column " + column +
                    " names no entry");
      }
      tagZEMColumnInfo* column = m_arena.At<tagZEMColumnInfo>(columns) + j;
      column->ptrEntry = layout.EntryOffset(e);
      column->iHOff = m_arena.At<tagZEMMetaEntry>(column->ptrEntry)->iHOff;
    }
    tagZEMMetaIndex* index = m_arena.At<tagZEMMetaIndex>(indexes) + i;
    index->ptrName = name;
    index->iColumnNum = static_cast<int32_t>(column_num);
    index->ptrColumnBase = columns - layout.offset;
  }
  return true;
}

void MetaLibBuilder::WriteMetaRecord(const MetaLayout& layout, size_t m) {
  const ZemMetaDef& meta = layout.def;
  const ZEMPTR meta_name = m_arena.AddText(meta.name);
  const ZEMPTR meta_attr = meta.customattr2 ? m_arena.AddText(*meta.customattr2) : ZEMPTR_NONE;

  tagZEMMeta* record = m_arena.At<tagZEMMeta>(layout.offset);
  record->ptrMeta = layout.offset;
  record->ptrName = meta_name;
  record->iVersion = meta.version;
  record->iIsUnion = meta.is_union ? 1 : 0;
  record->iEntriesNum = layout.entry_num;
  record->iSize = m_built[m].size;
  record->ptrEntryTable = layout.entry_table - layout.offset;
  record->nPrimayKeyMemberNum =
      meta.primary_key_num.value_or(static_cast<int16_t>(layout.key_entries.size()));
  record->ptrPrimayKeyBase =
      layout.key_base == ZEMPTR_NONE ? ZEMPTR_NONE : layout.key_base - layout.offset;
  record->stSplitTableKey.ptrEntry = layout.split_entry;
  record->stSplitTableKey.iHOff = 0;
  record->ptrSplitTableKey = layout.split_text;
  record->iIndexesNum = meta.index_num.value_or(static_cast<int>(meta.indexes.size()));
  record->ptrIndexes = layout.indexes - layout.offset;
  record->ptrCustomAttr2 = meta_attr;
}

// The metas in definition order, and by name for lookups.
ZEMPTR MetaLibBuilder::LayOutMetaTables(ZEMPTR& meta_by_name) {
  const ZEMPTR meta_table = m_arena.Alloc<ZEMPTR>(m_built.size());
  meta_by_name = m_arena.Alloc<ZEMPTR>(m_built.size());
  std::vector<size_t> order(m_built.size());
  for (size_t m = 0; m < m_built.size(); ++m) {
    m_arena.At<ZEMPTR>(meta_table)[m] = m_built[m].offset;
    order[m] = m;
  }
  std::sort(order.begin(), order.end(),
            [this](size_t a, size_t b) { return m_built[a].name < m_built[b].name; });
  for (size_t m = 0; m < order.size(); ++m) {
    m_arena.At<ZEMPTR>(meta_by_name)[m] = m_built[order[m]].offset;
  }
  return meta_table;
}

// The macros by name; of two with one name, the later value wins.
ZEMPTR MetaLibBuilder::LayOutMacros(const std::vector<std::pair<std::string, int>>& macro_defs,
                                    int32_t& macro_num) {
  std::map<std::string, int> macros;
  for (const auto& macro : macro_defs) macros[macro.first] = macro.second;
  std::vector<std::pair<ZEMPTR, int>> macro_records;
  for (const auto& macro : macros) {
    macro_records.emplace_back(m_arena.AddText(macro.first), macro.second);
  }
  const ZEMPTR macro_table = m_arena.Alloc<tagZEMMacro>(macro_records.size());
  for (size_t i = 0; i < macro_records.size(); ++i) {
    tagZEMMacro* macro = m_arena.At<tagZEMMacro>(macro_table) + i;
    macro->ptrName = macro_records[i].first;
    macro->iValue = macro_records[i].second;
  }
  macro_num = static_cast<int32_t>(macro_records.size());
  return macro_table;
}

ZemMetaLibPtr MetaLibBuilder::Finish(const std::vector<std::pair<std::string, int>>& macros) {
  ZEMPTR meta_by_name = ZEMPTR_NONE;
  const ZEMPTR meta_table = LayOutMetaTables(meta_by_name);
  int32_t macro_num = 0;
  const ZEMPTR macro_table = LayOutMacros(macros, macro_num);

  const size_t data_size = m_arena.size();
  ZemMetaLibPtr metalib(new (m_arena.Release()) tagZEMMetaLib());
  metalib->uMagic = ZEM_METALIB_MAGIC;
  metalib->iVersion = m_version;
  metalib->iDataSize = static_cast<int64_t>(data_size);
  metalib->ptrName = m_lib_name;
  metalib->iMetaNum = static_cast<int32_t>(m_built.size());
  metalib->iMacroNum = macro_num;
  metalib->ptrMetaTable = meta_table;
  metalib->ptrMetaByName = meta_by_name;
  metalib->ptrMacros = macro_table;
  return metalib;
}

}  // namespace

void ZemMetaLibDeleter::operator()(tagZEMMetaLib* metalib) const {
  metalib->~tagZEMMetaLib();
  std::free(metalib);
}

uint32_t ZemBaseTypeUnitSize(int type, uint32_t declared_size) {
  switch (type) {
    case ZEM_TYPE_INT8: case ZEM_TYPE_UINT8: case ZEM_TYPE_BYTE:
      return 1;
    case ZEM_TYPE_INT16: case ZEM_TYPE_UINT16: case ZEM_TYPE_CHAR16:
      return 2;
    case ZEM_TYPE_INT32: case ZEM_TYPE_UINT32: case ZEM_TYPE_LONG: case ZEM_TYPE_ULONG:
    case ZEM_TYPE_DATE: case ZEM_TYPE_TIME: case ZEM_TYPE_FLOAT: case ZEM_TYPE_IPV4:
      return 4;
    case ZEM_TYPE_INT64: case ZEM_TYPE_UINT64: case ZEM_TYPE_DATETIME: case ZEM_TYPE_DECIMAL:
    case ZEM_TYPE_DOUBLE:
      return 8;
    case ZEM_TYPE_STRING:
      return declared_size == 0 ? 1 : declared_size;
    case ZEM_TYPE_WSTRING:
      return declared_size == 0 ? 2 : 2 * declared_size;
    default:
      return 0;
  }
}

ZemMetaLibPtr ZemBuildMetaLib(const ZemMetaLibDef& def, std::string* error) {
  MetaLibBuilder builder(def.name, def.version);
  bool built = builder.ReserveMetas(def.metas);
  for (size_t m = 0; built && m < def.metas.size(); ++m) built = builder.AddMeta(def.metas[m]);
  if (built) return builder.Finish(def.macros);
  if (error != nullptr) *error = builder.error();
  return ZemMetaLibPtr();
}

struct ZemMetaLibAssembler::Builder {
  Builder(const std::string& name, int version) : layout(name, version) {}
  MetaLibBuilder layout;
};

ZemMetaLibAssembler::ZemMetaLibAssembler(const std::string& name, int version)
    : m_builder(new Builder(name, version)) {}

ZemMetaLibAssembler::~ZemMetaLibAssembler() = default;

bool ZemMetaLibAssembler::Add(const ZemMetaDef& meta, std::string* error) {
  if (m_builder->layout.AddMeta(meta)) return true;
  *error = m_builder->layout.error();
  return false;
}

ZemMetaLibPtr ZemMetaLibAssembler::Finish(const std::vector<std::pair<std::string, int>>& macros) {
  return m_builder->layout.Finish(macros);
}
