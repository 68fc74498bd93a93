// A load's whole result in words, to hold two loads of one text to each other: the verdict, every
// message with its place, the tables, the model byte for byte and the place of each of its records.
#ifndef VELMORA_TESTS_LOAD_RESULTS_H_
#define VELMORA_TESTS_LOAD_RESULTS_H_

#include <cstdint>
#include <cstring>
#include <string>

#include <velmora/zem.h>
#include <velmora/zem_xml_loader.h>

inline std::string DescribeMessage(const ZemLoadMessage& message) {
  return message.file + ":" + std::to_string(message.line) + ":" + std::to_string(message.column) +
         ": " + message.text + " [" + message.element + " " + message.name + "]\n";
}

inline std::string DescribePlace(const char* what, const ZemPlace& place) {
  return std::string(what) + " " + std::to_string(place.line) + ":" + std::to_string(place.column) +
         "\n";
}

inline std::string DescribeLoad(const ZemLoadResult& result) {
  std::string text =
      std::string("ok ") + (result.ok ? "yes" : "no") + "\nerror " + DescribeMessage(result.error);
  for (const ZemLoadMessage& error : result.errors) text += "errors " + DescribeMessage(error);
  for (const ZemLoadMessage& warning : result.warnings)
    text += "warning " + DescribeMessage(warning);
  for (const ZemMetaInfo& meta : result.metas) {
    text += "meta " + meta.name + " line " + std::to_string(meta.line) +
            (meta.is_union ? " union" : "") + (meta.has_primary_key ? " keyed" : "") + "\n";
  }
  LPZEMMETALIB metalib = result.metalib.get();
  if (metalib == nullptr) return text + "no model\n";
  // The model: its bytes, hashed (FNV-1a), and the places of its records in order.
  const auto* bytes = reinterpret_cast<const unsigned char*>(metalib);
  const size_t size = sizeof(tagZEMMetaLib) + static_cast<size_t>(metalib->iDataSize);
  uint64_t hash = 1469598103934665603ULL;
  for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 1099511628211ULL;
  text += "model " + std::to_string(size) + " bytes, hash " + std::to_string(hash) + "\n";
  const ZemSourcePlaces& places = result.places;
  for (int m = 0; m < zem_get_meta_num(metalib); ++m) {
    LPZEMMETA meta = zem_get_meta_by_index(metalib, m);
    text += DescribePlace("meta", places.Of(meta));
    text += DescribePlace(" primarykey", places.OfAttribute(meta, ZemSourcePlaces::PRIMARY_KEY));
    text +=
        DescribePlace(" splittablekey", places.OfAttribute(meta, ZemSourcePlaces::SPLIT_TABLE_KEY));
    text += DescribePlace(" customattr2", places.OfAttribute(meta, ZemSourcePlaces::CUSTOM_ATTR2));
    for (int e = 0; e < zem_get_entry_num(meta); ++e) {
      LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, e);
      text += DescribePlace(" entry", places.Of(entry));
      text +=
          DescribePlace("  customattr2", places.OfAttribute(entry, ZemSourcePlaces::CUSTOM_ATTR2));
    }
    for (int i = 0; i < meta->iIndexesNum; ++i) {
      text += DescribePlace(" index", places.Of(zem_meta_index(meta, i)));
    }
  }
  return text;
}

#endif  // VELMORA_TESTS_LOAD_RESULTS_H_
