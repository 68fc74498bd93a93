#include <velmora/zem_xml_loader.h>

#include <sys/stat.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "schema/zem_xml_reader.h"
#include "schema/zem_xml_text.h"

namespace {

bool IsXmlBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

ZemLoadResult LoadBytes(const std::string& file, std::string bytes) {
  ZemLoadResult result;
  result.error.file = file;
  if (bytes.empty()) {
    result.error.text = "the file is empty";
    return result;
  }
  ZemXmlText text;
  std::string decode_error;
  ZemTextPosition decode_at;
  if (!text.Decode(std::move(bytes), &decode_error, &decode_at)) {
    result.error = ZemLoadMessage{file, decode_at.line, decode_at.column, decode_error};
    return result;
  }
  const char* data = text.data();
  size_t first = 0;
  while (first < text.size() && IsXmlBlank(data[first])) ++first;
  if (first < text.size() && data[first] != '<') {
    const ZemTextPosition at = text.PositionOf(first);
    result.error = ZemLoadMessage{file, at.line, at.column,
                                  "not an XML file: it does not start with '<'"};
    return result;
  }

  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer_inplace(
      text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (parsed.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (parsed.status != pugi::status_ok && parsed.status != pugi::status_no_document_element) {
    const ZemTextPosition at = text.PositionOf(static_cast<size_t>(std::max<ptrdiff_t>(
        parsed.offset, 0)));
    result.error = ZemLoadMessage{file, at.line, at.column,
                                  std::string("malformed XML: ") + parsed.description()};
    return result;
  }

  ZemMetaLibDef def;
  if (!ZemReadSchemaDocument(document, text, file, &result, &def)) {
    result.metas.clear();
    return result;
  }
  std::string build_error;
  result.metalib = ZemBuildMetaLib(def, &build_error);
  if (!result.metalib) {
    result.metas.clear();
    result.error = ZemLoadMessage{file, 0, 0, "cannot build the schema: " + build_error};
    return result;
  }
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

ZemLoadResult ZemLoadXmlFile(const std::string& path) {
  return Guarded(path, [&path]() {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
      return Failed(path, std::string("cannot read the file: ") + std::strerror(errno));
    }
    if (S_ISDIR(info.st_mode)) {
      return Failed(path, std::string("cannot read the file: ") + std::strerror(EISDIR));
    }
    std::FILE* stream = std::fopen(path.c_str(), "rb");
    if (stream == nullptr) {
      return Failed(path, std::string("cannot read the file: ") + std::strerror(errno));
    }
    std::string bytes;
    if (S_ISREG(info.st_mode) && info.st_size > 0) bytes.reserve(static_cast<size_t>(info.st_size));
    char chunk[65536];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof(chunk), stream)) > 0) bytes.append(chunk, got);
    const bool failed = std::ferror(stream) != 0;
    const int reason = errno;
    std::fclose(stream);
    if (failed) return Failed(path, std::string("cannot read the file: ") + std::strerror(reason));
    return LoadBytes(path, std::move(bytes));
  });
}

ZemLoadResult ZemLoadXmlText(const std::string& file_name, const std::string& text) {
  return Guarded(file_name, [&file_name, &text]() { return LoadBytes(file_name, text); });
}

std::string FormatZemLoadMessage(const ZemLoadMessage& message, const char* kind) {
  std::string line = message.file;
  if (message.line > 0) {
    line += ":" + std::to_string(message.line);
    if (message.column > 0) line += ":" + std::to_string(message.column);
  }
  return line + ": " + (kind != nullptr ? kind : "error") + ": " + message.text;
}
