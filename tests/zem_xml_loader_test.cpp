// The ZEM XML loader: what each element and attribute builds, what loads so that the checks can
// judge it, and every load error with its exact position and words.
#include <velmora/zem_xml_loader.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include <velmora/zem.h>

#include "both_readings.h"

namespace {

const std::string LOADER_DIR = std::string(VELMORA_FIXTURES_DIR) + "/loader";

// Schema text from its lines, so that line numbers in the expectations are easy to count.
std::string Xml(std::initializer_list<const char*> lines) {
  std::string text;
  for (const char* line : lines) {
    text += line;
    text += '\n';
  }
  return text;
}

// The full parser alone reads each text to the same result.
ZemLoadResult Load(const std::string& text) { return LoadReadBothWays("game.xml", text); }

// The load error of a schema that must not load, formatted as the command prints it.
std::string ErrorOf(const std::string& text) {
  const ZemLoadResult result = Load(text);
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.metalib, nullptr);
  EXPECT_TRUE(result.metas.empty());
  return FormatZemLoadMessage(result.error, "error");
}

std::vector<std::string> WarningsOf(const ZemLoadResult& result) {
  std::vector<std::string> lines;
  for (const ZemLoadMessage& warning : result.warnings) {
    lines.push_back(FormatZemLoadMessage(warning, "warning"));
  }
  return lines;
}

// A struct named "p" around these entry lines, starting on line 2.
std::string Struct(std::initializer_list<const char*> entries, const char* attributes = "") {
  std::string text = "<metalib name=\"game\">\n  <struct name=\"p\"" + std::string(attributes) +
                     ">\n";
  for (const char* entry : entries) {
    text += entry;
    text += '\n';
  }
  return text + "  </struct>\n</metalib>\n";
}

LPZEMMETA MetaOf(const ZemLoadResult& result, const char* name) {
  EXPECT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  if (!result.ok) return nullptr;
  LPZEMMETA meta = zem_get_meta_by_name(result.metalib.get(), name);
  EXPECT_NE(meta, nullptr) << name;
  return meta;
}

LPZEMMETAENTRY EntryOf(LPZEMMETA meta, const char* name) {
  for (int i = 0; meta != nullptr && i < zem_get_entry_num(meta); ++i) {
    LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, i);
    if (std::strcmp(zem_get_entry_name(entry), name) == 0) return entry;
  }
  ADD_FAILURE() << "no entry " << name;
  return nullptr;
}

std::vector<std::string> KeyMemberNames(LPZEMMETA meta) {
  std::vector<std::string> names;
  for (int k = 0; k < meta->nPrimayKeyMemberNum; ++k) {
    names.push_back(zem_get_entry_name(zem_meta_entry_at(meta, zem_meta_key_member(meta, k)->ptrEntry)));
  }
  return names;
}

std::vector<std::string> IndexColumnNames(LPZEMMETA meta, int i) {
  std::vector<std::string> names;
  LPZEMMETAINDEX index = zem_meta_index(meta, i);
  for (int j = 0; j < index->iColumnNum; ++j) {
    names.push_back(zem_get_entry_name(zem_meta_entry_at(meta, zem_index_column(meta, index, j)->ptrEntry)));
  }
  return names;
}

std::string SplitKeyText(LPZEMMETA meta) {
  char buffer[1024];
  std::memset(buffer, 0, sizeof(buffer));
  const char* reason = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(meta, buffer, sizeof(buffer), &reason), 0);
  return buffer;
}

// ---- What a schema builds ------------------------------------------------------------------

TEST(ZemXmlLoader, LoadsTheExampleSchemaWithItsMetasInFileOrder) {
  const ZemLoadResult result = ZemLoadXmlFile(LOADER_DIR + "/game.xml");
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_TRUE(result.warnings.empty());
  LPZEMMETALIB lib = result.metalib.get();
  EXPECT_STREQ(zem_get_metalib_name(lib), "game");
  EXPECT_EQ(zem_get_metalib_version(lib), 3);
  ASSERT_EQ(result.metas.size(), 3u);
  EXPECT_EQ(result.metas[0].name, "position");
  EXPECT_EQ(result.metas[0].line, 5);
  EXPECT_FALSE(result.metas[0].is_union);
  EXPECT_FALSE(result.metas[0].has_primary_key);
  EXPECT_EQ(result.metas[1].name, "player");
  EXPECT_EQ(result.metas[1].line, 9);
  EXPECT_TRUE(result.metas[1].has_primary_key);
  EXPECT_EQ(result.metas[2].name, "mail");
  EXPECT_EQ(result.metas[2].line, 18);
  EXPECT_TRUE(result.metas[2].has_primary_key);
  ASSERT_EQ(zem_get_meta_num(lib), 3);
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_index(lib, 2)), "mail");

  LPZEMMETA player = MetaOf(result, "player");
  ASSERT_NE(player, nullptr);
  EXPECT_EQ(zem_get_entry_num(player), 6);
  EXPECT_EQ(KeyMemberNames(player), (std::vector<std::string>{"uid", "zone"}));
  EXPECT_EQ(SplitKeyText(player), "uid");
  EXPECT_EQ(zem_get_entry_type_meta(lib, EntryOf(player, "pos")), MetaOf(result, "position"));
  EXPECT_EQ(zem_get_entry_refer(EntryOf(player, "items")), EntryOf(player, "item_count"));
  EXPECT_EQ(player->iSize, 8 + 2 + 64 + 8 + 2 + 4 * 128);
  int value = 0;
  EXPECT_EQ(zem_get_macro_value(&value, lib, "MAX_MAILS"), 0);
  EXPECT_EQ(value, 500);
  EXPECT_STREQ(zem_get_meta_customattr2(MetaOf(result, "mail")),
               "TableType=LIST;ListNum=MAX_MAILS");
  EXPECT_EQ(zem_get_meta_customattr2(player), nullptr);
}

TEST(ZemXmlLoader, MetalibVersionDefaultsToZeroAndAnyIntLoads) {
  EXPECT_EQ(zem_get_metalib_version(Load("<metalib name=\"g\"/>").metalib.get()), 0);
  EXPECT_EQ(zem_get_metalib_version(Load("<metalib name=\"g\" version=\"70000\"/>").metalib.get()),
            70000);
  EXPECT_EQ(zem_get_metalib_version(Load("<metalib name=\"g\" version=\"-1\"/>").metalib.get()), -1);
  EXPECT_EQ(zem_get_metalib_version(
                Load("<metalib name=\"g\" version=\"2147483647\"/>").metalib.get()),
            2147483647);
}

TEST(ZemXmlLoader, StructAndUnionVersionReachTheMeta) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <union name=\"u\" version=\"4\"><entry name=\"a\" type=\"int8\"/></union>",
      "  <struct name=\"p\" version=\"+5\"><entry name=\"a\" type=\"int8\"/></struct>",
      "  <struct name=\"q\"><entry name=\"a\" type=\"int8\"/></struct>",
      "</metalib>"}));
  EXPECT_EQ(MetaOf(result, "u")->iVersion, 4);
  EXPECT_EQ(MetaOf(result, "p")->iVersion, 5);
  EXPECT_EQ(MetaOf(result, "q")->iVersion, 0);
}

TEST(ZemXmlLoader, MacrosGiveNamedIntegersAndOnlyExistingOnesAreWritten) {
  const ZemLoadResult result = Load(Xml({"<metalib name=\"game\">",
                                         "  <macro name=\"A\" value=\"-2147483648\"/>",
                                         "  <macro name=\"B\" value=\"+7\"/>",
                                         "  <macro name=\"C\" value=\"007\"/>",
                                         "</metalib>"}));
  ASSERT_TRUE(result.ok);
  LPZEMMETALIB lib = result.metalib.get();
  int value = 99;
  EXPECT_EQ(zem_get_macro_value(&value, lib, "A"), 0);
  EXPECT_EQ(value, -2147483647 - 1);
  EXPECT_EQ(zem_get_macro_value(&value, lib, "B"), 0);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(zem_get_macro_value(&value, lib, "C"), 0);
  EXPECT_EQ(value, 7);
  value = 99;
  EXPECT_EQ(zem_get_macro_value(&value, lib, "a"), -1);
  EXPECT_EQ(value, 99);
}

TEST(ZemXmlLoader, RepeatedMacroLaterValueWinsWithAWarning) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <macro name=\"N\" value=\"2\"/>",
      "  <struct name=\"p\"><entry name=\"a\" type=\"int8\" count=\"N\"/></struct>",
      "  <macro name=\"N\" value=\"3\"/>",
      "  <struct name=\"q\"><entry name=\"a\" type=\"int8\" count=\"N\"/></struct>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(WarningsOf(result),
            (std::vector<std::string>{
                "game.xml:4:3: warning: macro 'N' is defined again; its value changes from 2 to 3"}));
  int value = 0;
  EXPECT_EQ(zem_get_macro_value(&value, result.metalib.get(), "N"), 0);
  EXPECT_EQ(value, 3);
  // A count takes the value the macro has where the count is written.
  EXPECT_EQ(zem_get_entry_count(EntryOf(MetaOf(result, "p"), "a")), 2);
  EXPECT_EQ(zem_get_entry_count(EntryOf(MetaOf(result, "q"), "a")), 3);
}

TEST(ZemXmlLoader, CountAndSizeMayNameMacros) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <macro name=\"MAX\" value=\"16\"/>",
      "  <macro name=\"LEN\" value=\"40\"/>",
      "  <struct name=\"p\">",
      "    <entry name=\"n\" type=\"uint8\"/>",
      "    <entry name=\"a\" type=\"int32\" count=\"MAX\" refer=\"n\"/>",
      "    <entry name=\"s\" type=\"string\" size=\"LEN\"/>",
      "  </struct>",
      "</metalib>"}));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_count(EntryOf(meta, "a")), 16);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "s")), 40u);
}

TEST(ZemXmlLoader, AMacroNamedLikeASpacedNumberServesACountThatIsNoNumber) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <macro name=\"12 \" value=\"3\"/>",
      "  <struct name=\"p\"><entry name=\"a\" type=\"int8\" count=\"12 \"/></struct>",
      "</metalib>"}));
  EXPECT_EQ(zem_get_entry_count(EntryOf(MetaOf(result, "p"), "a")), 3);
}

TEST(ZemXmlLoader, EveryBaseTypeHasItsCodeAndUnitSizeWhateverItsLetterCase) {
  struct Expected {
    const char* type;
    int code;
    size_t unit;
  };
  const Expected expected[] = {
      {"int8", 2, 1},      {"UINT8", 3, 1},    {"byte", 4, 1},     {"Int16", 5, 2},
      {"uint16", 6, 2},    {"int32", 7, 4},    {"UInt32", 8, 4},   {"int64", 11, 8},
      {"uint64", 12, 8},   {"date", 13, 4},    {"time", 14, 4},    {"DateTime", 15, 8},
      {"decimal", 16, 8},  {"float", 17, 4},   {"double", 18, 8},  {"ipv4", 19, 4},
      {"char16", 20, 2},   {"string", 21, 1},  {"wstring", 22, 2},
  };
  std::string text = "<metalib name=\"game\"><struct name=\"p\">\n";
  for (const Expected& e : expected) {
    text += std::string("<entry name=\"f_") + e.type + "\" type=\"" + e.type + "\"/>\n";
  }
  text += "</struct></metalib>\n";
  const ZemLoadResult result = Load(text);
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  size_t total = 0;
  for (const Expected& e : expected) {
    LPZEMMETAENTRY entry = EntryOf(meta, (std::string("f_") + e.type).c_str());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(zem_get_entry_type(entry), e.code) << e.type;
    EXPECT_EQ(zem_get_entry_unitsize(entry), e.unit) << e.type;
    EXPECT_EQ(zem_get_entry_count(entry), 1) << e.type;
    EXPECT_EQ(zem_get_entry_refer(entry), nullptr) << e.type;
    EXPECT_EQ(zem_get_entry_type_meta(result.metalib.get(), entry), nullptr) << e.type;
    total += e.unit;
  }
  EXPECT_EQ(meta->iSize, static_cast<int>(total));
}

TEST(ZemXmlLoader, StringUnitIsItsSizeAndWstringTwiceItsSize) {
  const ZemLoadResult result = Load(Struct({
      "    <entry name=\"s1\" type=\"string\"/>",
      "    <entry name=\"s64\" type=\"string\" size=\"64\"/>",
      "    <entry name=\"w1\" type=\"wstring\"/>",
      "    <entry name=\"w10\" type=\"wstring\" size=\"10\"/>",
  }));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "s1")), 1u);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "s64")), 64u);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "w1")), 2u);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "w10")), 20u);
  EXPECT_EQ(meta->iSize, 1 + 64 + 2 + 20);
}

TEST(ZemXmlLoader, StructSizeIsTheSumOfItsEntriesAndUnionSizeTheLargest) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <union name=\"u\">",
      "    <entry name=\"a\" type=\"int8\"/>",
      "    <entry name=\"b\" type=\"int64\" count=\"3\"/>",
      "    <entry name=\"c\" type=\"string\" size=\"5\"/>",
      "  </union>",
      "  <struct name=\"inner\">",
      "    <entry name=\"x\" type=\"int8\"/>",
      "    <entry name=\"y\" type=\"int32\"/>",
      "  </struct>",
      "  <struct name=\"outer\">",
      "    <entry name=\"n\" type=\"int16\"/>",
      "    <entry name=\"v\" type=\"u\"/>",
      "    <entry name=\"w\" type=\"inner\" count=\"2\"/>",
      "    <entry name=\"z\" type=\"int32\" count=\"0\" refer=\"n\"/>",
      "  </struct>",
      "</metalib>"}));
  LPZEMMETALIB lib = result.metalib.get();
  LPZEMMETA u = MetaOf(result, "u");
  LPZEMMETA inner = MetaOf(result, "inner");
  LPZEMMETA outer = MetaOf(result, "outer");
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(u->iIsUnion, 1);
  EXPECT_EQ(u->iSize, 24);
  EXPECT_EQ(inner->iIsUnion, 0);
  EXPECT_EQ(inner->iSize, 5);
  LPZEMMETAENTRY v = EntryOf(outer, "v");
  EXPECT_EQ(zem_get_entry_type(v), ZEM_TYPE_UNION);
  EXPECT_EQ(zem_get_entry_unitsize(v), 24u);
  EXPECT_EQ(zem_get_entry_type_meta(lib, v), u);
  LPZEMMETAENTRY w = EntryOf(outer, "w");
  EXPECT_EQ(zem_get_entry_type(w), ZEM_TYPE_STRUCT);
  EXPECT_EQ(zem_get_entry_unitsize(w), 5u);
  EXPECT_EQ(zem_get_entry_count(w), 2);
  EXPECT_EQ(zem_get_entry_type_meta(lib, w), inner);
  // A variable array counts as one element.
  EXPECT_EQ(outer->iSize, 2 + 24 + 10 + 4);
  ASSERT_EQ(result.metas.size(), 3u);
  EXPECT_TRUE(result.metas[0].is_union);
  EXPECT_EQ(result.metas[0].line, 2);
  EXPECT_FALSE(result.metas[1].is_union);
}

TEST(ZemXmlLoader, SizeOnAStructOrUnionEntryIsIgnored) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <struct name=\"q\"><entry name=\"x\" type=\"int32\"/></struct>",
      "  <struct name=\"p\"><entry name=\"e\" type=\"q\" size=\"NOT_A_MACRO\"/></struct>",
      "</metalib>"}));
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(MetaOf(result, "p"), "e")), 4u);
  EXPECT_TRUE(result.warnings.empty());
}

TEST(ZemXmlLoader, ReferNamesAnEarlierSingleIntegerOfAtMost32Bits) {
  const char* types[] = {"int8", "uint8", "byte", "int16", "uint16", "int32", "uint32"};
  for (const char* type : types) {
    const std::string entry = std::string("    <entry name=\"n\" type=\"") + type + "\"/>";
    const ZemLoadResult result = Load(Struct({
        entry.c_str(),
        "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>",
        "    <entry name=\"b\" type=\"int32\"/>",
    }));
    LPZEMMETA meta = MetaOf(result, "p");
    ASSERT_NE(meta, nullptr) << type;
    EXPECT_EQ(zem_get_entry_refer(EntryOf(meta, "a")), EntryOf(meta, "n")) << type;
    EXPECT_EQ(zem_get_entry_refer(EntryOf(meta, "b")), nullptr) << type;
  }
}

TEST(ZemXmlLoader, CountZeroWithReferIsAVariableArray) {
  const ZemLoadResult result = Load(Struct({
      "    <entry name=\"n\" type=\"uint16\"/>",
      "    <entry name=\"a\" type=\"int32\" count=\"0\" refer=\"n\"/>",
  }));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_count(EntryOf(meta, "a")), 0);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "a")), 4u);
}

TEST(ZemXmlLoader, ArrayWithoutReferLoadsForTheChecksToJudge) {
  const ZemLoadResult result = Load(Struct({"    <entry name=\"a\" type=\"int32\" count=\"5\"/>"}));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_count(EntryOf(meta, "a")), 5);
  EXPECT_EQ(zem_get_entry_refer(EntryOf(meta, "a")), nullptr);
}

TEST(ZemXmlLoader, PrimaryKeyMembersGetTheKeyBitInKeyOrder) {
  const ZemLoadResult result = Load(Struct(
      {
          "    <entry name=\"uid\" type=\"uint64\"/>",
          "    <entry name=\"v\" type=\"int32\"/>",
          "    <entry name=\"zone\" type=\"uint16\"/>",
      },
      " primarykey=\"zone, uid\""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(meta->nPrimayKeyMemberNum, 2);
  EXPECT_NE(meta->ptrPrimayKeyBase, ZEMPTR_NONE);
  EXPECT_EQ(KeyMemberNames(meta), (std::vector<std::string>{"zone", "uid"}));
  EXPECT_EQ(EntryOf(meta, "uid")->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, ZEM_DBFLAG_PRIMARY_KEY);
  EXPECT_EQ(EntryOf(meta, "zone")->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, ZEM_DBFLAG_PRIMARY_KEY);
  EXPECT_EQ(EntryOf(meta, "v")->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, 0);
  EXPECT_TRUE(result.metas[0].has_primary_key);
}

TEST(ZemXmlLoader, KeyPiecesAreTrimmedAndEmptyPiecesSkipped) {
  const ZemLoadResult result = Load(Struct(
      {
          "    <entry name=\"uid\" type=\"uint64\"/>",
          "    <entry name=\"zone\" type=\"uint16\"/>",
          "    <index name=\"i\" column=\" ,zone ,, uid,\"/>",
      },
      " primarykey=\",uid,&#9;zone&#10;,\" splittablekey=\" , zone ,uid , \""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(KeyMemberNames(meta), (std::vector<std::string>{"uid", "zone"}));
  EXPECT_EQ(SplitKeyText(meta), "zone,uid");
  EXPECT_EQ(zem_meta_entry_at(meta, meta->stSplitTableKey.ptrEntry), EntryOf(meta, "zone"));
  EXPECT_EQ(IndexColumnNames(meta, 0), (std::vector<std::string>{"zone", "uid"}));
}

TEST(ZemXmlLoader, NoPrimaryKeyOrOneWithoutPiecesLeavesTheKeyBaseAllOnes) {
  const char* attributes[] = {"", " primarykey=\"\"", " primarykey=\" , ,\""};
  for (const char* attribute : attributes) {
    const ZemLoadResult result = Load(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, attribute));
    LPZEMMETA meta = MetaOf(result, "p");
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->nPrimayKeyMemberNum, 0) << attribute;
    EXPECT_EQ(meta->ptrPrimayKeyBase, ZEMPTR_NONE) << attribute;
    EXPECT_EQ(EntryOf(meta, "uid")->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, 0) << attribute;
    EXPECT_FALSE(result.metas[0].has_primary_key) << attribute;
  }
}

TEST(ZemXmlLoader, RepeatedKeyMemberStaysRepeated) {
  const ZemLoadResult result =
      Load(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, " primarykey=\"uid,uid\""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(meta->nPrimayKeyMemberNum, 2);
  EXPECT_EQ(KeyMemberNames(meta), (std::vector<std::string>{"uid", "uid"}));
}

TEST(ZemXmlLoader, KeyOfNineFieldsLoads) {
  const ZemLoadResult result = Load(Struct(
      {"    <entry name=\"k1\" type=\"int32\"/>", "    <entry name=\"k2\" type=\"int32\"/>",
       "    <entry name=\"k3\" type=\"int32\"/>", "    <entry name=\"k4\" type=\"int32\"/>",
       "    <entry name=\"k5\" type=\"int32\"/>", "    <entry name=\"k6\" type=\"int32\"/>",
       "    <entry name=\"k7\" type=\"int32\"/>", "    <entry name=\"k8\" type=\"int32\"/>",
       "    <entry name=\"k9\" type=\"int32\"/>"},
      " primarykey=\"k1,k2,k3,k4,k5,k6,k7,k8,k9\""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(meta->nPrimayKeyMemberNum, 9);
}

TEST(ZemXmlLoader, NoSplitTableKeyGivesAllOnesAndAnEmptyText) {
  const char* attributes[] = {"", " splittablekey=\"\"", " splittablekey=\" ,\""};
  for (const char* attribute : attributes) {
    const ZemLoadResult result = Load(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, attribute));
    LPZEMMETA meta = MetaOf(result, "p");
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->stSplitTableKey.ptrEntry, ZEMPTR_NONE) << attribute;
    EXPECT_EQ(SplitKeyText(meta), "") << attribute;
  }
}

TEST(ZemXmlLoader, SplitKeyThatIsNoKeyFieldLoads) {
  const ZemLoadResult result = Load(Struct(
      {"    <entry name=\"uid\" type=\"uint64\"/>", "    <entry name=\"v\" type=\"int32\"/>"},
      " primarykey=\"uid\" splittablekey=\"v\""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_meta_entry_at(meta, meta->stSplitTableKey.ptrEntry), EntryOf(meta, "v"));
  EXPECT_EQ(SplitKeyText(meta), "v");
}

TEST(ZemXmlLoader, IndexesKeepDocumentOrderAndMayPrecedeTheirEntries) {
  const ZemLoadResult result = Load(Struct(
      {
          "    <index name=\"early\" column=\"zone\"/>",
          "    <entry name=\"uid\" type=\"uint64\"/>",
          "    <entry name=\"zone\" type=\"uint16\"/>",
          "    <entry name=\"v\" type=\"int32\"/>",
          "    <index name=\"twice\" column=\"uid,zone,uid\"/>",
          "    <index name=\"on_value\" column=\"v\"/>",
          "    <index name=\"empty\" column=\"\"/>",
          "    <index name=\"none\"/>",
      },
      " primarykey=\"uid,zone\""));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  ASSERT_EQ(meta->iIndexesNum, 5);
  EXPECT_STREQ(zem_index_name(meta, zem_meta_index(meta, 0)), "early");
  EXPECT_EQ(IndexColumnNames(meta, 0), (std::vector<std::string>{"zone"}));
  EXPECT_STREQ(zem_index_name(meta, zem_meta_index(meta, 1)), "twice");
  EXPECT_EQ(IndexColumnNames(meta, 1), (std::vector<std::string>{"uid", "zone", "uid"}));
  EXPECT_STREQ(zem_index_name(meta, zem_meta_index(meta, 2)), "on_value");
  EXPECT_EQ(IndexColumnNames(meta, 2), (std::vector<std::string>{"v"}));
  EXPECT_EQ(zem_meta_index(meta, 3)->iColumnNum, 0);
  EXPECT_EQ(zem_meta_index(meta, 4)->iColumnNum, 0);
}

TEST(ZemXmlLoader, CustomAttr2IsNullWhenAbsentAndTheTextWhenPresent) {
  const ZemLoadResult result = Load(Struct(
      {
          "    <entry name=\"a\" type=\"int32\" customattr2=\"sort1\"/>",
          "    <entry name=\"b\" type=\"int32\"/>",
          "    <entry name=\"c\" type=\"int32\" customattr2=\"\"/>",
      },
      " customattr2=\"TableType=SORTLIST;ListNum=1000;SortFieldNum=1;SortRule=DESC\""));
  LPZEMMETALIB lib = result.metalib.get();
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_STREQ(zem_get_meta_customattr2(meta),
               "TableType=SORTLIST;ListNum=1000;SortFieldNum=1;SortRule=DESC");
  EXPECT_STREQ(zem_get_entry_customattr2(lib, EntryOf(meta, "a")), "sort1");
  EXPECT_EQ(zem_get_entry_customattr2(lib, EntryOf(meta, "b")), nullptr);
  EXPECT_STREQ(zem_get_entry_customattr2(lib, EntryOf(meta, "c")), "");
}

TEST(ZemXmlLoader, EntryCustomAttr2Of2047BytesLoads) {
  const std::string attr(2047, 'x');
  const std::string entry = "    <entry name=\"a\" type=\"int32\" customattr2=\"" + attr + "\"/>";
  const ZemLoadResult result = Load(Struct({entry.c_str()}));
  EXPECT_EQ(zem_get_entry_customattr2(result.metalib.get(), EntryOf(MetaOf(result, "p"), "a")),
            attr);
}

// ---- Everything the checks judge loads -----------------------------------------------------

TEST(ZemXmlLoader, OddFieldNamesLoadForTheNameChecks) {
  const ZemLoadResult result = Load(Struct({
      "    <entry name=\"my-field\" type=\"int32\"/>",
      "    <entry name=\"\" type=\"int32\"/>",
      "    <entry name=\"uid\" type=\"int32\"/>",
      "    <entry name=\"UID\" type=\"int32\"/>",
      "    <entry name=\"9lives\" type=\"int32\"/>",
      "    <entry name=\"名字\" type=\"int32\"/>",
      "    <entry name=\"a_name_of_thirty_two_characters_\" type=\"int32\"/>",
  }));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_num(meta), 7);
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 0)), "my-field");
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 1)), "");
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 3)), "UID");
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 5)), "\xe5\x90\x8d\xe5\xad\x97");
}

TEST(ZemXmlLoader, NamesOf127BytesLoad) {
  const std::string name(127, 'n');
  const std::string text = "<metalib name=\"game\"><struct name=\"" + name + "\"><entry name=\"" +
                           name + "\" type=\"int8\"/></struct></metalib>";
  const ZemLoadResult result = Load(text);
  LPZEMMETA meta = MetaOf(result, name.c_str());
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_name(zem_get_entry_by_index(meta, 0)), name);
}

TEST(ZemXmlLoader, StructNameStartingWithADigitLoads) {
  const ZemLoadResult result = Load(Xml({"<metalib name=\"game\">",
                                         "  <struct name=\"1player\" primarykey=\"uid\">",
                                         "    <entry name=\"uid\" type=\"uint64\"/>",
                                         "  </struct>",
                                         "</metalib>"}));
  EXPECT_NE(MetaOf(result, "1player"), nullptr);
}

TEST(ZemXmlLoader, StringArrayAndWstringLoadForTheFieldChecks) {
  const ZemLoadResult result = Load(Struct({
      "    <entry name=\"s\" type=\"string\" size=\"8\" count=\"2\"/>",
      "    <entry name=\"w\" type=\"wstring\" size=\"4\"/>",
  }));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_count(EntryOf(meta, "s")), 2);
  EXPECT_EQ(zem_get_entry_type(EntryOf(meta, "w")), ZEM_TYPE_WSTRING);
  EXPECT_EQ(meta->iSize, 16 + 8);
}

TEST(ZemXmlLoader, AStructWithoutEntriesLoads) {
  const ZemLoadResult result = Load(Xml({"<metalib name=\"game\">", "  <struct name=\"p\"/>",
                                         "</metalib>"}));
  LPZEMMETA meta = MetaOf(result, "p");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_get_entry_num(meta), 0);
  EXPECT_EQ(meta->iSize, 0);
}

// ---- Ignored and unknown content -----------------------------------------------------------

TEST(ZemXmlLoader, DescDefaultValueEntryVersionAndCommentsAreAcceptedSilently) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\" desc=\"the game\">",
      "  <!-- a comment -->",
      "  <macro name=\"M\" value=\"1\" desc=\"one\"/>",
      "  <union name=\"u\" desc=\"u\"><entry name=\"a\" type=\"int8\" desc=\"a\"/></union>",
      "  <struct name=\"p\" desc=\"players\">",
      "    <entry name=\"a\" type=\"int8\" desc=\"a\" defaultvalue=\"0\" version=\"2\"/>",
      "    <index name=\"i\" column=\"a\" desc=\"by a\"/>",
      "  </struct>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_TRUE(result.warnings.empty());
}

TEST(ZemXmlLoader, UnknownElementsAndAttributesAreWarningsNeverErrors) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\" tagsetversion=\"1\">",
      "  <include file=\"x.xml\"><struct name=\"hidden\"/></include>",
      "  <Struct name=\"q\"/>",
      "  <entry name=\"stray\" type=\"int8\"/>",
      "  <union name=\"u\" primarykey=\"a\">",
      "    <entry name=\"a\" type=\"int8\"/>",
      "    <index name=\"i\" column=\"a\"/>",
      "  </union>",
      "  <struct name=\"p\" size=\"4\">",
      "    <entry name=\"a\" type=\"int8\" cname=\"A\"><desc/></entry>",
      "    <struct name=\"nested\"/>",
      "    <index name=\"i\" column=\"a\" type=\"hash\"/>",
      "  </struct>",
      "  <macro name=\"M\" value=\"1\" refer=\"x\"/>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_EQ(WarningsOf(result),
            (std::vector<std::string>{
                "game.xml:1:22: warning: unknown attribute 'tagsetversion' of <metalib> is ignored",
                "game.xml:2:3: warning: unknown element <include> in <metalib> is ignored",
                "game.xml:3:3: warning: unknown element <Struct> in <metalib> is ignored; did you "
                "mean 'struct'?",
                "game.xml:4:3: warning: element <entry> does not belong in <metalib> and is ignored",
                "game.xml:5:19: warning: attribute 'primarykey' does not apply to <union> and is "
                "ignored",
                "game.xml:7:5: warning: element <index> does not belong in <union> and is ignored",
                "game.xml:9:20: warning: attribute 'size' does not apply to <struct> and is ignored",
                "game.xml:10:33: warning: unknown attribute 'cname' of <entry> is ignored",
                "game.xml:10:43: warning: unknown element <desc> in <entry> is ignored",
                "game.xml:11:5: warning: element <struct> does not belong in <struct> and is ignored",
                "game.xml:12:32: warning: attribute 'type' does not apply to <index> and is ignored",
                "game.xml:14:29: warning: attribute 'refer' does not apply to <macro> and is ignored",
            }));
  EXPECT_EQ(zem_get_meta_by_name(result.metalib.get(), "hidden"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(result.metalib.get(), "nested"), nullptr);
  EXPECT_EQ(MetaOf(result, "u")->iIndexesNum, 0);
  EXPECT_EQ(result.metas.size(), 2u);
}

TEST(ZemXmlLoader, MisspeltAttributesAndElementsGetTheCloseKnownName) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <strcut name=\"s\"/>",
      "  <struct name=\"p\" primaryKey=\"a\" customattr=\"TableType=LIST;ListNum=5\">",
      "    <entry name=\"a\" type=\"int8\" Count=\"2\" cname=\"A\"/>",
      "    <entyr name=\"b\" type=\"int8\"/>",
      "    <index name=\"i\" colum=\"a\"/>",
      "    <indexes name=\"j\" column=\"a\"/>",
      "  </struct>",
      "  <union name=\"u\"><Entry name=\"a\" type=\"int8\"/><index name=\"i\"/></union>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_EQ(WarningsOf(result),
            (std::vector<std::string>{
                "game.xml:2:3: warning: unknown element <strcut> in <metalib> is ignored; did you "
                "mean 'struct'?",
                "game.xml:3:20: warning: unknown attribute 'primaryKey' of <struct> is ignored; "
                "did you mean 'primarykey'?",
                "game.xml:3:35: warning: unknown attribute 'customattr' of <struct> is ignored; "
                "did you mean 'customattr2'?",
                "game.xml:4:33: warning: unknown attribute 'Count' of <entry> is ignored; did you "
                "mean 'count'?",
                // The entry has its name: cname stands for nothing the loader reads.
                "game.xml:4:43: warning: unknown attribute 'cname' of <entry> is ignored",
                "game.xml:5:5: warning: unknown element <entyr> in <struct> is ignored; did you "
                "mean 'entry'?",
                "game.xml:6:21: warning: unknown attribute 'colum' of <index> is ignored; did you "
                "mean 'column'?",
                // Two edits are too many for a name of five letters.
                "game.xml:7:5: warning: unknown element <indexes> in <struct> is ignored",
                "game.xml:9:19: warning: unknown element <Entry> in <union> is ignored; did you "
                "mean 'entry'?",
                "game.xml:9:48: warning: element <index> does not belong in <union> and is ignored",
            }));
  // What the misspelt attributes would have said is not read.
  EXPECT_EQ(MetaOf(result, "p")->nPrimayKeyMemberNum, 0);
  EXPECT_EQ(zem_get_meta_customattr2(MetaOf(result, "p")), nullptr);
}

TEST(ZemXmlLoader, NamesFarFromEveryKnownOneGetNoSuggestion) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\" author=\"x\">",
      "  <structure name=\"s\"/>",
      "  <struct name=\"p\" prim=\"a\" splittablekeys_extra=\"a\">",
      "    <entry name=\"a\" type=\"int8\" na=\"b\"/>",
      "  </struct>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_EQ(WarningsOf(result),
            (std::vector<std::string>{
                "game.xml:1:22: warning: unknown attribute 'author' of <metalib> is ignored",
                "game.xml:2:3: warning: unknown element <structure> in <metalib> is ignored",
                "game.xml:3:20: warning: unknown attribute 'prim' of <struct> is ignored",
                "game.xml:3:29: warning: unknown attribute 'splittablekeys_extra' of <struct> is "
                "ignored",
                "game.xml:4:33: warning: unknown attribute 'na' of <entry> is ignored",
            }));
}

TEST(ZemXmlLoader, UnknownKeyOfATablesCustomAttributeIsAWarningAtTheAttribute) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <struct name=\"p\" primarykey=\"a\"",
      "          customattr2=\"TableType=LIST;Foo=1; listnum = 5;TabelType=X;;LIST;=2;\">",
      "    <entry name=\"a\" type=\"int8\" customattr2=\"Foo=1\"/>",
      "  </struct>",
      "  <struct name=\"q\" customattr2=\"dataprotocoltype=PB;TableType=GENERIC;ListNum=1;"
      "SortFieldNum=1;SortRule=DESC;stringdisplaycharset=gbk;StringDisplayCharset=gbk\"/>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_EQ(WarningsOf(result),
            (std::vector<std::string>{
                "game.xml:3:11: warning: struct 'p': unknown key 'Foo' in customattr2; the keys "
                "the table checks read are DataProtocolType, TableType, ListNum, SortFieldNum, "
                "SortRule and stringdisplaycharset",
                "game.xml:3:11: warning: struct 'p': unknown key 'listnum' in customattr2; did "
                "you mean 'ListNum'?",
                "game.xml:3:11: warning: struct 'p': unknown key 'TabelType' in customattr2; did "
                "you mean 'TableType'?",
                "game.xml:6:20: warning: struct 'q': unknown key 'StringDisplayCharset' in "
                "customattr2; did you mean 'stringdisplaycharset'?",
            }));
  // The text reaches the checks as written.
  EXPECT_STREQ(zem_get_meta_customattr2(MetaOf(result, "p")),
               "TableType=LIST;Foo=1; listnum = 5;TabelType=X;;LIST;=2;");
}

TEST(ZemXmlLoader, EachWarningNamesTheAttributeOrElementItIsAbout) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"game\">",
      "  <macro name=\"M\" value=\"1\"/><macro name=\"M\" value=\"2\"/>",
      "  <struct name=\"p\" primaryKey=\"a\" customattr2=\"Foo=1\" column=\"a\">",
      "    <entry name=\"a\" type=\"int8\"/><entyr/>",
      "  </struct>",
      "  <index name=\"i\"/>",
      "</metalib>"}));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  std::vector<std::string> subjects;
  for (const ZemLoadMessage& warning : result.warnings) {
    subjects.push_back(warning.element + " " + warning.name);
  }
  EXPECT_EQ(subjects, (std::vector<std::string>{"element macro", "attribute primaryKey",
                                                "attribute column", "attribute customattr2",
                                                "element entyr", "element index"}));
  EXPECT_TRUE(result.error.element.empty());
  EXPECT_TRUE(result.error.name.empty());
}

TEST(ZemXmlLoader, DeeplyNestedUnknownElementsAreOneWarning) {
  std::string text = "<metalib name=\"game\">";
  for (int i = 0; i < 100000; ++i) text += "<x>";
  for (int i = 0; i < 100000; ++i) text += "</x>";
  text += "</metalib>";
  const ZemLoadResult result = Load(text);
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_EQ(WarningsOf(result), (std::vector<std::string>{
                                    "game.xml:1:22: warning: unknown element <x> in <metalib> is "
                                    "ignored"}));
}

// ---- Encodings -----------------------------------------------------------------------------

TEST(ZemXmlLoader, GbkFileWithChineseTextLoadsAsUtf8) {
  const ZemLoadResult result = ZemLoadXmlFile(LOADER_DIR + "/gbk.xml");
  LPZEMMETA meta = MetaOf(result, "player");
  ASSERT_NE(meta, nullptr);
  EXPECT_TRUE(result.warnings.empty());
  EXPECT_EQ(zem_get_metalib_version(result.metalib.get()), 1);
  EXPECT_EQ(zem_get_entry_num(meta), 2);
  EXPECT_EQ(zem_get_entry_unitsize(EntryOf(meta, "nick")), 32u);
  // 备注 in UTF-8.
  EXPECT_STREQ(zem_get_meta_customattr2(meta), "\xe5\xa4\x87\xe6\xb3\xa8");
}

TEST(ZemXmlLoader, ColumnsCountCharactersOfTheTranscodedText) {
  // desc="玩家表" in GBK: six bytes, three characters.
  const ZemLoadResult result = Load(
      "<?xml version=\"1.0\" encoding=\"GBK\"?>\n"
      "<metalib name=\"game\">\n"
      "  <struct name=\"p\"><entry desc=\"\xcd\xe6\xbc\xd2\xb1\xed\" name=\"a\" type=\"nope\"/>"
      "</struct>\n"
      "</metalib>\n");
  EXPECT_EQ(FormatZemLoadMessage(result.error, "error"),
            "game.xml:3:47: error: entry 'a': type 'nope' is neither a base type nor a struct or "
            "union defined earlier");
}

TEST(ZemXmlLoader, ColumnsCountCharactersOfUtf8Text) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry desc=\"玩家表\" name=\"a\" type=\"nope\"/>"})),
            "game.xml:3:32: error: entry 'a': type 'nope' is neither a base type nor a struct or "
            "union defined earlier");
}

TEST(ZemXmlLoader, Utf8ByteOrderMarkIsSkipped) {
  const ZemLoadResult result = ZemLoadXmlFile(LOADER_DIR + "/bom.xml");
  ASSERT_NE(MetaOf(result, "player"), nullptr);
  EXPECT_EQ(result.metas[0].line, 2);
  EXPECT_EQ(ErrorOf("\xEF\xBB\xBF<metalib/>"),
            "game.xml:1:1: error: metalib has no 'name' attribute");
}

TEST(ZemXmlLoader, Utf16WithByteOrderMarkIsTranscoded) {
  const std::string ascii = "<metalib name=\"game\">\n  <struct name=\"p\"/>\n</metalib>\n";
  std::string bytes = "\xFF\xFE";
  for (char c : ascii) {
    bytes += c;
    bytes += '\0';
  }
  const ZemLoadResult result = Load(bytes);
  EXPECT_NE(MetaOf(result, "p"), nullptr);
  EXPECT_EQ(result.metas[0].line, 2);
}

TEST(ZemXmlLoader, DeclaredUtf8AndAsciiAreReadAsTheyAre) {
  const char* encodings[] = {"UTF-8", "utf8", "US-ASCII"};
  for (const char* encoding : encodings) {
    const ZemLoadResult result = Load(std::string("<?xml version=\"1.0\" encoding=\"") + encoding +
                                      "\"?>\n<metalib name=\"g\xc3\xa9\"/>\n");
    ASSERT_TRUE(result.ok) << encoding;
    EXPECT_STREQ(zem_get_metalib_name(result.metalib.get()), "g\xc3\xa9") << encoding;
  }
}

TEST(ZemXmlLoader, UnknownEncodingIsALoadError) {
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\" encoding=\"KLINGON-8\"?>\n<metalib name=\"g\"/>\n"),
            "game.xml:1:21: error: unknown encoding 'KLINGON-8'");
}

TEST(ZemXmlLoader, InvalidByteSequenceIsALoadErrorWithItsLine) {
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\" encoding=\"GBK\"?>\n"
                    "<metalib name=\"game\">\n"
                    "  <struct name=\"p\" desc=\"\xcd\xe6\xff\"/>\n"
                    "</metalib>\n"),
            "game.xml:3:27: error: invalid byte sequence for encoding 'GBK'");
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\" encoding=\"GBK\"?>\n<metalib name=\"g\"/>\xcd"),
            "game.xml:2:20: error: the file ends inside a character of encoding 'GBK'");
}

// ---- Load errors: the file -----------------------------------------------------------------

TEST(ZemXmlLoader, MissingFileReportsTheSystemReason) {
  const std::string path = LOADER_DIR + "/no_such_file.xml";
  const ZemLoadResult result = ZemLoadXmlFile(path);
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.error.line, 0);
  EXPECT_EQ(FormatZemLoadMessage(result.error, "error"),
            path + ": error: cannot read the file: No such file or directory");
}

TEST(ZemXmlLoader, DirectoryIsNoSchemaFile) {
  const ZemLoadResult result = ZemLoadXmlFile(LOADER_DIR);
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(FormatZemLoadMessage(result.error, "error"),
            LOADER_DIR + ": error: cannot read the file: Is a directory");
}

TEST(ZemXmlLoader, EmptyFileIsALoadError) {
  const std::string path = LOADER_DIR + "/empty.xml";
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadXmlFile(path).error, "error"),
            path + ": error: the file is empty");
  EXPECT_EQ(ErrorOf(""), "game.xml: error: the file is empty");
}

TEST(ZemXmlLoader, NonXmlFileIsALoadError) {
  const std::string path = LOADER_DIR + "/not_xml.txt";
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadXmlFile(path).error, "error"),
            path + ":1:1: error: not an XML file: it does not start with '<'");
  EXPECT_EQ(ErrorOf("\n  \x01\x02<metalib/>"),
            "game.xml:2:3: error: not an XML file: it does not start with '<'");
}

TEST(ZemXmlLoader, MalformedXmlReportsTheParsersDescriptionAtItsPosition) {
  const std::string path = LOADER_DIR + "/malformed.xml";
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadXmlFile(path).error, "error"),
            path + ":4:5: error: malformed XML: Start-end tags mismatch");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <struct name=\"p\" x=>\n</metalib>\n"),
            "game.xml:2:22: error: malformed XML: Error parsing element attribute");
}

TEST(ZemXmlLoader, RepeatedAttributeIsMalformedXml) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int8\" name=\"b\"/>"})),
            "game.xml:3:33: error: malformed XML: attribute 'name' appears twice in <entry>");
}

TEST(ZemXmlLoader, FileWithoutRootElementIsALoadError) {
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\"?>\n<!-- nothing here -->\n"),
            "game.xml: error: no root element; the file must hold one <metalib>");
  EXPECT_EQ(ErrorOf(" \n\t\n"), "game.xml: error: no root element; the file must hold one <metalib>");
}

TEST(ZemXmlLoader, RootMustBeOneMetalib) {
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\"?>\n<schema name=\"g\"/>\n"),
            "game.xml:2:1: error: the root element is <schema>, not <metalib>");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\"/>\n  <metalib name=\"h\"/>\n"),
            "game.xml:2:3: error: a second root element <metalib>; the file must hold exactly one "
            "<metalib>");
}

// ---- Load errors: metalib and macros -------------------------------------------------------

TEST(ZemXmlLoader, MetalibNeedsAName) {
  EXPECT_EQ(ErrorOf("<metalib version=\"1\"/>"), "game.xml:1:1: error: metalib has no 'name' attribute");
}

TEST(ZemXmlLoader, VersionMustBeAWholeDecimalInt) {
  EXPECT_EQ(ErrorOf("<metalib name=\"g\" version=\"3.0\"/>"),
            "game.xml:1:19: error: metalib 'g': version '3.0' is not a decimal integer");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\" version=\"\"/>"),
            "game.xml:1:19: error: metalib 'g': version '' is not a decimal integer");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\" version=\"2147483648\"/>"),
            "game.xml:1:19: error: metalib 'g': version '2147483648' is outside the int range");
  EXPECT_EQ(ErrorOf(Struct({}, " version=\"0x10\"")),
            "game.xml:2:20: error: struct 'p': version '0x10' is not a decimal integer");
}

TEST(ZemXmlLoader, MacroNeedsANameAndAWholeDecimalValueWithinInt) {
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro value=\"1\"/>\n</metalib>"),
            "game.xml:2:3: error: macro has no 'name' attribute");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"M\"/>\n</metalib>"),
            "game.xml:2:3: error: macro 'M' has no 'value' attribute");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"M\" value=\"12 \"/>\n</metalib>"),
            "game.xml:2:19: error: macro 'M': value '12 ' is not a decimal integer");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"M\" value=\"0x10\"/>\n</metalib>"),
            "game.xml:2:19: error: macro 'M': value '0x10' is not a decimal integer");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"M\" value=\"-2147483649\"/>\n</metalib>"),
            "game.xml:2:19: error: macro 'M': value '-2147483649' is outside the int range");
  EXPECT_EQ(
      ErrorOf("<metalib name=\"g\">\n  <macro name=\"M\" value=\"99999999999999999999999\"/>\n</metalib>"),
      "game.xml:2:19: error: macro 'M': value '99999999999999999999999' is outside the int range");
}

// ---- Load errors: structs and unions -------------------------------------------------------

TEST(ZemXmlLoader, StructAndUnionNeedAName) {
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <struct/>\n</metalib>"),
            "game.xml:2:3: error: struct has no 'name' attribute");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <union/>\n</metalib>"),
            "game.xml:2:3: error: union has no 'name' attribute");
}

TEST(ZemXmlLoader, StructNameOfMoreThan127BytesIsALoadError) {
  const std::string text =
      "<metalib name=\"g\">\n  <struct name=\"" + std::string(128, 'n') + "\"/>\n</metalib>";
  EXPECT_EQ(ErrorOf(text),
            "game.xml:2:11: error: struct name of 128 bytes is too long; a name has at most 127 "
            "bytes");
}

TEST(ZemXmlLoader, StructAndUnionNamesAreUniqueByExactMatch) {
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">", "  <union name=\"p\"/>", "  <struct name=\"P\"/>",
                         "  <struct name=\"p\"/>", "</metalib>"})),
            "game.xml:4:3: error: struct 'p': the name is already used by the union at line 2");
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">", "  <struct name=\"p\"/>", "  <union name=\"p\"/>",
                         "</metalib>"})),
            "game.xml:3:3: error: union 'p': the name is already used by the struct at line 2");
}

TEST(ZemXmlLoader, StructOfMoreThan2147483647BytesIsALoadError) {
  EXPECT_EQ(ErrorOf(Struct({
                "    <entry name=\"a\" type=\"string\" size=\"2000000000\"/>",
                "    <entry name=\"b\" type=\"string\" size=\"2000000000\"/>",
            })),
            "game.xml:2:3: error: struct 'p': 4000000000 bytes exceed the limit of 2147483647 "
            "bytes");
  EXPECT_EQ(ErrorOf(Struct({
                "    <entry name=\"a\" type=\"string\" size=\"2147483647\"/>",
                "    <entry name=\"b\" type=\"int8\"/>",
            })),
            "game.xml:2:3: error: struct 'p': 2147483648 bytes exceed the limit of 2147483647 "
            "bytes");
}

TEST(ZemXmlLoader, UnionOfLargeAlternativesFitsWhenEachFits) {
  const ZemLoadResult result = Load(Xml({
      "<metalib name=\"g\">",
      "  <union name=\"u\">",
      "    <entry name=\"a\" type=\"string\" size=\"2147483647\"/>",
      "    <entry name=\"b\" type=\"string\" size=\"2000000000\"/>",
      "  </union>",
      "</metalib>"}));
  EXPECT_EQ(MetaOf(result, "u")->iSize, 2147483647);
}

// ---- Load errors: entries ------------------------------------------------------------------

TEST(ZemXmlLoader, EntryNeedsANameAndAType) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry type=\"int8\"/>"})),
            "game.xml:3:5: error: entry of struct 'p' has no 'name' attribute");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\"/>"})),
            "game.xml:3:5: error: entry 'a' has no 'type' attribute");
}

TEST(ZemXmlLoader, EntryNameOfMoreThan127BytesIsALoadError) {
  const std::string entry = "    <entry name=\"" + std::string(128, 'n') + "\" type=\"int8\"/>";
  EXPECT_EQ(ErrorOf(Struct({entry.c_str()})),
            "game.xml:3:12: error: entry name of 128 bytes in struct 'p' is too long; a name has "
            "at most 127 bytes");
}

TEST(ZemXmlLoader, TwoEntriesOfOneNameAreALoadError) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int8\"/>",
                            "    <entry name=\"A\" type=\"int8\"/>",
                            "    <entry name=\"a\" type=\"int16\"/>"})),
            "game.xml:5:5: error: entry 'a' is defined twice in struct 'p' (first at line 3)");
}

TEST(ZemXmlLoader, UnknownTypeIsALoadError) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int128\"/>"})),
            "game.xml:3:21: error: entry 'a': type 'int128' is neither a base type nor a struct "
            "or union defined earlier");
}

TEST(ZemXmlLoader, StructTypesMatchExactlyAndMustBeDefinedEarlier) {
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">",
                         "  <struct name=\"position\"><entry name=\"x\" type=\"int8\"/></struct>",
                         "  <struct name=\"p\"><entry name=\"a\" type=\"Position\"/></struct>",
                         "</metalib>"})),
            "game.xml:3:36: error: entry 'a': type 'Position' is neither a base type nor a struct "
            "or union defined earlier");
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">",
                         "  <struct name=\"p\"><entry name=\"a\" type=\"later\"/></struct>",
                         "  <struct name=\"later\"><entry name=\"x\" type=\"int8\"/></struct>",
                         "</metalib>"})),
            "game.xml:2:36: error: entry 'a': type 'later' is neither a base type nor a struct "
            "or union defined earlier");
}

TEST(ZemXmlLoader, StructCannotContainItself) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"p\"/>"})),
            "game.xml:3:21: error: entry 'a': type 'p' is the struct being defined; a struct "
            "cannot contain itself");
}

TEST(ZemXmlLoader, SizeAppliesOnlyToStringAndWstring) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" size=\"4\"/>"})),
            "game.xml:3:34: error: entry 'a': size applies only to string and wstring, not to "
            "type 'int32'");
}

TEST(ZemXmlLoader, SizeMustBeAPositiveNumberOrADefinedMacro) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"string\" size=\"LEN\"/>"})),
            "game.xml:3:35: error: entry 'a': size 'LEN' is neither a number nor a defined macro");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"string\" size=\"0\"/>"})),
            "game.xml:3:35: error: entry 'a': size '0' is not positive");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"wstring\" size=\"-4\"/>"})),
            "game.xml:3:36: error: entry 'a': size '-4' is not positive");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"string\" size=\"99999999999\"/>"})),
            "game.xml:3:35: error: entry 'a': size '99999999999' is larger than 2147483647");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"Z\" value=\"0\"/>\n"
                    "  <struct name=\"p\"><entry name=\"a\" type=\"string\" size=\"Z\"/></struct>\n"
                    "</metalib>"),
            "game.xml:3:50: error: entry 'a': size 'Z' stands for 0, which is not positive");
}

TEST(ZemXmlLoader, CountMustBeANonNegativeNumberOrADefinedMacro) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"items\" type=\"int32\" count=\"MAX_ITEMS\"/>"})),
            "game.xml:3:38: error: entry 'items': count 'MAX_ITEMS' is neither a number nor a "
            "defined macro");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"12 \"/>"})),
            "game.xml:3:34: error: entry 'a': count '12 ' is neither a number nor a defined macro");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"0x10\"/>"})),
            "game.xml:3:34: error: entry 'a': count '0x10' is neither a number nor a defined "
            "macro");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"-1\"/>"})),
            "game.xml:3:34: error: entry 'a': count '-1' is negative");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n  <macro name=\"N\" value=\"-3\"/>\n"
                    "  <struct name=\"p\"><entry name=\"a\" type=\"int8\" count=\"N\"/></struct>\n"
                    "</metalib>"),
            "game.xml:3:48: error: entry 'a': count 'N' stands for -3, which is negative");
}

TEST(ZemXmlLoader, MacroMustBeDefinedBeforeItsUse) {
  EXPECT_EQ(ErrorOf("<metalib name=\"g\">\n"
                    "  <struct name=\"p\"><entry name=\"a\" type=\"int8\" count=\"N\"/></struct>\n"
                    "  <macro name=\"N\" value=\"3\"/>\n"
                    "</metalib>"),
            "game.xml:2:48: error: entry 'a': count 'N' is neither a number nor a defined macro");
}

TEST(ZemXmlLoader, AbsurdCountIsALoadError) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"99999999999\"/>"})),
            "game.xml:3:34: error: entry 'a': count '99999999999' is larger than 2147483647");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int8\" count=\"2147483648\"/>"})),
            "game.xml:3:33: error: entry 'a': count '2147483648' is larger than 2147483647");
}

TEST(ZemXmlLoader, EntryOfMoreThan2147483647BytesIsALoadError) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int64\" count=\"300000000\"/>"})),
            "game.xml:3:5: error: entry 'a': 2400000000 bytes (8 x 300000000) exceed the limit of "
            "2147483647 bytes");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"w\" type=\"wstring\" size=\"1100000000\"/>"})),
            "game.xml:3:5: error: entry 'w': 2200000000 bytes (2200000000 x 1) exceed the limit "
            "of 2147483647 bytes");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"string\" size=\"2147483647\" "
                            "count=\"2147483647\"/>"})),
            "game.xml:3:5: error: entry 'a': 4611686014132420609 bytes (2147483647 x 2147483647) "
            "exceed the limit of 2147483647 bytes");
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">",
                         "  <struct name=\"big\"><entry name=\"s\" type=\"string\" size=\"1000000000\"/></struct>",
                         "  <struct name=\"p\"><entry name=\"a\" type=\"big\" count=\"3\"/></struct>",
                         "</metalib>"})),
            "game.xml:3:20: error: entry 'a': 3000000000 bytes (1000000000 x 3) exceed the limit "
            "of 2147483647 bytes");
}

TEST(ZemXmlLoader, CountZeroNeedsARefer) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"0\"/>"})),
            "game.xml:3:34: error: entry 'a': count 0 makes a variable array, which needs a refer");
}

TEST(ZemXmlLoader, ReferMustNameAnEarlierEntryOfTheSameStruct) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"items\" type=\"int32\" count=\"8\" refer=\"cnt\"/>",
                            "    <entry name=\"cnt\" type=\"int32\"/>"})),
            "game.xml:3:48: error: entry 'items': refer 'cnt' names no earlier entry of struct 'p'");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"a\"/>"})),
            "game.xml:3:44: error: entry 'a': refer 'a' names no earlier entry of struct 'p'");
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">",
                         "  <struct name=\"q\"><entry name=\"n\" type=\"int8\"/></struct>",
                         "  <struct name=\"p\"><entry name=\"a\" type=\"int8\" count=\"2\" refer=\"n\"/></struct>",
                         "</metalib>"})),
            "game.xml:3:58: error: entry 'a': refer 'n' names no earlier entry of struct 'p'");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"\"/>"})),
            "game.xml:3:44: error: entry 'a': refer is empty");
}

TEST(ZemXmlLoader, ReferMustBeASingleIntegerOfAtMost32Bits) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"n\" type=\"int64\"/>",
                            "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>"})),
            "game.xml:4:44: error: entry 'a': refer 'n' has type 'int64'; a refer must be an "
            "integer of at most 32 bits (int8, uint8, byte, int16, uint16, int32 or uint32)");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"n\" type=\"String\" size=\"4\"/>",
                            "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>"})),
            "game.xml:4:44: error: entry 'a': refer 'n' has type 'string'; a refer must be an "
            "integer of at most 32 bits (int8, uint8, byte, int16, uint16, int32 or uint32)");
  EXPECT_EQ(ErrorOf(Xml({"<metalib name=\"g\">",
                         "  <struct name=\"q\"><entry name=\"x\" type=\"int8\"/></struct>",
                         "  <struct name=\"p\">",
                         "    <entry name=\"n\" type=\"q\"/>",
                         "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>",
                         "  </struct>",
                         "</metalib>"})),
            "game.xml:5:44: error: entry 'a': refer 'n' has type 'q'; a refer must be an "
            "integer of at most 32 bits (int8, uint8, byte, int16, uint16, int32 or uint32)");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"n\" type=\"int32\" count=\"2\"/>",
                            "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>"})),
            "game.xml:4:44: error: entry 'a': refer 'n' has count 2; a refer must have count 1");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"m\" type=\"uint8\"/>",
                            "    <entry name=\"n\" type=\"int32\" count=\"0\" refer=\"m\"/>",
                            "    <entry name=\"a\" type=\"int32\" count=\"8\" refer=\"n\"/>"})),
            "game.xml:5:44: error: entry 'a': refer 'n' has count 0; a refer must have count 1");
}

TEST(ZemXmlLoader, EntryCustomAttr2OfMoreThan2047BytesIsALoadError) {
  const std::string entry =
      "    <entry name=\"a\" type=\"int32\" customattr2=\"" + std::string(2048, 'x') + "\"/>";
  EXPECT_EQ(ErrorOf(Struct({entry.c_str()})),
            "game.xml:3:34: error: entry 'a': customattr2 of 2048 bytes is too long; it has at "
            "most 2047 bytes");
}

// ---- Load errors: keys and indexes ---------------------------------------------------------

TEST(ZemXmlLoader, PrimaryKeyMustNameEntriesOfTheStruct) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, " primarykey=\"uid, zone\"")),
            "game.xml:2:20: error: struct 'p': primarykey member 'zone' names no entry of struct "
            "'p'");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, " primarykey=\"UID\"")),
            "game.xml:2:20: error: struct 'p': primarykey member 'UID' names no entry of struct "
            "'p'");
}

TEST(ZemXmlLoader, PrimaryKeyOfMoreThan32767MembersIsALoadError) {
  std::string key;
  for (int i = 0; i < 32768; ++i) key += "uid,";
  const std::string attribute = " primarykey=\"" + key + "\"";
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"}, attribute.c_str())),
            "game.xml:2:20: error: struct 'p': primarykey has 32768 members; at most 32767 fit");
}

TEST(ZemXmlLoader, SplitTableKeyMustNameEntriesOfTheStruct) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>"},
                           " primarykey=\"uid\" splittablekey=\"uid,shard\"")),
            "game.xml:2:37: error: struct 'p': splittablekey member 'shard' names no entry of "
            "struct 'p'");
}

TEST(ZemXmlLoader, IndexNeedsAUniqueNameAndColumnsNamingEntries) {
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>", "    <index column=\"uid\"/>"})),
            "game.xml:4:5: error: index of struct 'p' has no 'name' attribute");
  EXPECT_EQ(ErrorOf(Struct({"    <index name=\"i\" column=\"uid\"/>",
                            "    <entry name=\"uid\" type=\"uint64\"/>",
                            "    <index name=\"i\" column=\"uid\"/>"})),
            "game.xml:5:5: error: index 'i' is defined twice in struct 'p' (first at line 3)");
  EXPECT_EQ(ErrorOf(Struct({"    <entry name=\"uid\" type=\"uint64\"/>",
                            "    <index name=\"by_uid\" column=\"uid, zone\"/>"})),
            "game.xml:4:26: error: index 'by_uid': column 'zone' names no entry of struct 'p'");
}

TEST(ZemXmlLoader, NothingIsBuiltWhenAStructCannotBeBuiltButTheRestIsRead) {
  const ZemLoadResult result = Load(Xml({"<metalib name=\"g\" bogus=\"1\">",
                                         "  <struct name=\"ok\"><entry name=\"a\" type=\"int8\"/></struct>",
                                         "  <struct name=\"p\"><entry name=\"a\" type=\"nope\"/></struct>",
                                         "  <struct name=\"q\" bogus=\"2\"/>",
                                         "</metalib>"}));
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.metalib, nullptr);
  EXPECT_TRUE(result.metas.empty());
  EXPECT_EQ(result.error.line, 3);
  // The structs after the one in error are still read, for their own errors and warnings.
  EXPECT_EQ(result.errors.size(), 1u);
  EXPECT_EQ(result.warnings.size(), 2u);
}

TEST(ZemXmlLoader, LongValuesAreCutInMessages) {
  const std::string type = std::string(70, 'x');
  const std::string entry = "    <entry name=\"a\" type=\"" + type + "\"/>";
  EXPECT_EQ(ErrorOf(Struct({entry.c_str()})),
            "game.xml:3:21: error: entry 'a': type '" + std::string(64, 'x') +
                "...' is neither a base type nor a struct or union defined earlier");
}

// ---- Messages ------------------------------------------------------------------------------

TEST(ZemXmlLoader, MessagesReadFileLineColumnKindText) {
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadMessage{"a.xml", 14, 9, "bad"}, "error"),
            "a.xml:14:9: error: bad");
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadMessage{"a.xml", 2, 1, "odd"}, "warning"),
            "a.xml:2:1: warning: odd");
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadMessage{"a.xml", 0, 0, "gone"}, "error"),
            "a.xml: error: gone");
}

}  // namespace

namespace {

bool SamePlace(const ZemPlace& place, int line, int column) {
  return place.line == line && place.column == column;
}

}  // namespace

TEST(ZemXmlLoader, KeepsThePlacesOfStructsEntriesIndexesAndKeyAttributes) {
  const std::string text =
      "<metalib name=\"m\">\n"
      "  <struct name=\"pos\">\n"
      "    <entry name=\"x\" type=\"int32\" customattr2=\"sort1\"/>\n"
      "  </struct>\n"
      "\t<struct name=\"t\"\n"
      "          primarykey=\"a\" splittablekey=\"a\" customattr2=\"TableType=GENERIC\">\n"
      "    <entry name=\"a\" type=\"int32\"/>\n"
      "    <index name=\"by_a\" column=\"a\"/>\n"
      "    <entry name=\"p\" type=\"pos\"/>\n"
      "  </struct>\n"
      "</metalib>\n";
  const ZemLoadResult result = ZemLoadXmlText("m.xml", text);
  ASSERT_TRUE(result.ok) << result.error.text;
  LPZEMMETALIB lib = result.metalib.get();
  LPZEMMETA pos = zem_get_meta_by_name(lib, "pos");
  LPZEMMETA table = zem_get_meta_by_name(lib, "t");
  const ZemSourcePlaces& places = result.places;
  EXPECT_TRUE(SamePlace(places.Of(pos), 2, 3));
  EXPECT_TRUE(SamePlace(places.Of(zem_get_entry_by_index(pos, 0)), 3, 5));
  EXPECT_TRUE(SamePlace(
      places.OfAttribute(zem_get_entry_by_index(pos, 0), ZemSourcePlaces::CUSTOM_ATTR2), 3, 34));
  EXPECT_TRUE(SamePlace(places.Of(table), 5, 2));
  EXPECT_TRUE(SamePlace(places.OfAttribute(table, ZemSourcePlaces::PRIMARY_KEY), 6, 11));
  EXPECT_TRUE(SamePlace(places.OfAttribute(table, ZemSourcePlaces::SPLIT_TABLE_KEY), 6, 26));
  EXPECT_TRUE(SamePlace(places.OfAttribute(table, ZemSourcePlaces::CUSTOM_ATTR2), 6, 44));
  EXPECT_TRUE(SamePlace(places.Of(zem_get_entry_by_index(table, 1)), 9, 5));
  EXPECT_TRUE(SamePlace(places.Of(zem_meta_index(table, 0)), 8, 5));
  // Absent attributes and foreign pointers have no place.
  EXPECT_TRUE(SamePlace(places.OfAttribute(pos, ZemSourcePlaces::PRIMARY_KEY), 0, 0));
  EXPECT_TRUE(SamePlace(
      places.OfAttribute(zem_get_entry_by_index(table, 0), ZemSourcePlaces::CUSTOM_ATTR2), 0, 0));
  EXPECT_TRUE(SamePlace(places.Of(&text), 0, 0));
}

TEST(ZemXmlLoader, SourcePlacesKeepTheLastPlacesAddedForAHandle) {
  ZemSourcePlaces places;
  std::vector<long> handles(3000);
  ZemPlace attributes[ZemSourcePlaces::ATTRIBUTE_NUM] = {{1, 2}, {0, 0}, {3, 4}};
  for (size_t i = 0; i < handles.size(); ++i) {
    const int line = static_cast<int>(i) + 1;
    places.Add(&handles[i], ZemPlace{line, 7}, i % 2 == 0 ? attributes : nullptr);
  }
  for (size_t i = 0; i < handles.size(); ++i) {
    const int line = static_cast<int>(i) + 1;
    ASSERT_TRUE(SamePlace(places.Of(&handles[i]), line, 7));
    const ZemPlace key = places.OfAttribute(&handles[i], ZemSourcePlaces::PRIMARY_KEY);
    ASSERT_TRUE(i % 2 == 0 ? SamePlace(key, 1, 2) : SamePlace(key, 0, 0));
    ASSERT_TRUE(SamePlace(places.OfAttribute(&handles[i], ZemSourcePlaces::SPLIT_TABLE_KEY), 0, 0));
  }
  // Added again: the new places replace the old, attributes given or taken away.
  places.Add(&handles[1], ZemPlace{9, 9}, attributes);
  places.Add(&handles[0], ZemPlace{8, 8}, nullptr);
  const ZemPlace moved[ZemSourcePlaces::ATTRIBUTE_NUM] = {{0, 0}, {5, 6}, {0, 0}};
  places.Add(&handles[2], ZemPlace{7, 7}, moved);
  EXPECT_TRUE(SamePlace(places.OfAttribute(&handles[2], ZemSourcePlaces::SPLIT_TABLE_KEY), 5, 6));
  EXPECT_TRUE(SamePlace(places.OfAttribute(&handles[2], ZemSourcePlaces::PRIMARY_KEY), 0, 0));
  EXPECT_TRUE(SamePlace(places.Of(&handles[1]), 9, 9));
  EXPECT_TRUE(SamePlace(places.OfAttribute(&handles[1], ZemSourcePlaces::CUSTOM_ATTR2), 3, 4));
  EXPECT_TRUE(SamePlace(places.Of(&handles[0]), 8, 8));
  EXPECT_TRUE(SamePlace(places.OfAttribute(&handles[0], ZemSourcePlaces::PRIMARY_KEY), 0, 0));
  // No place for NULL, a handle never added, or an attribute out of range.
  places.Add(nullptr, ZemPlace{5, 5}, nullptr);
  EXPECT_TRUE(SamePlace(places.Of(nullptr), 0, 0));
  const long stranger = 0;
  EXPECT_TRUE(SamePlace(places.Of(&stranger), 0, 0));
  EXPECT_TRUE(SamePlace(places.OfAttribute(&handles[2], ZemSourcePlaces::ATTRIBUTE_NUM), 0, 0));
  EXPECT_TRUE(SamePlace(
      places.OfAttribute(&handles[2], static_cast<ZemSourcePlaces::Attribute>(-1)), 0, 0));
  EXPECT_TRUE(SamePlace(ZemSourcePlaces().Of(&handles[0]), 0, 0));
}

TEST(ZemXmlLoader, SourcePlacesFindHandlesAddedInAnyOrder) {
  std::vector<long> handles(500);
  ZemSourcePlaces places;
  // Every third handle from the end, then the rest from the start.
  for (size_t i = handles.size(); i > 0; i -= std::min<size_t>(i, 3)) {
    places.Add(&handles[i - 1], ZemPlace{static_cast<int>(i), 1}, nullptr);
  }
  for (size_t i = 1; i <= handles.size(); ++i) {
    if ((handles.size() - i) % 3 != 0)
      places.Add(&handles[i - 1], ZemPlace{static_cast<int>(i), 1}, nullptr);
  }
  for (size_t i = 1; i <= handles.size(); ++i) {
    ASSERT_TRUE(SamePlace(places.Of(&handles[i - 1]), static_cast<int>(i), 1)) << i;
  }
}

TEST(ZemXmlLoader, ListsTheErrorOfEveryStructThatCannotBeBuiltUpToFifty) {
  const std::string text =
      "<metalib name=\"m\">\n"
      "  <struct name=\"a\" primarykey=\"nope\"><entry name=\"x\" type=\"int32\"/></struct>\n"
      "  <struct name=\"b\"><entry name=\"k\" type=\"nosuch\"/></struct>\n"
      "  <struct name=\"ok\"><entry name=\"k\" type=\"int32\"/></struct>\n"
      "  <struct name=\"c\"><entry name=\"n\" type=\"a\"/></struct>\n"
      "</metalib>\n";
  const ZemLoadResult result = ZemLoadXmlText("m.xml", text);
  ASSERT_FALSE(result.ok);
  ASSERT_EQ(result.errors.size(), 3u);
  EXPECT_EQ(result.error.text, result.errors[0].text);
  EXPECT_EQ(result.errors[0].text,
            "struct 'a': primarykey member 'nope' names no entry of struct 'a'");
  EXPECT_EQ(result.errors[0].line, 2);
  EXPECT_EQ(result.errors[1].line, 3);
  EXPECT_EQ(result.errors[2].text,
            "entry 'n': type 'a' is a struct or union that could not be built");
  EXPECT_EQ(result.errors[2].line, 5);
  EXPECT_EQ(result.errors[2].column, 36);

  std::string many = "<metalib name=\"m\">\n";
  for (int i = 0; i < 60; ++i) {
    many += "<struct name=\"s" + std::to_string(i) + "\" primarykey=\"x\"/>\n";
  }
  many += "</metalib>\n";
  EXPECT_EQ(ZemLoadXmlText("many.xml", many).errors.size(), ZEM_MAX_LOAD_ERRORS);
}
