#include <velmora/zem_xml_loader.h>

#include <pugixml.hpp>

#include <algorithm>
#include <exception>
#include <functional>
#include <new>

#include "base/ascii.h"
#include "schema/zem_xml_input.h"
#include "schema/zem_xml_loader_internal.h"
#include "schema/zem_xml_reader.h"
#include "schema/zem_xml_text.h"
#include "schema/zem_xml_tree.h"

namespace {


bool FailAt(const std::string& file, const ZemTextPosition& at, std::string text,
            ZemLoadResult* result) {
  result->error = ZemLoadMessage{file, at.line, at.column, std::move(text)};
  return false;
}

// Decodes and parses the file's bytes and reads them into result->metalib. The text and the
// parsed document are released when it returns.
bool ReadSchema(const std::string& file, ZemBytes bytes, ZemXmlReading reading,
                ZemLoadResult* result, std::vector<ZemMetaPlaces>* places) {
  ZemXmlText text;
  std::string decode_error;
  ZemTextPosition decode_at;
  if (!text.Decode(std::move(bytes), &decode_error, &decode_at)) {
    return FailAt(file, decode_at, decode_error, result);
  }
  const char* data = text.data();
  size_t first = 0;
  while (first < text.size() && IsXmlBlank(data[first])) ++first;
  if (first < text.size() && data[first] != '<') {
    return FailAt(file, text.PositionOf(first), "not an XML file: it does not start with '<'",
                  result);
  }

  // Plain XML, which schema files are written in, is read without the full parser's tree: the
  // plain tree answers the reader as the parser's tree would, load errors and warnings included.
  if (reading == ZemXmlReading::kPlainTreeFirst) {
    ZemXmlTree tree;
    if (tree.Parse(text.data(), text.size())) {
      return ZemReadSchemaDocument(tree, text, file, result, places);
    }
  }

  pugi::xml_document document;
  // The declaration is parsed as a node so that one that is not at the very start can be told.
  const pugi::xml_parse_result parsed =
      document.load_buffer_inplace(text.data(), text.size(),
                                   pugi::parse_default | pugi::parse_declaration,
                                   pugi::encoding_utf8);
  if (parsed.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (parsed.status != pugi::status_ok && parsed.status != pugi::status_no_document_element) {
    const size_t offset = static_cast<size_t>(std::max<ptrdiff_t>(parsed.offset, 0));
    return FailAt(file, text.PositionOf(offset),
                  std::string("malformed XML: ") + parsed.description(), result);
  }
  return ZemReadSchemaDocument(document, text, file, result, places);
}

// Records the places of the metas of the metalib, one per meta in its order, by their handles.
void PlaceHandles(LPZEMMETALIB metalib, const std::vector<ZemMetaPlaces>& places,
                  ZemSourcePlaces* out) {
  size_t handles = 0;
  for (const ZemMetaPlaces& meta_places : places) {
    handles += 1 + meta_places.entries.size() + meta_places.indexes.size();
  }
  out->Reserve(handles);
  const size_t metas = std::min(places.size(), static_cast<size_t>(zem_get_meta_num(metalib)));
  for (size_t i = 0; i < metas; ++i) {
    LPZEMMETA meta = zem_get_meta_by_index(metalib, static_cast<int>(i));
    const ZemMetaPlaces& meta_places = places[i];
    out->Add(meta, meta_places.element, meta_places.attributes);
    auto customattr2 = meta_places.entry_customattr2s.begin();
    for (size_t j = 0; j < meta_places.entries.size(); ++j) {
      ZemPlace attributes[ZemSourcePlaces::ATTRIBUTE_NUM];
      if (customattr2 != meta_places.entry_customattr2s.end() && customattr2->entry == j) {
        attributes[ZemSourcePlaces::CUSTOM_ATTR2] = (customattr2++)->place;
      }
      out->Add(zem_get_entry_by_index(meta, static_cast<int>(j)), meta_places.entries[j],
               attributes);
    }
    for (size_t k = 0; k < meta_places.indexes.size(); ++k) {
      out->Add(zem_meta_index(meta, static_cast<int>(k)), meta_places.indexes[k], nullptr);
    }
  }
}

ZemLoadResult LoadBytes(const std::string& file, ZemBytes bytes,
                        ZemXmlReading reading = ZemXmlReading::kPlainTreeFirst) {
  ZemLoadResult result;
  result.error.file = file;
  if (bytes.empty()) {
    result.error.text = "the file is empty";
    return result;
  }
  std::vector<ZemMetaPlaces> places;
  if (!ReadSchema(file, std::move(bytes), reading, &result, &places)) {
    result.metalib.reset();
    result.metas.clear();
    return result;
  }
  PlaceHandles(result.metalib.get(), places, &result.places);
  result.error = ZemLoadMessage();
  result.ok = true;
  return result;
}

ZemLoadResult Failed(const std::string& file, std::string text) {
  ZemLoadResult result;
  result.error = ZemLoadMessage{file, 0, 0, std::move(text)};
  return result;
}

// Runs a load; nothing it throws leaves the loader.
template <typename Load>
ZemLoadResult Guarded(const std::string& file, Load load) {
  try {
    return load();
  } catch (const std::bad_alloc&) {
    return Failed(file, "out of memory while loading the file");
  } catch (const std::exception& error) {
    return Failed(file, std::string("cannot load the file: ") + error.what());
  }
}

}  // namespace

ZemLoadResult ZemLoadXmlFile(const std::string& path, const ZemLoadOptions& options) {
  return Guarded(path, [&path, &options]() {
    ZemBytes bytes;
    std::string error;
    if (!ZemReadInput(path, options, &bytes, &error)) return Failed(path, std::move(error));
    return LoadBytes(path, std::move(bytes));
  });
}

ZemLoadResult ZemLoadXmlText(const std::string& file_name, const std::string& text,
                             const ZemLoadOptions& options) {
  return Guarded(file_name, [&file_name, &text, &options]() {
    if (text.size() > options.max_input_bytes) {
      return Failed(file_name, ZemInputTooLarge(options, text.size()));
    }
    return LoadBytes(file_name, ZemBytes(text.data(), text.size()));
  });
}

ZemLoadResult ZemLoadXmlTextReading(ZemXmlReading reading, const std::string& file_name,
                                    const std::string& text, const ZemLoadOptions& options) {
  return Guarded(file_name, [reading, &file_name, &text, &options]() {
    if (text.size() > options.max_input_bytes) {
      return Failed(file_name, ZemInputTooLarge(options, text.size()));
    }
    return LoadBytes(file_name, ZemBytes(text.data(), text.size()), reading);
  });
}

ZemPlace ZemSourcePlaces::Of(const void* handle) const {
  const Record* record = Find(handle);
  return record != nullptr ? record->element : ZemPlace();
}

ZemPlace ZemSourcePlaces::OfAttribute(const void* handle, Attribute attribute) const {
  const Record* record = Find(handle);
  if (record == nullptr || record->attributes == 0 || attribute < 0 || attribute >= ATTRIBUTE_NUM) {
    return ZemPlace();
  }
  return m_attributes[record->attributes - 1].of[attribute];
}

void ZemSourcePlaces::Add(const void* handle, const ZemPlace& element,
                          const ZemPlace* attributes) {
  if (handle == nullptr) return;
  const std::less<const void*> before;
  auto at = m_records.end();
  if (!m_records.empty() && !before(m_records.back().handle, handle)) {
    at = std::lower_bound(
        m_records.begin(), m_records.end(), handle,
        [&before](const Record& record, const void* key) { return before(record.handle, key); });
  }
  if (at == m_records.end()) {
    m_records.push_back(Record{handle, ZemPlace(), 0});
    at = m_records.end() - 1;
  } else if (at->handle != handle) {
    at = m_records.insert(at, Record{handle, ZemPlace(), 0});
  }
  Record& record = *at;
  record.element = element;
  bool written = false;
  for (int i = 0; attributes != nullptr && i < ATTRIBUTE_NUM; ++i) {
    written = written || attributes[i].line != 0;
  }
  if (!written) {
    if (record.attributes != 0) m_attributes[record.attributes - 1] = AttributePlaces();
    return;
  }
  if (record.attributes == 0) {
    m_attributes.emplace_back();
    record.attributes = static_cast<uint32_t>(m_attributes.size());
  }
  std::copy(attributes, attributes + ATTRIBUTE_NUM, m_attributes[record.attributes - 1].of);
}

void ZemSourcePlaces::Reserve(size_t handles) { m_records.reserve(handles); }

const ZemSourcePlaces::Record* ZemSourcePlaces::Find(const void* handle) const {
  const std::less<const void*> before;
  const auto at = std::lower_bound(
      m_records.begin(), m_records.end(), handle,
      [&before](const Record& record, const void* key) { return before(record.handle, key); });
  return at != m_records.end() && at->handle == handle ? &*at : nullptr;
}

std::string FormatZemLoadMessage(const ZemLoadMessage& message, const char* kind) {
  std::string line = message.file;
  if (message.line > 0) {
    line += ":" + std::to_string(message.line);
    if (message.column > 0) line += ":" + std::to_string(message.column);
  }
  return line + ": " + (kind != nullptr ? kind : "error") + ": " + message.text;
}

std::string FormatZemByteSize(uint64_t bytes) {
  const char* const units[] = {"GiB", "MiB", "KiB"};
  const unsigned shifts[] = {30, 20, 10};
  for (size_t i = 0; i < 3; ++i) {
    const uint64_t unit = uint64_t{1} << shifts[i];
    if (bytes >= unit && bytes % unit == 0) {
      return std::to_string(bytes / unit) + " " + units[i];
    }
  }
  return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}
