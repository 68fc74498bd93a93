#include "schema/zem_xml_values.h"

#include <cstdint>
#include <cstring>

#include <velmora/zem.h>

#include "base/ascii.h"

namespace {

constexpr size_t MAX_QUOTED_BYTES = 64;

const BaseType BASE_TYPES[] = {
    {"int8", ZEM_TYPE_INT8},         {"uint8", ZEM_TYPE_UINT8},   {"byte", ZEM_TYPE_BYTE},
    {"int16", ZEM_TYPE_INT16},       {"uint16", ZEM_TYPE_UINT16}, {"int32", ZEM_TYPE_INT32},
    {"uint32", ZEM_TYPE_UINT32},     {"int64", ZEM_TYPE_INT64},   {"uint64", ZEM_TYPE_UINT64},
    {"date", ZEM_TYPE_DATE},         {"time", ZEM_TYPE_TIME},     {"datetime", ZEM_TYPE_DATETIME},
    {"decimal", ZEM_TYPE_DECIMAL},   {"float", ZEM_TYPE_FLOAT},   {"double", ZEM_TYPE_DOUBLE},
    {"ipv4", ZEM_TYPE_IPV4},         {"char16", ZEM_TYPE_CHAR16}, {"string", ZEM_TYPE_STRING},
    {"wstring", ZEM_TYPE_WSTRING},
};

}  // namespace

const BaseType* FindBaseType(std::string_view name) {
  // Most names differ from a type's at the first byte.
  for (const BaseType& type : BASE_TYPES) {
    size_t i = 0;
    while (i < name.size() && type.name[i] != '\0' && AsciiLower(name[i]) == type.name[i]) ++i;
    if (i == name.size() && type.name[i] == '\0') return &type;
  }
  return nullptr;
}

const char* BaseTypeName(int code) {
  for (const BaseType& type : BASE_TYPES) {
    if (type.code == code) return type.name;
  }
  return "?";
}

std::string Quote(std::string_view text) {
  if (text.size() <= MAX_QUOTED_BYTES) return "'" + std::string(text) + "'";
  size_t cut = MAX_QUOTED_BYTES;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return "'" + std::string(text.substr(0, cut)) + "...'";
}

NumberParse ParseInt(std::string_view text, int64_t* value) {
  size_t at = 0;
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
    negative = text[at] == '-';
    ++at;
  }
  if (at == text.size()) return NUMBER_NONE;
  int64_t magnitude = 0;
  for (; at < text.size(); ++at) {
    if (text[at] < '0' || text[at] > '9') return NUMBER_NONE;
    // Past 2^32 the exact value no longer matters; stop growing so nothing overflows.
    if (magnitude <= (int64_t{1} << 32)) magnitude = magnitude * 10 + (text[at] - '0');
  }
  *value = negative ? -magnitude : magnitude;
  return (*value < INT32_MIN || *value > INT32_MAX) ? NUMBER_OUT_OF_RANGE : NUMBER_OK;
}
