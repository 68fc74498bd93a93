// CheckTableTypeByCustomAttr with the input as a table's attribute string and as the sort marks of
// its fields. Attribute strings are C strings, so NUL bytes split the input:
//
//   SETTINGS \0 TABLE_ATTRIBUTES \0 MARK_OF_FIELD_0 \0 MARK_OF_FIELD_1 ...
//
// SETTINGS are blank-separated words: server=V (the checker's server version), protocol (a data
// protocol is required), version=N (the metalib's version). Field 0 is the primary key (uint64);
// the other fields cycle through integer, floating, string, date and struct types. An empty mark
// means the field has no attribute.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <velmora/check_table.h>
#include <velmora/wlog.h>
#include <velmora/zem_builder.h>

namespace {

constexpr size_t kMaxFields = 32;
// The caller's data protocol buffer holds 6 bytes: the longest protocol name and its terminator.
constexpr size_t kDataProtocolSize = 6;
constexpr int kUntouched = 77;

const int kFieldTypes[] = {ZEM_TYPE_INT32,  ZEM_TYPE_STRING, ZEM_TYPE_UINT16, ZEM_TYPE_FLOAT,
                           ZEM_TYPE_DATETIME, ZEM_TYPE_INT8, ZEM_TYPE_DOUBLE, ZEM_TYPE_UINT64,
                           ZEM_TYPE_STRUCT, ZEM_TYPE_LONG, ZEM_TYPE_WSTRING};

void Require(bool holds) {
  if (!holds) std::abort();
}

struct AttrInput {
  std::string server_version;
  bool check_data_protocol = false;
  int metalib_version = 1;
  std::string table_attr;
  std::vector<std::string> marks;
};

AttrInput ParseAttrInput(const uint8_t* data, size_t size) {
  std::vector<std::string> parts(1);
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == '\0') {
      parts.emplace_back();
    } else {
      parts.back() += static_cast<char>(data[i]);
    }
  }
  AttrInput input;
  std::istringstream words(parts[0]);
  std::string word;
  while (words >> word) {
    if (word.rfind("server=", 0) == 0) {
      input.server_version = word.substr(7);
    } else if (word == "protocol") {
      input.check_data_protocol = true;
    } else if (word.rfind("version=", 0) == 0) {
      input.metalib_version = static_cast<int>(std::strtol(word.c_str() + 8, nullptr, 10));
    }
  }
  if (parts.size() > 1) input.table_attr = parts[1];
  for (size_t i = 2; i < parts.size() && input.marks.size() < kMaxFields; ++i) {
    input.marks.push_back(parts[i]);
  }
  return input;
}

ZemMetaLibPtr BuildSchema(const AttrInput& input) {
  ZemMetaLibDef lib;
  lib.version = input.metalib_version;
  lib.macros = {{"MAX_LIST", 100}, {"BIG_LIST", 20000}, {"NEGATIVE", -5}, {"ZERO", 0}};
  ZemMetaDef point;
  point.name = "point";
  for (const char* coordinate : {"x", "y"}) {
    ZemEntryDef entry;
    entry.name = coordinate;
    point.entries.push_back(entry);
  }
  lib.metas.push_back(point);

  ZemMetaDef table;
  table.name = "fuzz_table";
  table.primary_key = {"f0"};
  if (!input.table_attr.empty()) table.customattr2 = input.table_attr;
  const size_t fields = input.marks.empty() ? 1 : input.marks.size();
  for (size_t i = 0; i < fields; ++i) {
    ZemEntryDef entry;
    entry.name = "f" + std::to_string(i);
    entry.type = i == 0 ? ZEM_TYPE_UINT64
                        : kFieldTypes[(i - 1) % (sizeof(kFieldTypes) / sizeof(kFieldTypes[0]))];
    if (entry.type == ZEM_TYPE_STRUCT) entry.type_meta = "point";
    if (i < input.marks.size() && !input.marks[i].empty()) entry.customattr2 = input.marks[i];
    table.entries.push_back(entry);
  }
  lib.metas.push_back(table);
  std::string error;
  ZemMetaLibPtr metalib = ZemBuildMetaLib(lib, &error);
  Require(metalib != nullptr);
  return metalib;
}

struct AttrResult {
  int result = 0;
  std::string message;
  int table_type = kUntouched;
  int list_num = kUntouched;
  int sort_field_num = kUntouched;
  int sort_rule = kUntouched;
  std::string data_protocol;
};

AttrResult RunCheck(LPZEMMETALIB metalib, const AttrInput& input, LPWLOGCATEGORYINST log_handle) {
  AttrResult out;
  CheckTable checker(input.server_version);
  // On the heap, so that a write past the 6 bytes the caller promises is caught.
  std::unique_ptr<char[]> data_protocol(new char[kDataProtocolSize]());
  out.result = checker.CheckTableTypeByCustomAttr(
      metalib, "fuzz_table", out.table_type, out.list_num, out.sort_field_num, out.sort_rule,
      data_protocol.get(), input.check_data_protocol, log_handle);
  Require(std::memchr(checker.GetErrType(), '\0', 1024) != nullptr);
  out.message = checker.GetErrType();
  Require(std::memchr(data_protocol.get(), '\0', kDataProtocolSize) != nullptr);
  out.data_protocol = data_protocol.get();
  return out;
}

bool SameOutcome(const AttrResult& a, const AttrResult& b) {
  return a.result == b.result && a.message == b.message && a.table_type == b.table_type &&
         a.list_num == b.list_num && a.sort_field_num == b.sort_field_num &&
         a.sort_rule == b.sort_rule && a.data_protocol == b.data_protocol;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const AttrInput input = ParseAttrInput(data, size);
  const ZemMetaLibPtr metalib = BuildSchema(input);

  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  const AttrResult logged = RunCheck(metalib.get(), input, &category);
  // Without a log category nothing is logged, and nothing else changes.
  const AttrResult silent = RunCheck(metalib.get(), input, nullptr);
  Require(SameOutcome(logged, silent));

  Require(CheckResultName(logged.result) != nullptr);
  for (const WlogRecord& line : sink.records()) Require(!line.function.empty());
  if (logged.result != CHECK_TABLE_SUCCESS) return 0;
  // A success hands back a consistent table type, or leaves every type out-parameter alone when
  // the string only sets the display charset and protocol.
  switch (logged.table_type) {
    case kUntouched:
      Require(logged.list_num == kUntouched && logged.sort_field_num == kUntouched &&
              logged.sort_rule == kUntouched);
      break;
    case 0:
      Require(logged.list_num == 0);
      break;
    case 1:
      Require(logged.list_num >= 1 && logged.list_num <= 10000 && logged.sort_field_num == 0);
      break;
    case 2:
      Require(logged.list_num >= 1 && logged.list_num <= 10000);
      Require(logged.sort_field_num >= 1 && logged.sort_field_num <= 4);
      Require(logged.sort_rule == 0 || logged.sort_rule == 1);
      break;
    default:
      Require(false);
  }
  return 0;
}
