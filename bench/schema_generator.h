// A deterministic generator of large, ordinary schemas: tables of the three kinds (generic, list
// and sorted list), each with a primary key, generic tables with a split key and an index, every
// table with an array whose length another field holds, and a nested struct shared by all. The
// same arguments always give the same bytes.
#ifndef VELMORA_BENCH_SCHEMA_GENERATOR_H_
#define VELMORA_BENCH_SCHEMA_GENERATOR_H_

#include <ostream>
#include <string>

namespace velmora_bench {

// Types the plain fields cycle through.
inline const char* PlainFieldType(int field) {
  static const char* const kTypes[] = {"int32", "uint64", "uint16", "datetime", "int8", "uint32"};
  return kTypes[field % 6];
}

// The table's head: the kind's attributes, keys and split key.
inline void WriteTableHead(std::ostream& out, int table) {
  out << "  <struct name=\"table_" << table << "\" desc=\"Generated table " << table << "\"";
  switch (table % 3) {
    case 0:
      out << " primarykey=\"uid, zone\" splittablekey=\"uid\" customattr2=\"TableType=GENERIC\">\n";
      break;
    case 1:
      out << " primarykey=\"uid\" customattr2=\"TableType=LIST;ListNum=MAX_ROWS\">\n";
      break;
    default:
      out << " primarykey=\"uid\" customattr2=\"TableType=SORTLIST;ListNum=MAX_ROWS;"
             "SortFieldNum=1;SortRule=DESC\">\n";
      break;
  }
}

// One table of `fields` entries (at least 6): two key fields, a nested struct, a counted array
// and plain fields of cycling types, some of them strings.
inline void WriteTable(std::ostream& out, int table, int fields) {
  WriteTableHead(out, table);
  out << "    <entry name=\"uid\" type=\"uint64\" desc=\"Account id\"/>\n"
         "    <entry name=\"zone\" type=\"uint16\" desc=\"Game zone\"";
  // A sorted list sorts its rows by the second field.
  if (table % 3 == 2) out << " customattr2=\"sort1\"";
  out << "/>\n"
         "    <entry name=\"pos\" type=\"position\" desc=\"Where it stands\"/>\n"
         "    <entry name=\"item_count\" type=\"uint16\" desc=\"Items in use\"/>\n"
         "    <entry name=\"items\" type=\"int32\" count=\"MAX_ITEMS\" refer=\"item_count\""
         " desc=\"Item ids\"/>\n";
  for (int field = 5; field < fields; ++field) {
    out << "    <entry name=\"field_" << field << "\"";
    if (field % 10 == 7) {
      out << " type=\"string\" size=\"32\"";
    } else {
      out << " type=\"" << PlainFieldType(field) << "\"";
    }
    out << " desc=\"Field " << field << " of generated table " << table << "\"/>\n";
  }
  if (table % 3 == 0) out << "    <index name=\"by_key\" column=\"uid, zone\"/>\n";
  out << "  </struct>\n";
}

// A whole schema of `tables` tables of `fields` entries each.
inline void WriteGeneratedSchema(std::ostream& out, int tables, int fields) {
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<metalib name=\"generated\" version=\"1\">\n"
         "  <macro name=\"MAX_ROWS\" value=\"100\"/>\n"
         "  <macro name=\"MAX_ITEMS\" value=\"16\"/>\n"
         "  <struct name=\"position\" desc=\"A point on the map\">\n"
         "    <entry name=\"map_id\" type=\"uint16\"/>\n"
         "    <entry name=\"x\" type=\"int32\"/>\n"
         "    <entry name=\"y\" type=\"int32\"/>\n"
         "  </struct>\n";
  for (int table = 0; table < tables; ++table) WriteTable(out, table, fields);
  out << "</metalib>\n";
}

}  // namespace velmora_bench

#endif  // VELMORA_BENCH_SCHEMA_GENERATOR_H_
