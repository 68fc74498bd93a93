#include <velmora/zem.h>

#include <cstdio>
#include <cstring>

namespace {

const char* LibData(LPZEMMETALIB metalib) { return metalib->data(); }

const char* EntryBase(LPZEMMETAENTRY entry) {
  return reinterpret_cast<const char*>(entry) - entry->ptrSelf;
}

const char* TextAt(const char* base, ZEMPTR offset) {
  return offset == ZEMPTR_NONE ? nullptr : base + offset;
}

// Binary search over records ordered by the name at ptr_name_of(record).
template <typename Record, typename NameOf>
const Record* FindByName(const Record* first, int count, const char* name, NameOf name_of) {
  int lo = 0;
  int hi = count;
  while (lo < hi) {
    const int mid = lo + (hi - lo) / 2;
    const int cmp = std::strcmp(name_of(first[mid]), name);
    if (cmp == 0) return first + mid;
    if (cmp < 0) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  return nullptr;
}

}  // namespace

LPZEMMETA zem_get_meta_by_name(LPZEMMETALIB metalib, const char* name) {
  if (metalib == nullptr || name == nullptr) return nullptr;
  const char* data = LibData(metalib);
  const ZEMPTR* by_name = zem_at<ZEMPTR>(data, metalib->ptrMetaByName);
  const ZEMPTR* found = FindByName(by_name, metalib->iMetaNum, name, [data](ZEMPTR meta) {
    return data + zem_at<tagZEMMeta>(data, meta)->ptrName;
  });
  return found == nullptr ? nullptr : zem_at<tagZEMMeta>(data, *found);
}

const char* zem_get_meta_name(LPZEMMETA meta) {
  if (meta == nullptr) return nullptr;
  return zem_meta_data_base(meta) + meta->ptrName;
}

int zem_get_entry_num(LPZEMMETA meta) { return meta != nullptr ? meta->iEntriesNum : 0; }

LPZEMMETAENTRY zem_get_entry_by_index(LPZEMMETA meta, int idx) {
  if (meta == nullptr || idx < 0 || idx >= meta->iEntriesNum) return nullptr;
  const ZEMPTR entry =
      zem_at<ZEMPTR>(reinterpret_cast<const char*>(meta), meta->ptrEntryTable)[idx];
  return entry == ZEMPTR_NONE ? nullptr : zem_meta_entry_at(meta, entry);
}

const char* zem_get_entry_name(LPZEMMETAENTRY entry) {
  if (entry == nullptr) return nullptr;
  return EntryBase(entry) + entry->ptrName;
}

int zem_get_entry_type(LPZEMMETAENTRY entry) { return entry != nullptr ? entry->iType : -1; }

int zem_get_entry_count(LPZEMMETAENTRY entry) { return entry != nullptr ? entry->iCount : 0; }

LPZEMMETAENTRY zem_get_entry_refer(LPZEMMETAENTRY entry) {
  if (entry == nullptr || entry->ptrRefer == ZEMPTR_NONE) return nullptr;
  return zem_at<tagZEMMetaEntry>(EntryBase(entry), entry->ptrRefer);
}

size_t zem_get_entry_unitsize(LPZEMMETAENTRY entry) {
  return entry != nullptr ? entry->uUnitSize : 0;
}

LPZEMMETA zem_get_entry_type_meta(LPZEMMETALIB metalib, LPZEMMETAENTRY entry) {
  if (metalib == nullptr || entry == nullptr || entry->ptrTypeMeta == ZEMPTR_NONE) return nullptr;
  return zem_at<tagZEMMeta>(LibData(metalib), entry->ptrTypeMeta);
}

const char* zem_get_entry_customattr2(LPZEMMETALIB metalib, LPZEMMETAENTRY entry) {
  if (metalib == nullptr || entry == nullptr) return nullptr;
  return TextAt(LibData(metalib), entry->ptrCustomAttr2);
}

const char* zem_get_meta_customattr2(LPZEMMETA meta) {
  if (meta == nullptr) return nullptr;
  return TextAt(zem_meta_data_base(meta), meta->ptrCustomAttr2);
}

int zem_get_meta_splittablekey(LPZEMMETA meta, char* buffer, size_t buffer_size,
                               const char** err_str) {
  // The reason lives as long as the thread, like every text the library hands out.
  thread_local char reason[96];
  if (meta == nullptr || buffer == nullptr || buffer_size == 0) {
    if (err_str != nullptr) {
      std::snprintf(reason, sizeof(reason), "invalid arguments for the split table key");
      *err_str = reason;
    }
    return -1;
  }
  const char* text = TextAt(zem_meta_data_base(meta), meta->ptrSplitTableKey);
  if (text == nullptr) text = "";
  const size_t length = std::strlen(text);
  if (length + 1 > buffer_size) {
    buffer[0] = '\0';
    if (err_str != nullptr) {
      std::snprintf(reason, sizeof(reason), "split table key text is longer than %zu bytes",
                    buffer_size - 1);
      *err_str = reason;
    }
    return -1;
  }
  std::memcpy(buffer, text, length + 1);
  return 0;
}

int zem_get_macro_value(int* value, LPZEMMETALIB metalib, const char* name) {
  if (value == nullptr || metalib == nullptr || name == nullptr) return -1;
  const char* data = LibData(metalib);
  const tagZEMMacro* found =
      FindByName(zem_at<tagZEMMacro>(data, metalib->ptrMacros), metalib->iMacroNum, name,
                 [data](const tagZEMMacro& macro) { return data + macro.ptrName; });
  if (found == nullptr) return -1;
  *value = found->iValue;
  return 0;
}

int zem_get_metalib_version(LPZEMMETALIB metalib) {
  return metalib != nullptr ? metalib->iVersion : 0;
}

const char* zem_get_metalib_name(LPZEMMETALIB metalib) {
  if (metalib == nullptr) return nullptr;
  return LibData(metalib) + metalib->ptrName;
}

int zem_get_meta_num(LPZEMMETALIB metalib) { return metalib != nullptr ? metalib->iMetaNum : 0; }

LPZEMMETA zem_get_meta_by_index(LPZEMMETALIB metalib, int idx) {
  if (metalib == nullptr || idx < 0 || idx >= metalib->iMetaNum) return nullptr;
  const char* data = LibData(metalib);
  return zem_at<tagZEMMeta>(data, zem_at<ZEMPTR>(data, metalib->ptrMetaTable)[idx]);
}
