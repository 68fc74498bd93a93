// A host program on velmora: loads a ZEM XML schema, opens a log category bounded at info that
// writes to standard error, and checks every table (every struct with a primary key) the way a
// table-creation service would, printing each check's verdict and message.
//
//   velmora-embed SCHEMA.xml
//
// Exit status: 0 every table passed, 1 a table failed, 2 the schema could not be loaded.
#include <iostream>
#include <string>

#include <velmora/check_table.h>
#include <velmora/version.h>
#include <velmora/wlog.h>
#include <velmora/zem_xml_loader.h>

namespace {

// "0 CHECK_TABLE_SUCCESS", "-6 ERROR_INDEX_FIELD", ...
std::string Verdict(int result) {
  const char* name = CheckResultName(result);
  return std::to_string(result) + " " + (name != nullptr ? name : "UNKNOWN");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: velmora-embed SCHEMA.xml\n";
    return 2;
  }
  // The library's version may be newer than the headers' when velmora is shared.
  std::cout << "velmora " << VelmoraVersion() << " (headers " << VELMORA_VERSION_STRING << ")\n";

  const ZemLoadResult schema = ZemLoadXmlFile(argv[1]);
  if (!schema.ok) {
    std::cerr << FormatZemLoadMessage(schema.error, "error") << '\n';
    return 2;
  }
  LPZEMMETALIB metalib = schema.metalib.get();

  // Lines down to info priority reach standard error; the bound refuses the debug lines before
  // anything is formatted.
  WlogStreamSink to_stderr(std::cerr, WLOG_PRIORITY_UNKNOWN);
  tagWLogCategoryInst log = WlogCategoryFor(&to_stderr);
  log.iPriorityLow = WLOG_PRIORITY_INFO;
  log.piPriorityLow = &log.iPriorityLow;

  int tables = 0;
  int failed = 0;
  for (const ZemMetaInfo& meta : schema.metas) {
    if (!meta.has_primary_key) continue;  // a struct without a key is a field type, not a table
    const char* table = meta.name.c_str();
    ++tables;

    // The table's attributes say what kind of table it is; a table without any is an old-style
    // definition (ERROR_OLD_TABLE_DEFINE), checked as a generic table.
    CheckTable attributes;
    int table_type = 0;
    int list_num = 0;
    int sort_field_num = 0;
    int sort_rule = 0;
    char data_protocol[16] = {};
    const int attr = attributes.CheckTableTypeByCustomAttr(metalib, table, table_type, list_num,
                                                           sort_field_num, sort_rule,
                                                           data_protocol, false, &log);
    std::cout << table << ": CheckTableTypeByCustomAttr " << Verdict(attr) << ": "
              << attributes.GetErrType() << '\n';

    // List and sorted list tables are checked as list tables (kind 1).
    const int kind = attr == CHECK_TABLE_SUCCESS && table_type != 0 ? 1 : 0;
    CheckTable checker;
    const int result = checker.VelmoraCheckTable(metalib, table, kind, &log, "", "", "none");
    std::cout << table << ": VelmoraCheckTable " << Verdict(result) << ": "
              << checker.GetErrType() << '\n';

    const bool attr_ok = attr == CHECK_TABLE_SUCCESS || attr == ERROR_OLD_TABLE_DEFINE;
    if (!attr_ok || result != CHECK_TABLE_SUCCESS) ++failed;
  }
  std::cout << tables << " tables checked, " << failed << " failed\n";
  return failed == 0 ? 0 : 1;
}
