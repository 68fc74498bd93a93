#include <velmora/zem_builder.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <new>
#include <unordered_map>

namespace {

// The data area under construction. Records are appended 8-byte aligned and addressed by offset,
// so growing the area never invalidates what has been laid out.
class Arena {
 public:
  template <typename T>
  ZEMPTR Alloc(size_t count) {
    const size_t offset = (bytes_.size() + 7) & ~size_t{7};
    bytes_.resize(offset + sizeof(T) * std::max<size_t>(count, 1), 0);
    return static_cast<ZEMPTR>(offset);
  }

  ZEMPTR AddText(const std::string& text) {
    const ZEMPTR offset = static_cast<ZEMPTR>(bytes_.size());
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    bytes_.push_back('\0');
    return offset;
  }

  template <typename T>
  T* At(ZEMPTR offset) {
    return reinterpret_cast<T*>(bytes_.data() + offset);
  }

  const char* Text(ZEMPTR offset) const { return bytes_.data() + offset; }
  const std::vector<char>& bytes() const { return bytes_; }

 private:
  std::vector<char> bytes_;
};

struct BuiltMeta {
  ZEMPTR offset = ZEMPTR_NONE;
  ZEMPTR entries = ZEMPTR_NONE;  // the meta's entry records, contiguous
  int32_t size = 0;
};

// Finds a meta's entries by name; the first of two entries with one name wins.
class EntryFinder {
 public:
  explicit EntryFinder(const ZemMetaDef& meta) {
    for (size_t i = 0; i < meta.entries.size(); ++i) {
      by_name_.emplace(meta.entries[i].name, static_cast<int>(i));
    }
  }
  // The entry's position, or -1.
  int Find(const std::string& name) const {
    auto found = by_name_.find(name);
    return found == by_name_.end() ? -1 : found->second;
  }

 private:
  std::unordered_map<std::string, int> by_name_;
};

int32_t ClampToInt(int64_t value) {
  return static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(value, 0), INT32_MAX));
}

}  // namespace

void ZemMetaLibDeleter::operator()(tagZEMMetaLib* metalib) const {
  metalib->~tagZEMMetaLib();
  ::operator delete(static_cast<void*>(metalib), std::align_val_t{alignof(tagZEMMetaLib)});
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
  auto fail = [error](const std::string& why) {
    if (error != nullptr) *error = why;
    return ZemMetaLibPtr();
  };

  Arena arena;
  const ZEMPTR lib_name = arena.AddText(def.name);

  // Every meta record first, so entries can refer to any meta, later ones and themselves included.
  std::vector<BuiltMeta> built(def.metas.size());
  std::map<std::string, size_t> meta_index;
  for (size_t m = 0; m < def.metas.size(); ++m) {
    if (!meta_index.emplace(def.metas[m].name, m).second) {
      return fail("meta '" + def.metas[m].name + "' is defined twice");
    }
    built[m].offset = arena.Alloc<tagZEMMeta>(1);
  }

  for (size_t m = 0; m < def.metas.size(); ++m) {
    const ZemMetaDef& meta = def.metas[m];
    const ZEMPTR meta_offset = built[m].offset;
    const std::string where = "meta '" + meta.name + "'";
    const EntryFinder entries_by_name(meta);

    const int entry_count = static_cast<int>(meta.entries.size());
    const int entry_num = meta.entry_num.value_or(entry_count);
    const int slots = std::max(entry_num, entry_count);
    const ZEMPTR entry_table = arena.Alloc<ZEMPTR>(static_cast<size_t>(slots));
    const ZEMPTR entries = arena.Alloc<tagZEMMetaEntry>(meta.entries.size());
    built[m].entries = entries;
    auto entry_offset = [entries](int i) {
      return entries + static_cast<ZEMPTR>(i * sizeof(tagZEMMetaEntry));
    };

    // Key members get the key bit; their entries must exist.
    std::vector<unsigned char> flags(meta.entries.size(), 0);
    std::vector<int> key_entries;
    for (const std::string& member : meta.primary_key) {
      const int e = entries_by_name.Find(member);
      if (e < 0) return fail(where + ": primary key member '" + member + "' names no entry");
      key_entries.push_back(e);
      flags[static_cast<size_t>(e)] |= ZEM_DBFLAG_PRIMARY_KEY;
    }
    if (meta.primary_key_num && *meta.primary_key_num > static_cast<int>(key_entries.size()) &&
        !meta.primary_key_base_absent) {
      return fail(where + ": key count above the members given");
    }
    if (meta.index_num && *meta.index_num > static_cast<int>(meta.indexes.size())) {
      return fail(where + ": index count above the indexes given");
    }

    int64_t host_offset = 0;
    int64_t size = 0;
    for (int i = 0; i < entry_count; ++i) {
      const ZemEntryDef& entry_def = meta.entries[static_cast<size_t>(i)];
      ZEMPTR type_meta = ZEMPTR_NONE;
      uint32_t unit_size = ZemBaseTypeUnitSize(entry_def.type, 0);
      if (!entry_def.type_meta.empty()) {
        auto found = meta_index.find(entry_def.type_meta);
        if (found == meta_index.end()) {
          return fail(where + ": entry '" + entry_def.name + "' has type '" + entry_def.type_meta +
                      "', which is no meta");
        }
        type_meta = built[found->second].offset;
        unit_size = found->second < m ? static_cast<uint32_t>(built[found->second].size) : 0;
      }
      if (entry_def.unit_size) unit_size = *entry_def.unit_size;
      ZEMPTR refer = ZEMPTR_NONE;
      if (!entry_def.refer.empty()) {
        const int r = entries_by_name.Find(entry_def.refer);
        if (r < 0) {
          return fail(where + ": entry '" + entry_def.name + "' refers to '" + entry_def.refer +
                      "', which is no entry");
        }
        refer = entry_offset(r);
      }
      const ZEMPTR name = arena.AddText(entry_def.name);
      const ZEMPTR attr =
          entry_def.customattr2 ? arena.AddText(*entry_def.customattr2) : ZEMPTR_NONE;

      tagZEMMetaEntry* entry = arena.At<tagZEMMetaEntry>(entry_offset(i));
      entry->ptrSelf = entry_offset(i);
      entry->ptrName = name;
      entry->ptrCustomAttr2 = attr;
      entry->ptrRefer = refer;
      entry->ptrTypeMeta = type_meta;
      entry->iType = entry_def.type;
      entry->iCount = entry_def.count;
      entry->uUnitSize = unit_size;
      entry->chDBFlag = static_cast<unsigned char>(entry_def.db_flag | flags[static_cast<size_t>(i)]);
      const int64_t entry_size =
          static_cast<int64_t>(unit_size) * std::max<int64_t>(entry_def.count, 1);
      entry->iHOff = meta.is_union ? 0 : ClampToInt(host_offset);
      host_offset += entry_size;
      size = meta.is_union ? std::max(size, entry_size) : size + entry_size;
    }
    built[m].size = ClampToInt(size);
    for (int i = 0; i < slots; ++i) {
      const bool present = i < entry_count && !meta.entries[static_cast<size_t>(i)].null_slot;
      arena.At<ZEMPTR>(entry_table)[i] = present ? entry_offset(i) : ZEMPTR_NONE;
    }

    ZEMPTR key_base = ZEMPTR_NONE;
    if (!meta.primary_key_base_absent && !key_entries.empty()) {
      key_base = arena.Alloc<tagZEMDBKeyInfo>(key_entries.size());
      for (size_t k = 0; k < key_entries.size(); ++k) {
        tagZEMDBKeyInfo* key = arena.At<tagZEMDBKeyInfo>(key_base) + k;
        key->ptrEntry = entry_offset(key_entries[k]);
        key->iHOff = arena.At<tagZEMMetaEntry>(key->ptrEntry)->iHOff;
      }
    }

    // The split key points at its first piece's entry; a text that names no field still declares
    // a key, pointing at the meta's first entry record.
    ZEMPTR split_entry = ZEMPTR_NONE;
    ZEMPTR split_text = ZEMPTR_NONE;
    if (meta.split_table_key) {
      const std::string& text = *meta.split_table_key;
      const int e = entries_by_name.Find(text.substr(0, text.find(',')));
      split_entry = e >= 0 ? entry_offset(e) : entries;
      split_text = arena.AddText(text);
    }

    const int index_count = static_cast<int>(meta.indexes.size());
    const ZEMPTR indexes = arena.Alloc<tagZEMMetaIndex>(meta.indexes.size());
    for (int i = 0; i < index_count; ++i) {
      const ZemIndexDef& index_def = meta.indexes[static_cast<size_t>(i)];
      const ZEMPTR name = arena.AddText(index_def.name);
      const ZEMPTR columns = arena.Alloc<tagZEMColumnInfo>(index_def.columns.size());
      for (size_t j = 0; j < index_def.columns.size(); ++j) {
        const int e = entries_by_name.Find(index_def.columns[j]);
        if (e < 0) {
          return fail(where + ": index '" + index_def.name + "' column '" + index_def.columns[j] +
                      "' names no entry");
        }
        tagZEMColumnInfo* column = arena.At<tagZEMColumnInfo>(columns) + j;
        column->ptrEntry = entry_offset(e);
        column->iHOff = arena.At<tagZEMMetaEntry>(column->ptrEntry)->iHOff;
      }
      tagZEMMetaIndex* index = arena.At<tagZEMMetaIndex>(indexes) + i;
      index->ptrName = name;
      index->iColumnNum = static_cast<int32_t>(index_def.columns.size());
      index->ptrColumnBase = columns - meta_offset;
    }

    const ZEMPTR meta_name = arena.AddText(meta.name);
    const ZEMPTR meta_attr = meta.customattr2 ? arena.AddText(*meta.customattr2) : ZEMPTR_NONE;
    tagZEMMeta* record = arena.At<tagZEMMeta>(meta_offset);
    record->ptrMeta = meta_offset;
    record->ptrName = meta_name;
    record->iVersion = meta.version;
    record->iIsUnion = meta.is_union ? 1 : 0;
    record->iEntriesNum = entry_num;
    record->iSize = built[m].size;
    record->ptrEntryTable = entry_table - meta_offset;
    record->nPrimayKeyMemberNum =
        meta.primary_key_num.value_or(static_cast<int16_t>(key_entries.size()));
    record->ptrPrimayKeyBase = key_base == ZEMPTR_NONE ? ZEMPTR_NONE : key_base - meta_offset;
    record->stSplitTableKey.ptrEntry = split_entry;
    record->stSplitTableKey.iHOff = 0;
    record->ptrSplitTableKey = split_text;
    record->iIndexesNum = meta.index_num.value_or(index_count);
    record->ptrIndexes = indexes - meta_offset;
    record->ptrCustomAttr2 = meta_attr;
  }

  // Lookup tables: metas in definition order and by name, macros by name (the later value wins).
  const ZEMPTR meta_table = arena.Alloc<ZEMPTR>(built.size());
  const ZEMPTR meta_by_name = arena.Alloc<ZEMPTR>(built.size());
  std::vector<size_t> order(built.size());
  for (size_t m = 0; m < built.size(); ++m) {
    arena.At<ZEMPTR>(meta_table)[m] = built[m].offset;
    order[m] = m;
  }
  std::sort(order.begin(), order.end(), [&def](size_t a, size_t b) {
    return def.metas[a].name < def.metas[b].name;
  });
  for (size_t m = 0; m < order.size(); ++m) {
    arena.At<ZEMPTR>(meta_by_name)[m] = built[order[m]].offset;
  }
  std::map<std::string, int> macros;
  for (const auto& macro : def.macros) macros[macro.first] = macro.second;
  std::vector<std::pair<ZEMPTR, int>> macro_records;
  for (const auto& macro : macros) macro_records.emplace_back(arena.AddText(macro.first), macro.second);
  const ZEMPTR macro_table = arena.Alloc<tagZEMMacro>(macro_records.size());
  for (size_t i = 0; i < macro_records.size(); ++i) {
    tagZEMMacro* macro = arena.At<tagZEMMacro>(macro_table) + i;
    macro->ptrName = macro_records[i].first;
    macro->iValue = macro_records[i].second;
  }

  const size_t data_size = arena.bytes().size();
  void* block = ::operator new(sizeof(tagZEMMetaLib) + data_size,
                               std::align_val_t{alignof(tagZEMMetaLib)});
  ZemMetaLibPtr metalib(new (block) tagZEMMetaLib());
  metalib->uMagic = ZEM_METALIB_MAGIC;
  metalib->iVersion = def.version;
  metalib->iDataSize = static_cast<int64_t>(data_size);
  metalib->ptrName = lib_name;
  metalib->iMetaNum = static_cast<int32_t>(built.size());
  metalib->iMacroNum = static_cast<int32_t>(macro_records.size());
  metalib->ptrMetaTable = meta_table;
  metalib->ptrMetaByName = meta_by_name;
  metalib->ptrMacros = macro_table;
  std::memcpy(metalib->data(), arena.bytes().data(), data_size);
  return metalib;
}
