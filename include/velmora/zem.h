// The ZEM schema model: a loaded metalib in one relocatable block. Every record lies in the
// library's data area and refers to others by offsets (ZEMPTR), so the block can be copied or
// mapped anywhere. An offset of all ones (-1) means "absent".
//
// Offsets and their bases:
//   - names, entries, metas and texts: from the library data base, which is the address of a
//     meta minus its ptrMeta (or tagZEMMetaLib::data(), the first byte after the library header);
//   - a meta's primary key array, entry table, index array and each index's column array: from
//     the address of the meta that owns them.
// Arrays are contiguous records of fixed size. Handles are read-only views into the block.
//
// Lifetime: every handle, name and text the operations below return points into the metalib's
// block and stays valid exactly as long as that block (for a loaded or built metalib, until its
// ZemMetaLibPtr releases it). Nothing is copied and nothing needs to be freed.
//
// Threads: the operations only read the block, so any number of threads may use one metalib at
// once, as long as none of them modifies or frees it meanwhile.
#ifndef VELMORA_ZEM_H_
#define VELMORA_ZEM_H_

#include <cstddef>
#include <cstdint>

#include <velmora/export.h>

typedef int64_t ZEMPTR;
constexpr ZEMPTR ZEMPTR_NONE = -1;

// Entry type codes.
enum ZemTypeCode {
  ZEM_TYPE_UNION = 0,
  ZEM_TYPE_STRUCT = 1,
  ZEM_TYPE_INT8 = 2,
  ZEM_TYPE_UINT8 = 3,
  ZEM_TYPE_BYTE = 4,
  ZEM_TYPE_INT16 = 5,
  ZEM_TYPE_UINT16 = 6,
  ZEM_TYPE_INT32 = 7,
  ZEM_TYPE_UINT32 = 8,
  ZEM_TYPE_LONG = 9,    // 4-byte integers that schema files cannot name; models built in code can.
  ZEM_TYPE_ULONG = 10,
  ZEM_TYPE_INT64 = 11,
  ZEM_TYPE_UINT64 = 12,
  ZEM_TYPE_DATE = 13,
  ZEM_TYPE_TIME = 14,
  ZEM_TYPE_DATETIME = 15,
  ZEM_TYPE_DECIMAL = 16,
  ZEM_TYPE_FLOAT = 17,
  ZEM_TYPE_DOUBLE = 18,
  ZEM_TYPE_IPV4 = 19,
  ZEM_TYPE_CHAR16 = 20,
  ZEM_TYPE_STRING = 21,
  ZEM_TYPE_WSTRING = 22,
};

// Bit of tagZEMMetaEntry::chDBFlag that marks a primary key member.
constexpr unsigned char ZEM_DBFLAG_PRIMARY_KEY = 0x10;

// A key member or the split table key: the entry it is made of.
struct tagZEMDBKeyInfo {
  int32_t iHOff;    // host offset of the field inside a record
  ZEMPTR ptrEntry;  // the entry, from the data base; -1: absent
};
static_assert(sizeof(tagZEMDBKeyInfo) == 16, "key descriptions are 16-byte records");

// One column of an index.
struct tagZEMColumnInfo {
  int32_t iHOff;
  ZEMPTR ptrEntry;  // the entry, from the data base
  int32_t iIsDesc;
  int32_t iCaredCharNum;
};
static_assert(sizeof(tagZEMColumnInfo) == 24, "columns are 24-byte records");

// One secondary index of a meta. Index records are 80 bytes, as the store's schema library lays
// them out, so a host's library and this one are walked the same way; the room after the fields
// read here is reserved for index options.
struct tagZEMMetaIndex {
  ZEMPTR ptrName;        // from the data base
  int32_t iColumnNum;
  int32_t iType;
  int32_t iUnique;
  int32_t iReserved;
  ZEMPTR ptrColumnBase;  // array of iColumnNum columns, from the owning meta
  char szReserved[48];
};
static_assert(sizeof(tagZEMMetaIndex) == 80, "indexes are 80-byte records");

// One field of a meta.
struct tagZEMMetaEntry {
  ZEMPTR ptrSelf;         // this record's own offset, so an entry alone can find its names
  ZEMPTR ptrName;         // from the data base
  ZEMPTR ptrCustomAttr2;  // from the data base; -1: no attribute
  ZEMPTR ptrRefer;        // the entry holding the array's length, from the data base; -1: none
  ZEMPTR ptrTypeMeta;     // the meta of a struct or union entry, from the data base; -1: none
  int32_t iType;          // ZemTypeCode
  int32_t iCount;         // 1 scalar, >1 fixed array, 0 variable array
  uint32_t uUnitSize;     // bytes of one element
  int32_t iHOff;
  unsigned char chDBFlag; // ZEM_DBFLAG_PRIMARY_KEY for key members
};

// One struct or union; for the checker, a table.
struct tagZEMMeta {
  ZEMPTR ptrMeta;  // this record's own offset in the data area
  ZEMPTR ptrName;  // from the data base
  int32_t iVersion;
  int32_t iIsUnion;
  int32_t iEntriesNum;
  int32_t iSize;
  ZEMPTR ptrEntryTable;  // array of iEntriesNum entry offsets (from the data base; -1: no entry)
  int16_t nPrimayKeyMemberNum;
  ZEMPTR ptrPrimayKeyBase;  // array of tagZEMDBKeyInfo from this meta; -1: no primary key
  tagZEMDBKeyInfo stSplitTableKey;  // ptrEntry -1: no split table key
  ZEMPTR ptrSplitTableKey;  // the key's field names joined by ",", from the data base
  int32_t iIndexesNum;
  ZEMPTR ptrIndexes;        // array of tagZEMMetaIndex from this meta
  ZEMPTR ptrCustomAttr2;    // from the data base; -1: none
};

// A named integer macro of a metalib.
struct tagZEMMacro {
  ZEMPTR ptrName;
  int32_t iValue;
};

// The library header; its data area of iDataSize bytes follows it directly, so the data area
// begins sizeof(tagZEMMetaLib) bytes after the header's address.
struct tagZEMMetaLib {
  uint32_t uMagic;
  int32_t iVersion;
  int64_t iDataSize;
  ZEMPTR ptrName;
  int32_t iMetaNum;
  int32_t iMacroNum;
  ZEMPTR ptrMetaTable;   // iMetaNum meta offsets in definition order
  ZEMPTR ptrMetaByName;  // the same offsets ordered by name (strcmp) for lookups
  ZEMPTR ptrMacros;      // iMacroNum tagZEMMacro ordered by name

  // The first byte of the data area: the library data base.
  const char* data() const { return reinterpret_cast<const char*>(this + 1); }
  char* data() { return reinterpret_cast<char*>(this + 1); }
};
static_assert(sizeof(tagZEMMetaLib) == 56, "the library header is 56 bytes");
static_assert(sizeof(tagZEMMetaLib) % alignof(int64_t) == 0,
              "the data area that follows the header is aligned for its 8-byte offsets");

constexpr uint32_t ZEM_METALIB_MAGIC = 0x5a454d4cu;  // "ZEML"

typedef const tagZEMMetaLib* LPZEMMETALIB;
typedef const tagZEMMeta* LPZEMMETA;
typedef const tagZEMMetaEntry* LPZEMMETAENTRY;
typedef const tagZEMMetaIndex* LPZEMMETAINDEX;

// The helpers below take handles that are not NULL and read the records directly.

// The start of the data area that a meta's data-base offsets are resolved against.
inline const char* zem_meta_data_base(LPZEMMETA meta) {
  return reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(meta) -
                                       static_cast<uintptr_t>(meta->ptrMeta));
}

// The library that owns a meta: its data base minus the size of the library header. A record that
// is not inside any library may yield NULL here; callers test for it.
inline LPZEMMETALIB zem_meta_metalib(LPZEMMETA meta) {
  return reinterpret_cast<LPZEMMETALIB>(reinterpret_cast<uintptr_t>(zem_meta_data_base(meta)) -
                                        sizeof(tagZEMMetaLib));
}

// The record at a data-base offset, and at an offset from a meta.
template <typename T>
inline const T* zem_at(const char* base, ZEMPTR offset) {
  return reinterpret_cast<const T*>(base + offset);
}

// Primary key member k, index i, and column j of an index of a meta.
inline const tagZEMDBKeyInfo* zem_meta_key_member(LPZEMMETA meta, int k) {
  return zem_at<tagZEMDBKeyInfo>(reinterpret_cast<const char*>(meta), meta->ptrPrimayKeyBase) + k;
}
inline LPZEMMETAINDEX zem_meta_index(LPZEMMETA meta, int i) {
  return zem_at<tagZEMMetaIndex>(reinterpret_cast<const char*>(meta), meta->ptrIndexes) + i;
}
inline const tagZEMColumnInfo* zem_index_column(LPZEMMETA meta, LPZEMMETAINDEX index, int j) {
  return zem_at<tagZEMColumnInfo>(reinterpret_cast<const char*>(meta), index->ptrColumnBase) + j;
}
// The entry a key member or column is made of.
inline LPZEMMETAENTRY zem_meta_entry_at(LPZEMMETA meta, ZEMPTR ptr_entry) {
  return zem_at<tagZEMMetaEntry>(zem_meta_data_base(meta), ptr_entry);
}
// The name of an index.
inline const char* zem_index_name(LPZEMMETA meta, LPZEMMETAINDEX index) {
  return zem_meta_data_base(meta) + index->ptrName;
}

// ---- Library operations -------------------------------------------------------------------
// Every operation accepts NULL for any handle or name and then answers "nothing": NULL for a
// handle or text, 0 for a number (-1 for a type code, which has no "none" of its own), -1 for a
// status. Texts are NUL-terminated and live in the metalib's block (see Lifetime above).

// The meta of this name (exact match), or NULL; NULL too for a NULL metalib or name.
VELMORA_API LPZEMMETA zem_get_meta_by_name(LPZEMMETALIB metalib, const char* name);
// The meta's name; NULL for a NULL meta.
VELMORA_API const char* zem_get_meta_name(LPZEMMETA meta);
// The number of entries (may be below 1 in a model built by hand); 0 for a NULL meta.
VELMORA_API int zem_get_entry_num(LPZEMMETA meta);
// Entry idx (0-based), or NULL when idx is out of range, the slot is empty or meta is NULL.
VELMORA_API LPZEMMETAENTRY zem_get_entry_by_index(LPZEMMETA meta, int idx);
// The entry's name; NULL for a NULL entry.
VELMORA_API const char* zem_get_entry_name(LPZEMMETAENTRY entry);
// The entry's ZemTypeCode; -1 for a NULL entry.
VELMORA_API int zem_get_entry_type(LPZEMMETAENTRY entry);
// 1 for a scalar, above 1 for a fixed array, 0 for a variable array; 0 for a NULL entry.
VELMORA_API int zem_get_entry_count(LPZEMMETAENTRY entry);
// The entry that holds the array's length, or NULL when none is declared or entry is NULL.
VELMORA_API LPZEMMETAENTRY zem_get_entry_refer(LPZEMMETAENTRY entry);
// Bytes of one element; 0 for a NULL entry.
VELMORA_API size_t zem_get_entry_unitsize(LPZEMMETAENTRY entry);
// The meta of a struct or union entry, or NULL (no such meta, or a NULL argument). metalib is the
// library that owns the entry.
VELMORA_API LPZEMMETA zem_get_entry_type_meta(LPZEMMETALIB metalib, LPZEMMETAENTRY entry);
// The entry's custom attribute text, or NULL when it has none or an argument is NULL. metalib is
// the library that owns the entry.
VELMORA_API const char* zem_get_entry_customattr2(LPZEMMETALIB metalib, LPZEMMETAENTRY entry);
// The meta's custom attribute text, or NULL when it has none or meta is NULL.
VELMORA_API const char* zem_get_meta_customattr2(LPZEMMETA meta);
// Copies the split table key's field names, joined by "," (empty when the meta declares none),
// into buffer. Returns 0. Returns -1 when the text and its terminator do not fit (the buffer is
// left empty) and when meta or buffer is NULL or buffer_size is 0 (the buffer is not touched).
// On -1, *err_str points at the reason, unless err_str is NULL; on 0, *err_str is not touched.
// The reason is kept per thread and stays valid until this thread's next failing call.
VELMORA_API int zem_get_meta_splittablekey(LPZEMMETA meta, char* buffer, size_t buffer_size,
                                           const char** err_str);
// Writes the macro's value to *value and returns 0; returns -1 and leaves *value alone when the
// library has no macro of that name or an argument is NULL.
VELMORA_API int zem_get_macro_value(int* value, LPZEMMETALIB metalib, const char* name);
// The library's version; 0 for a NULL metalib.
VELMORA_API int zem_get_metalib_version(LPZEMMETALIB metalib);
// The library's name; NULL for a NULL metalib.
VELMORA_API const char* zem_get_metalib_name(LPZEMMETALIB metalib);
// The number of metas (0 for a NULL metalib), and meta idx in definition order (NULL when idx is
// out of range or metalib is NULL).
VELMORA_API int zem_get_meta_num(LPZEMMETALIB metalib);
VELMORA_API LPZEMMETA zem_get_meta_by_index(LPZEMMETALIB metalib, int idx);

#endif  // VELMORA_ZEM_H_
