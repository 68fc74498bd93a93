// The loader on arbitrary bytes: any file, in any declared encoding, either loads into a model
// whose every record can be walked, or is refused with a load error that says where and why; and it
// is read alike with and without the plain-XML tree.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <velmora/zem.h>
#include <velmora/zem_xml_loader.h>

#include "../tests/load_results.h"
#include "schema/zem_xml_loader_internal.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Reads every record a check could reach, so that a record laid out wrongly shows as a bad read.
void WalkMeta(LPZEMMETALIB metalib, LPZEMMETA meta) {
  Require(zem_get_meta_by_name(metalib, zem_get_meta_name(meta)) == meta);
  Require(meta->iSize >= 0);
  // A table's customattr2 is kept as written, however long; it is read to its end.
  const char* attr = zem_get_meta_customattr2(meta);
  if (attr != nullptr) Require(std::strlen(attr) < static_cast<size_t>(metalib->iDataSize));
  char split_key[1024];
  const char* split_error = nullptr;
  if (zem_get_meta_splittablekey(meta, split_key, sizeof(split_key), &split_error) != 0) {
    Require(split_error != nullptr && split_key[0] == '\0');
  }
  const int entry_num = zem_get_entry_num(meta);
  for (int i = 0; i < entry_num; ++i) {
    LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, i);
    Require(entry != nullptr);
    Require(std::strlen(zem_get_entry_name(entry)) <= 127);
    const int type = zem_get_entry_type(entry);
    Require(type >= ZEM_TYPE_UNION && type <= ZEM_TYPE_WSTRING);
    Require(zem_get_entry_count(entry) >= 0);
    const uint64_t count = zem_get_entry_count(entry) == 0 ? 1 : zem_get_entry_count(entry);
    Require(zem_get_entry_unitsize(entry) * count <= 2147483647u);
    LPZEMMETAENTRY refer = zem_get_entry_refer(entry);
    if (refer != nullptr) Require(zem_get_entry_count(refer) == 1);
    LPZEMMETA type_meta = zem_get_entry_type_meta(metalib, entry);
    Require((type_meta != nullptr) == (type == ZEM_TYPE_UNION || type == ZEM_TYPE_STRUCT));
    const char* entry_attr = zem_get_entry_customattr2(metalib, entry);
    if (entry_attr != nullptr) Require(std::strlen(entry_attr) <= 2047);
  }
  for (int k = 0; k < meta->nPrimayKeyMemberNum; ++k) {
    Require(zem_get_entry_name(zem_meta_entry_at(meta, zem_meta_key_member(meta, k)->ptrEntry)) !=
            nullptr);
  }
  for (int i = 0; i < meta->iIndexesNum; ++i) {
    LPZEMMETAINDEX index = zem_meta_index(meta, i);
    Require(zem_index_name(meta, index) != nullptr);
    for (int j = 0; j < index->iColumnNum; ++j) {
      Require(zem_get_entry_name(zem_meta_entry_at(meta, zem_index_column(meta, index, j)->ptrEntry)) !=
              nullptr);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const ZemLoadResult loaded = ZemLoadXmlText("fuzz.xml", bytes);
  // Read without the plain-XML tree, by the full parser alone, the file gives the same result to
  // the byte: verdict, messages, tables, model and places.
  const ZemLoadResult parsed =
      ZemLoadXmlTextReading(ZemXmlReading::kFullParserOnly, "fuzz.xml", bytes);
  Require(DescribeLoad(loaded) == DescribeLoad(parsed));
  for (const ZemLoadMessage& warning : loaded.warnings) {
    Require(!FormatZemLoadMessage(warning, "warning").empty());
  }
  if (!loaded.ok) {
    Require(!loaded.metalib && loaded.metas.empty());
    Require(loaded.error.file == "fuzz.xml" && !loaded.error.text.empty());
    return 0;
  }
  LPZEMMETALIB metalib = loaded.metalib.get();
  Require(metalib != nullptr && loaded.error.text.empty());
  Require(zem_get_meta_num(metalib) == static_cast<int>(loaded.metas.size()));
  for (int i = 0; i < zem_get_meta_num(metalib); ++i) {
    LPZEMMETA meta = zem_get_meta_by_index(metalib, i);
    Require(meta != nullptr && loaded.metas[static_cast<size_t>(i)].name == zem_get_meta_name(meta));
    WalkMeta(metalib, meta);
  }
  return 0;
}
