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

constexpr size_t BASE_TYPE_NUM = sizeof(BASE_TYPES) / sizeof(BASE_TYPES[0]);
// No base type's name is longer: each fits in one word.
constexpr size_t MAX_BASE_TYPE_NAME = 8;

// The bytes of a name of at most MAX_BASE_TYPE_NAME bytes in one word, letters in lower case.
uint64_t LowerWord(const char* name, size_t size) {
  uint64_t word = 0;
  for (size_t i = 0; i < size; ++i) {
    word |= static_cast<uint64_t>(static_cast<unsigned char>(AsciiLower(name[i]))) << (8 * i);
  }
  return word;
}

// The base types' names as words, with their lengths: a name is looked up in a few compares of
// words, once for every entry of a file.
struct BaseTypeWords {
  BaseTypeWords() {
    for (size_t t = 0; t < BASE_TYPE_NUM; ++t) {
      size[t] = std::strlen(BASE_TYPES[t].name);
      word[t] = LowerWord(BASE_TYPES[t].name, size[t]);
    }
  }
  uint64_t word[BASE_TYPE_NUM];
  size_t size[BASE_TYPE_NUM];
};

}  // namespace

const BaseType* FindBaseType(std::string_view name) {
  static const BaseTypeWords words;
  if (name.size() > MAX_BASE_TYPE_NAME) return nullptr;
  const uint64_t word = LowerWord(name.data(), name.size());
  for (size_t t = 0; t < BASE_TYPE_NUM; ++t) {
    if (words.word[t] == word && words.size[t] == name.size()) return &BASE_TYPES[t];
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
