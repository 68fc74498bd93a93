// Builds a ZEM metalib in memory from a plain description. The XML loader uses it, and tests use
// it to make any model at all, including ones no schema file can express: a key count whose key
// array is absent, a NULL entry slot, a negative entry or index count, a split table key text that
// names no field, a struct that contains itself.
#ifndef VELMORA_ZEM_BUILDER_H_
#define VELMORA_ZEM_BUILDER_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <velmora/export.h>
#include <velmora/zem.h>

struct ZemEntryDef {
  std::string name;
  int type = ZEM_TYPE_INT32;
  int count = 1;
  // Bytes of one element. Default: the type's own size (string 1, wstring 2, a struct or union the
  // size of its meta when that meta is defined earlier, 0 otherwise).
  std::optional<uint32_t> unit_size;
  std::string refer;      // an entry of the same meta holding the array's length; empty: none
  std::string type_meta;  // the struct or union of a type 0 or 1 entry
  std::optional<std::string> customattr2;
  unsigned char db_flag = 0;  // the key bit is added for primary key members
  bool null_slot = false;     // zem_get_entry_by_index answers NULL for this entry
};

struct ZemIndexDef {
  std::string name;
  std::vector<std::string> columns;  // entry names, repeats kept
  // The columns as positions in the meta's entries, repeats kept, for a caller that has resolved
  // the names already (the XML loader): no copy of each name. Read only when columns is empty.
  std::vector<int32_t> column_entries = {};
};

struct ZemMetaDef {
  std::string name;
  bool is_union = false;
  int version = 0;
  std::vector<ZemEntryDef> entries;
  std::vector<std::string> primary_key;  // member entry names in key order, repeats kept
  std::optional<int16_t> primary_key_num;  // overrides the member count (at most the members given)
  bool primary_key_base_absent = false;    // key array all-ones, whatever the count
  // The split table key as zem_get_meta_splittablekey returns it. Its first piece names the key
  // entry when there is one; a text naming no field still declares a key.
  std::optional<std::string> split_table_key;
  std::vector<ZemIndexDef> indexes;
  std::optional<int> index_num;  // overrides the index count (at most the indexes given)
  std::optional<int> entry_num;  // overrides the entry count; extra slots are NULL entries
  std::optional<std::string> customattr2;
};

struct ZemMetaLibDef {
  std::string name = "metalib";
  int version = 0;
  std::vector<std::pair<std::string, int>> macros;  // a repeated name: the later value wins
  std::vector<ZemMetaDef> metas;
};

struct VELMORA_API ZemMetaLibDeleter {
  void operator()(tagZEMMetaLib* metalib) const;
};
typedef std::unique_ptr<tagZEMMetaLib, ZemMetaLibDeleter> ZemMetaLibPtr;

// Lays the description out as one block. Returns NULL and sets *error when a name it must resolve
// (a key member, split key entry, index column, refer or type meta) is missing, when two metas
// share a name, or when an override exceeds what was given (error may be NULL: no reason is
// kept). The block belongs to the returned pointer and is freed with it.
VELMORA_API ZemMetaLibPtr ZemBuildMetaLib(const ZemMetaLibDef& def, std::string* error);

// The unit size of a base type code, for a string or wstring of the given declared size.
VELMORA_API uint32_t ZemBaseTypeUnitSize(int type, uint32_t declared_size);

#endif  // VELMORA_ZEM_BUILDER_H_
