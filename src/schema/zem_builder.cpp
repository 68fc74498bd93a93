#include <velmora/zem_builder.h>

#include "schema/zem_metalib_assembler.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <optional>
#include <string_view>

#include "base/huge_pages.h"
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

  // Room for count records of T that the caller writes whole before the block is handed over.
  // They are not zeroed here: the pages of a struct's million entries are first touched as each
  // entry is written, while the parsed file gives its memory back.
  template <typename T>
  ZEMPTR Claim(size_t count) {
    if (count == 0) return Alloc<T>(0);
    const size_t offset = (m_size + 7) & ~size_t{7};
    Resize(offset);
    Grow(offset + sizeof(T) * count);
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
  template <typename T>
  const T* At(ZEMPTR offset) const {
    return reinterpret_cast<const T*>(Data() + offset);
  }

  const char* Text(ZEMPTR offset) const { return Data() + offset; }
  size_t size() const { return m_size; }

  // Makes room for a model of about bytes bytes, before most of it is laid out. A large one gets
  // a block of at least MAPPED_BLOCK_BYTES, which is asked for huge pages: its pages are not
  // touched until they are written, and a model of millions of records is then written with a
  // page fault per 2 MiB.
  void Expect(size_t bytes) {
    if (bytes < LARGE_MODEL_BYTES || bytes <= m_capacity) return;
    try {
      Reserve(std::max(bytes, MAPPED_BLOCK_BYTES));
    } catch (const std::bad_alloc&) {
      // Only a hint: the model grows as it needs, from the room it has.
    }
  }

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
  // Allocators take a block of this size or more straight from the system (glibc's mmap threshold
  // never passes it).
  static constexpr size_t MAPPED_BLOCK_BYTES = size_t{32} << 20;
  // A model expected this large gets such a block from the start.
  static constexpr size_t LARGE_MODEL_BYTES = size_t{4} << 20;

  char* Data() { return m_block + kHeader; }
  const char* Data() const { return m_block + kHeader; }

  // The data area holds size bytes, those past the old end zeroed.
  void Resize(size_t size) {
    const size_t old_size = m_size;
    Grow(size);
    std::memset(Data() + old_size, 0, size - old_size);
  }

  // The data area holds size bytes, those past the old end as the allocator left them.
  void Grow(size_t size) {
    if (size > m_capacity) Reserve(std::max(size, m_capacity * 2));
    m_size = size;
  }

  void Reserve(size_t capacity) {
    void* grown = std::realloc(m_block, kHeader + std::max<size_t>(capacity, 1));
    if (grown == nullptr) throw std::bad_alloc();
    m_block = static_cast<char*>(grown);
    m_capacity = std::max<size_t>(capacity, 1);
    // A block this large is mapped for itself, not carved from the allocator's heap, so its huge
    // pages go back to the system with it.
    if (kHeader + m_capacity >= MAPPED_BLOCK_BYTES) {
      AdviseHugePagesOfMapping(m_block, kHeader + m_capacity);
    }
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
// copied: they outlive the finder. Given the caller's lookup, it asks that and keeps nothing.
class EntryFinder {
 public:
  EntryFinder() = default;
  explicit EntryFinder(const ZemMetaDef& meta) {
    m_by_name.Reserve(meta.entries.size());
    for (size_t i = 0; i < meta.entries.size(); ++i) Add(meta.entries[i].name, static_cast<int>(i));
  }
  explicit EntryFinder(const ZemEntryLookup* lookup) : m_lookup(lookup) {}
  void Add(std::string_view name, int entry) {
    if (m_lookup == nullptr) m_by_name.Add(Named{name, entry});
  }
  // The entry's position, or -1.
  int Find(std::string_view name) const {
    if (m_lookup != nullptr) return m_lookup->Find(name);
    const size_t found = m_by_name.Find(name);
    return found == NameTable<Named>::NOT_FOUND ? -1 : m_by_name[found].entry;
  }

 private:
  struct Named {
    std::string_view name;
    int entry;
  };
  const ZemEntryLookup* m_lookup = nullptr;
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
  // Lays out the next meta, its entries included; its description may be dropped once this
  // returns.
  bool AddMeta(const ZemMetaDef& meta);
  // Lays out the next meta entry by entry: BeginMeta with its own fields and the number of its
  // entries (its description's entries are not read), AddEntry for each entry in order, then
  // EndMeta with its keys, split key and indexes. A refer or key names an entry added before;
  // names are found through lookup when one is given, in a table of the builder's own otherwise.
  bool BeginMeta(const ZemMetaDef& meta, size_t entries, const ZemEntryLookup* lookup = nullptr);
  // lasting_name is the entry's name; without a lookup it is kept, and must stay valid until
  // EndMeta returns.
  bool AddEntry(const ZemEntryDef& entry, std::string_view lasting_name);
  bool EndMeta(const ZemMetaDef& meta);
  ZemMetaLibPtr Finish(const std::vector<std::pair<std::string, int>>& macros);
  const std::string& error() const { return m_error; }
  void Expect(size_t bytes) { m_arena.Expect(bytes); }
  // An entry of the meta begun, laid out already.
  const tagZEMMetaEntry& OpenEntry(size_t position) const {
    return m_arena.At<tagZEMMetaEntry>(m_open->entries)[position];
  }
  const tagZEMMeta& MetaAt(ZEMPTR offset) const { return *m_arena.At<tagZEMMeta>(offset); }
  const char* TextAt(ZEMPTR offset) const { return m_arena.Text(offset); }

 private:
  // One meta under construction.
  struct MetaLayout {
    MetaLayout(const ZemMetaDef& meta, size_t meta_index, ZEMPTR meta_offset, size_t entry_total)
        : m(meta_index),
          offset(meta_offset),
          where("meta '" + meta.name + "'"),
          is_union(meta.is_union),
          entry_count(static_cast<int>(entry_total)),
          entry_num(meta.entry_num.value_or(entry_count)),
          slots(std::max(entry_num, entry_count)) {}

    ZEMPTR EntryOffset(int i) const {
      return entries + static_cast<ZEMPTR>(i * sizeof(tagZEMMetaEntry));
    }

    size_t m;  // its place among the metas
    ZEMPTR offset;
    std::string where;
    bool is_union;
    EntryFinder by_name;
    int entry_count;  // entries described
    int entry_num;    // entries the meta claims; extra slots are empty
    int slots;
    int laid_out = 0;  // entries laid out so far
    int64_t host_offset = 0;
    int64_t size = 0;
    bool keys_marked = false;
    ZEMPTR entry_table = ZEMPTR_NONE;
    ZEMPTR entries = ZEMPTR_NONE;
    std::vector<int> key_entries;  // key members' entries in key order
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
  bool MarkKeyMembers(const ZemMetaDef& meta, MetaLayout& layout);
  bool LayOutNextEntry(const ZemEntryDef& entry_def, MetaLayout& layout);
  ZEMPTR LayOutKey(const ZemMetaDef& meta, const MetaLayout& layout);
  void LayOutSplitKey(const ZemMetaDef& meta, MetaLayout& layout);
  bool LayOutIndexes(const ZemMetaDef& meta, MetaLayout& layout);
  void WriteMetaRecord(const ZemMetaDef& meta, const MetaLayout& layout);
  ZEMPTR LayOutMetaTables(ZEMPTR& meta_by_name);
  ZEMPTR LayOutMacros(const std::vector<std::pair<std::string, int>>& macro_defs,
                      int32_t& macro_num);

  int m_version;
  Arena m_arena;
  ZEMPTR m_lib_name;
  std::vector<BuiltMeta> m_built;
  size_t m_laid_out = 0;             // metas begun so far, the first ones of m_built
  std::optional<MetaLayout> m_open;  // the meta being laid out
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
  if (!BeginMeta(meta, meta.entries.size())) return false;
  MetaLayout& layout = *m_open;
  // Every name is known before any entry is laid out: a described refer may name a later entry,
  // and a key that names no entry is told before the entries are.
  layout.by_name = EntryFinder(meta);
  if (!MarkKeyMembers(meta, layout)) return false;
  for (const ZemEntryDef& entry : meta.entries) {
    if (!LayOutNextEntry(entry, layout)) return false;
  }
  return EndMeta(meta);
}

bool MetaLibBuilder::BeginMeta(const ZemMetaDef& meta, size_t entries,
                               const ZemEntryLookup* lookup) {
  if (m_laid_out == m_built.size() && !ReserveMeta(meta.name)) return false;
  const size_t m = m_laid_out++;
  MetaLayout& layout = m_open.emplace(meta, m, m_built[m].offset, entries);
  layout.by_name = EntryFinder(lookup);
  // Each entry writes its own record and slot as it is laid out; the slots past the entries, of
  // entries the meta claims and does not have, stay empty.
  layout.entry_table = m_arena.Claim<ZEMPTR>(static_cast<size_t>(layout.slots));
  layout.entries = m_arena.Claim<tagZEMMetaEntry>(entries);
  m_built[m].entries = layout.entries;
  for (int i = layout.entry_count; i < layout.slots; ++i) {
    m_arena.At<ZEMPTR>(layout.entry_table)[i] = ZEMPTR_NONE;
  }
  return true;
}

bool MetaLibBuilder::AddEntry(const ZemEntryDef& entry, std::string_view lasting_name) {
  MetaLayout& layout = *m_open;
  if (layout.laid_out == layout.entry_count) {
    return Fail(layout.where + ": more entries than the " + std::to_string(layout.entry_count) +
                " announced");
  }
  layout.by_name.Add(lasting_name, layout.laid_out);
  return LayOutNextEntry(entry, layout);
}

bool MetaLibBuilder::EndMeta(const ZemMetaDef& meta) {
  MetaLayout& layout = *m_open;
  if (layout.laid_out != layout.entry_count) {
    return Fail(layout.where + ": " + std::to_string(layout.laid_out) + " entries of the " +
                std::to_string(layout.entry_count) + " announced");
  }
  if (!MarkKeyMembers(meta, layout)) return false;
  for (const int e : layout.key_entries) {
    m_arena.At<tagZEMMetaEntry>(layout.EntryOffset(e))->chDBFlag |= ZEM_DBFLAG_PRIMARY_KEY;
  }
  m_built[layout.m].size = ClampToInt(layout.size);
  layout.key_base = LayOutKey(meta, layout);
  LayOutSplitKey(meta, layout);
  if (!LayOutIndexes(meta, layout)) return false;
  WriteMetaRecord(meta, layout);
  m_open.reset();
  return true;
}

// Key members get the key bit; their entries must exist. Done once, before the entries of a whole
// description and after those of one added entry by entry.
bool MetaLibBuilder::MarkKeyMembers(const ZemMetaDef& meta, MetaLayout& layout) {
  if (layout.keys_marked) return true;
  layout.keys_marked = true;
  for (const std::string& member : meta.primary_key) {
    const int e = layout.by_name.Find(member);
    if (e < 0) return Fail(layout.where + ": primary key member '" + member + "' names no entry");
    layout.key_entries.push_back(e);
  }
  if (meta.primary_key_num && *meta.primary_key_num > static_cast<int>(layout.key_entries.size()) &&
      !meta.primary_key_base_absent) {
    return Fail(layout.where + ": key count above the members given");
  }
  if (meta.index_num && *meta.index_num > static_cast<int>(meta.indexes.size())) {
    return Fail(layout.where + ": index count above the indexes given");
  }
  return true;
}

bool MetaLibBuilder::LayOutNextEntry(const ZemEntryDef& entry_def, MetaLayout& layout) {
  const int i = layout.laid_out++;
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
    unit_size = found->second < layout.m ? static_cast<uint32_t>(m_built[found->second].size) : 0;
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
  std::memset(static_cast<void*>(entry), 0, sizeof(*entry));
  entry->ptrSelf = layout.EntryOffset(i);
  entry->ptrName = name;
  entry->ptrCustomAttr2 = attr;
  entry->ptrRefer = refer;
  entry->ptrTypeMeta = type_meta;
  entry->iType = entry_def.type;
  entry->iCount = entry_def.count;
  entry->uUnitSize = unit_size;
  entry->chDBFlag = entry_def.db_flag;  // key bits are added once the key is known
  const int64_t entry_size =
      static_cast<int64_t>(unit_size) * std::max<int64_t>(entry_def.count, 1);
  entry->iHOff = layout.is_union ? 0 : ClampToInt(layout.host_offset);
  layout.host_offset += entry_size;
  layout.size = layout.is_union ? std::max(layout.size, entry_size) : layout.size + entry_size;
  m_arena.At<ZEMPTR>(layout.entry_table)[i] =
      entry_def.null_slot ? ZEMPTR_NONE : layout.EntryOffset(i);
  return true;
}

ZEMPTR MetaLibBuilder::LayOutKey(const ZemMetaDef& meta, const MetaLayout& layout) {
  if (meta.primary_key_base_absent || layout.key_entries.empty()) return ZEMPTR_NONE;
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
void MetaLibBuilder::LayOutSplitKey(const ZemMetaDef& meta, MetaLayout& layout) {
  if (!meta.split_table_key) return;
  const std::string& text = *meta.split_table_key;
  const int e = layout.by_name.Find(std::string_view(text).substr(0, text.find(',')));
  layout.split_entry = e >= 0 ? layout.EntryOffset(e) : layout.entries;
  layout.split_text = m_arena.AddText(text);
}

bool MetaLibBuilder::LayOutIndexes(const ZemMetaDef& meta, MetaLayout& layout) {
  const std::vector<ZemIndexDef>& index_defs = meta.indexes;
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

void MetaLibBuilder::WriteMetaRecord(const ZemMetaDef& meta, const MetaLayout& layout) {
  const ZEMPTR meta_name = m_arena.AddText(meta.name);
  const ZEMPTR meta_attr = meta.customattr2 ? m_arena.AddText(*meta.customattr2) : ZEMPTR_NONE;

  tagZEMMeta* record = m_arena.At<tagZEMMeta>(layout.offset);
  record->ptrMeta = layout.offset;
  record->ptrName = meta_name;
  record->iVersion = meta.version;
  record->iIsUnion = meta.is_union ? 1 : 0;
  record->iEntriesNum = layout.entry_num;
  record->iSize = m_built[layout.m].size;
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

void ZemMetaLibAssembler::Expect(size_t bytes) { m_builder->layout.Expect(bytes); }

bool ZemMetaLibAssembler::Add(const ZemMetaDef& meta, std::string* error) {
  return Succeeded(m_builder->layout.AddMeta(meta), error);
}

bool ZemMetaLibAssembler::Begin(const ZemMetaDef& meta, size_t entries, std::string* error,
                                const ZemEntryLookup* lookup) {
  return Succeeded(m_builder->layout.BeginMeta(meta, entries, lookup), error);
}

bool ZemMetaLibAssembler::AddEntry(const ZemEntryDef& entry, std::string_view name,
                                   std::string* error) {
  return Succeeded(m_builder->layout.AddEntry(entry, name), error);
}

std::string_view ZemMetaLibAssembler::EntryName(size_t position) const {
  const MetaLibBuilder& layout = m_builder->layout;
  return layout.TextAt(layout.OpenEntry(position).ptrName);
}

ZemMetaLibAssembler::LaidOutEntry ZemMetaLibAssembler::EntryAt(size_t position) const {
  const MetaLibBuilder& layout = m_builder->layout;
  const tagZEMMetaEntry& entry = layout.OpenEntry(position);
  LaidOutEntry laid_out;
  laid_out.name = layout.TextAt(entry.ptrName);
  laid_out.type = entry.iType;
  laid_out.count = entry.iCount;
  if (entry.ptrTypeMeta != ZEMPTR_NONE) {
    laid_out.type_meta = layout.TextAt(layout.MetaAt(entry.ptrTypeMeta).ptrName);
  }
  return laid_out;
}

bool ZemMetaLibAssembler::End(const ZemMetaDef& meta, std::string* error) {
  return Succeeded(m_builder->layout.EndMeta(meta), error);
}

bool ZemMetaLibAssembler::Succeeded(bool laid_out, std::string* error) const {
  if (!laid_out) *error = m_builder->layout.error();
  return laid_out;
}

ZemMetaLibPtr ZemMetaLibAssembler::Finish(const std::vector<std::pair<std::string, int>>& macros) {
  return m_builder->layout.Finish(macros);
}
