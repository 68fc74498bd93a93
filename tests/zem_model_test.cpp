// The ZEM schema model: the zem_get_* operations, the offsets records use to find each other, the
// all-ones "absent" convention, and the builder that lays any model out as one relocatable block.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "test_support.h"
#include <velmora/zem.h>
#include <velmora/zem_builder.h>

namespace {

// inner (a int8, b int16) is defined first, so player's struct field knows its size.
ZemMetaDef InnerMeta() {
  return Table("inner", {Field("a", ZEM_TYPE_INT8), Field("b", ZEM_TYPE_INT16)});
}

ZemMetaDef PlayerMeta() {
  ZemEntryDef name = Field("name", ZEM_TYPE_STRING);
  name.unit_size = 32;
  name.customattr2 = "sort1";
  ZemEntryDef items = Field("items", ZEM_TYPE_INT32, 10);
  items.refer = "n";
  ZemEntryDef sub = Field("sub", ZEM_TYPE_STRUCT);
  sub.type_meta = "inner";
  ZemMetaDef meta = Table("player",
                          {Field("uid", ZEM_TYPE_INT32), Field("zone", ZEM_TYPE_UINT64), name,
                           Field("n", ZEM_TYPE_INT32), items, sub},
                          {"uid", "zone"});
  meta.split_table_key = "uid";
  meta.indexes = {{"idx_all", {"uid", "zone"}}, {"idx_zone", {"zone"}}};
  meta.customattr2 = "TableType=GENERIC;ListNum=10";
  meta.version = 3;
  return meta;
}

ZemMetaLibPtr PlayerLib() {
  ZemMetaLibDef def;
  def.name = "game";
  def.version = 7;
  def.macros = {{"MAX_LIST", 100}, {"ANSWER", 42}, {"MAX_LIST", 200}};
  def.metas = {InnerMeta(), PlayerMeta()};
  std::string error;
  ZemMetaLibPtr lib = ZemBuildMetaLib(def, &error);
  EXPECT_NE(lib, nullptr) << error;
  return lib;
}

ZemMetaLibPtr BuildOrNull(std::vector<ZemMetaDef> metas, std::string* error) {
  ZemMetaLibDef def;
  def.metas = std::move(metas);
  return ZemBuildMetaLib(def, error);
}

const char* DataBase(LPZEMMETALIB lib) { return lib->data(); }

size_t BlockSize(LPZEMMETALIB lib) {
  return sizeof(tagZEMMetaLib) + static_cast<size_t>(lib->iDataSize);
}

// ---- Lookups ------------------------------------------------------------------------------

TEST(ZemMetaLookup, FindsAMetaByItsExactName) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_NE(meta, nullptr);
  EXPECT_STREQ(zem_get_meta_name(meta), "player");
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_name(lib.get(), "inner")), "inner");
}

TEST(ZemMetaLookup, AnswersNullForAnyOtherName) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "play"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "players"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "Player"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), ""), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), nullptr), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(nullptr, "player"), nullptr);
}

TEST(ZemMetaLookup, FindsEveryMetaAmongManyDefinedOutOfOrder) {
  std::vector<ZemMetaDef> metas;
  std::vector<std::string> names;
  for (int i = 0; i < 300; ++i) {
    // Definition order differs from name order: 299, 0, 298, 1, ...
    const int n = (i % 2 == 0) ? 299 - i / 2 : i / 2;
    names.push_back("t" + std::to_string(n));
    metas.push_back(Table(names.back(), {Field("k"), Field("v")}, {"k"}));
  }
  metas.push_back(Table("T", {Field("k")}, {"k"}));
  metas.push_back(Table("_z", {Field("k")}, {"k"}));
  auto lib = BuildLib(metas);
  ASSERT_NE(lib, nullptr);
  ASSERT_EQ(zem_get_meta_num(lib.get()), 302);
  for (int i = 0; i < 300; ++i) {
    LPZEMMETA meta = zem_get_meta_by_name(lib.get(), names[static_cast<size_t>(i)].c_str());
    ASSERT_NE(meta, nullptr) << names[static_cast<size_t>(i)];
    EXPECT_EQ(std::string(zem_get_meta_name(meta)), names[static_cast<size_t>(i)]);
    EXPECT_EQ(zem_get_meta_by_index(lib.get(), i), meta);
  }
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_name(lib.get(), "T")), "T");
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_name(lib.get(), "_z")), "_z");
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "t300"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "t"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "t1 "), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "a"), nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "zzz"), nullptr);
}

TEST(ZemMetaLookup, NamesAreOrderedByteForByte) {
  // Bytes above 0x7f sort after every ASCII byte, as strcmp orders them.
  auto lib =
      BuildLib({Table("\xc3\xa9t\xc3\xa9", {Field("k")}, {"k"}), Table("zeta", {Field("k")}, {"k"}),
                Table("Alpha", {Field("k")}, {"k"}), Table("_x", {Field("k")}, {"k"}),
                Table("\x7f", {Field("k")}, {"k"}), Table("\xff", {Field("k")}, {"k"})});
  ASSERT_NE(lib, nullptr);
  for (const char* name : {"\xc3\xa9t\xc3\xa9", "zeta", "Alpha", "_x", "\x7f", "\xff"}) {
    LPZEMMETA meta = zem_get_meta_by_name(lib.get(), name);
    ASSERT_NE(meta, nullptr) << name;
    EXPECT_STREQ(zem_get_meta_name(meta), name);
  }
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "\xc3\xa9"), nullptr);
}

TEST(ZemMetaLookup, LibraryHoldsNoMetaAtAll) {
  auto lib = BuildLib({});
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(zem_get_meta_num(lib.get()), 0);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "player"), nullptr);
  EXPECT_EQ(zem_get_meta_by_index(lib.get(), 0), nullptr);
}

TEST(ZemMetaLib, VersionNameAndMetasInDefinitionOrder) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(zem_get_metalib_version(lib.get()), 7);
  EXPECT_STREQ(zem_get_metalib_name(lib.get()), "game");
  EXPECT_EQ(lib->uMagic, ZEM_METALIB_MAGIC);
  ASSERT_EQ(zem_get_meta_num(lib.get()), 2);
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_index(lib.get(), 0)), "inner");
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_index(lib.get(), 1)), "player");
  EXPECT_EQ(zem_get_meta_by_index(lib.get(), 2), nullptr);
  EXPECT_EQ(zem_get_meta_by_index(lib.get(), -1), nullptr);
  EXPECT_EQ(zem_get_meta_by_index(nullptr, 0), nullptr);
}

// ---- Entries ------------------------------------------------------------------------------

TEST(ZemEntries, WalkedByIndexInDefinitionOrder) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_EQ(zem_get_entry_num(meta), 6);
  const char* const names[] = {"uid", "zone", "name", "n", "items", "sub"};
  const int types[] = {ZEM_TYPE_INT32, ZEM_TYPE_UINT64, ZEM_TYPE_STRING,
                       ZEM_TYPE_INT32, ZEM_TYPE_INT32,  ZEM_TYPE_STRUCT};
  const int counts[] = {1, 1, 1, 1, 10, 1};
  for (int i = 0; i < 6; ++i) {
    LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, i);
    ASSERT_NE(entry, nullptr) << i;
    EXPECT_STREQ(zem_get_entry_name(entry), names[i]);
    EXPECT_EQ(zem_get_entry_type(entry), types[i]);
    EXPECT_EQ(zem_get_entry_count(entry), counts[i]);
  }
  EXPECT_EQ(zem_get_entry_by_index(meta, 6), nullptr);
  EXPECT_EQ(zem_get_entry_by_index(meta, -1), nullptr);
  EXPECT_EQ(zem_get_entry_by_index(nullptr, 0), nullptr);
}

TEST(ZemEntries, UnitSizeIsTheTypesOwnUnlessDeclared) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(meta, 0)), 4u);   // int32
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(meta, 1)), 8u);   // uint64
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(meta, 2)), 32u);  // declared string
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(meta, 4)), 4u);   // one element
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(meta, 5)), 3u);   // inner: 1 + 2
}

TEST(ZemEntries, ReferIsTheEntryHoldingTheLengthOrNull) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  LPZEMMETAENTRY items = zem_get_entry_by_index(meta, 4);
  LPZEMMETAENTRY refer = zem_get_entry_refer(items);
  ASSERT_NE(refer, nullptr);
  EXPECT_EQ(refer, zem_get_entry_by_index(meta, 3));
  EXPECT_STREQ(zem_get_entry_name(refer), "n");
  EXPECT_EQ(zem_get_entry_refer(zem_get_entry_by_index(meta, 0)), nullptr);
}

TEST(ZemEntries, TypeMetaOfAStructEntryIsItsMeta) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  LPZEMMETA inner = zem_get_entry_type_meta(lib.get(), zem_get_entry_by_index(meta, 5));
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner, zem_get_meta_by_name(lib.get(), "inner"));
  EXPECT_EQ(zem_get_entry_type_meta(lib.get(), zem_get_entry_by_index(meta, 0)), nullptr);
  EXPECT_EQ(zem_get_entry_type_meta(nullptr, zem_get_entry_by_index(meta, 5)), nullptr);
  EXPECT_EQ(zem_get_entry_type_meta(lib.get(), nullptr), nullptr);
}

TEST(ZemEntries, CustomAttributeTextOrNull) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  EXPECT_STREQ(zem_get_entry_customattr2(lib.get(), zem_get_entry_by_index(meta, 2)), "sort1");
  EXPECT_EQ(zem_get_entry_customattr2(lib.get(), zem_get_entry_by_index(meta, 0)), nullptr);
  EXPECT_EQ(zem_get_entry_customattr2(nullptr, zem_get_entry_by_index(meta, 2)), nullptr);
  EXPECT_EQ(zem_get_entry_customattr2(lib.get(), nullptr), nullptr);
}

TEST(ZemEntries, EmptyCustomAttributeIsKeptAsEmptyText) {
  ZemEntryDef v = Field("v");
  v.customattr2 = "";
  ZemMetaDef meta = Table("t", {Field("k"), v}, {"k"});
  meta.customattr2 = "";
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_STREQ(zem_get_entry_customattr2(lib.get(), zem_get_entry_by_index(t, 1)), "");
  EXPECT_STREQ(zem_get_meta_customattr2(t), "");
}

TEST(ZemEntries, KeyMembersCarryTheKeyFlag) {
  ZemEntryDef flagged = Field("f");
  flagged.db_flag = 0x01;
  auto lib = BuildLib({Table("t", {Field("k"), Field("v"), flagged}, {"k"})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(zem_get_entry_by_index(t, 0)->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, 0x10);
  EXPECT_EQ(zem_get_entry_by_index(t, 1)->chDBFlag & ZEM_DBFLAG_PRIMARY_KEY, 0);
  EXPECT_EQ(zem_get_entry_by_index(t, 2)->chDBFlag, 0x01);
}

TEST(ZemMeta, CustomAttributeTextOrNull) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  EXPECT_STREQ(zem_get_meta_customattr2(zem_get_meta_by_name(lib.get(), "player")),
               "TableType=GENERIC;ListNum=10");
  EXPECT_EQ(zem_get_meta_customattr2(zem_get_meta_by_name(lib.get(), "inner")), nullptr);
}

// ---- Split table key ----------------------------------------------------------------------

TEST(ZemSplitTableKey, CopiesTheKeyText) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  char buffer[1024];
  std::memset(buffer, 'x', sizeof(buffer));
  const char* err = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(zem_get_meta_by_name(lib.get(), "player"), buffer,
                                       sizeof(buffer), &err),
            0);
  EXPECT_STREQ(buffer, "uid");
}

TEST(ZemSplitTableKey, KeepsSeveralNamesJoinedByComma) {
  ZemMetaDef meta = Table("t", {Field("a"), Field("b"), Field("v")}, {"a", "b"});
  meta.split_table_key = "a,b";
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  char buffer[1024] = {};
  EXPECT_EQ(zem_get_meta_splittablekey(t, buffer, sizeof(buffer), nullptr), 0);
  EXPECT_STREQ(buffer, "a,b");
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(t, t->stSplitTableKey.ptrEntry)), "a");
}

TEST(ZemSplitTableKey, UndeclaredKeyIsAllOnesAndGivesEmptyText) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA inner = zem_get_meta_by_name(lib.get(), "inner");
  EXPECT_EQ(inner->stSplitTableKey.ptrEntry, ZEMPTR_NONE);
  EXPECT_EQ(static_cast<uint64_t>(inner->stSplitTableKey.ptrEntry), UINT64_MAX);
  char buffer[1024];
  std::memset(buffer, 'x', sizeof(buffer));
  EXPECT_EQ(zem_get_meta_splittablekey(inner, buffer, sizeof(buffer), nullptr), 0);
  EXPECT_STREQ(buffer, "");
}

TEST(ZemSplitTableKey, TextThatDoesNotFitFailsWithAnEmptyBuffer) {
  const std::string long_key(1024, 'k');
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.split_table_key = long_key;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  char buffer[1024];
  std::memset(buffer, 'x', sizeof(buffer));
  const char* err = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(t, buffer, sizeof(buffer), &err), -1);
  EXPECT_EQ(buffer[0], '\0');
  ASSERT_NE(err, nullptr);
  EXPECT_STREQ(err, "split table key text is longer than 1023 bytes");
}

TEST(ZemSplitTableKey, TextOfExactlyTheBufferLessOneFits) {
  const std::string key(1023, 'k');
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.split_table_key = key;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  char buffer[1024];
  const char* err = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(zem_get_meta_by_name(lib.get(), "t"), buffer, sizeof(buffer),
                                       &err),
            0);
  EXPECT_EQ(std::string(buffer), key);
}

TEST(ZemSplitTableKey, SmallBufferNamesItsOwnLimit) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  char buffer[3];
  const char* err = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(zem_get_meta_by_name(lib.get(), "player"), buffer,
                                       sizeof(buffer), &err),
            -1);
  EXPECT_EQ(buffer[0], '\0');
  ASSERT_NE(err, nullptr);
  EXPECT_STREQ(err, "split table key text is longer than 2 bytes");
}

TEST(ZemSplitTableKey, RefusesMissingArguments) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  char buffer[16];
  EXPECT_EQ(zem_get_meta_splittablekey(nullptr, buffer, sizeof(buffer), nullptr), -1);
  EXPECT_EQ(
      zem_get_meta_splittablekey(zem_get_meta_by_name(lib.get(), "player"), nullptr, 16, nullptr),
      -1);
  EXPECT_EQ(
      zem_get_meta_splittablekey(zem_get_meta_by_name(lib.get(), "player"), buffer, 0, nullptr),
      -1);
}

// ---- Macros -------------------------------------------------------------------------------

TEST(ZemMacros, ValueOfANamedMacroAndTheLaterDefinitionWins) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  int value = 0;
  EXPECT_EQ(zem_get_macro_value(&value, lib.get(), "ANSWER"), 0);
  EXPECT_EQ(value, 42);
  EXPECT_EQ(zem_get_macro_value(&value, lib.get(), "MAX_LIST"), 0);
  EXPECT_EQ(value, 200);
}

TEST(ZemMacros, AbsentMacroFailsAndLeavesTheOutputUntouched) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  int value = 12345;
  EXPECT_NE(zem_get_macro_value(&value, lib.get(), "MAX"), 0);
  EXPECT_EQ(value, 12345);
  EXPECT_NE(zem_get_macro_value(&value, lib.get(), "max_list"), 0);
  EXPECT_NE(zem_get_macro_value(&value, lib.get(), ""), 0);
  EXPECT_NE(zem_get_macro_value(&value, lib.get(), nullptr), 0);
  EXPECT_NE(zem_get_macro_value(&value, nullptr, "ANSWER"), 0);
  EXPECT_NE(zem_get_macro_value(nullptr, lib.get(), "ANSWER"), 0);
  EXPECT_EQ(value, 12345);
}

TEST(ZemMacros, ManyMacrosAreFoundByName) {
  ZemMetaLibDef def;
  for (int i = 99; i >= 0; --i) def.macros.emplace_back("M" + std::to_string(i), i * 3);
  std::string error;
  auto lib = ZemBuildMetaLib(def, &error);
  ASSERT_NE(lib, nullptr) << error;
  for (int i = 0; i < 100; ++i) {
    int value = -1;
    EXPECT_EQ(zem_get_macro_value(&value, lib.get(), ("M" + std::to_string(i)).c_str()), 0);
    EXPECT_EQ(value, i * 3);
  }
  int value = -7;
  EXPECT_NE(zem_get_macro_value(&value, lib.get(), "M100"), 0);
  EXPECT_EQ(value, -7);
}

// ---- Records and offsets ------------------------------------------------------------------

TEST(ZemRecords, KeyDescriptionsIndexesAndColumnsHaveFixedSizes) {
  EXPECT_EQ(sizeof(tagZEMDBKeyInfo), 16u);
  EXPECT_EQ(sizeof(tagZEMColumnInfo), 24u);
  EXPECT_EQ(sizeof(tagZEMMetaIndex), 80u);
}

TEST(ZemOffsets, AMetaFindsItsDataBaseAndItsLibrary) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  for (int i = 0; i < zem_get_meta_num(lib.get()); ++i) {
    LPZEMMETA meta = zem_get_meta_by_index(lib.get(), i);
    EXPECT_EQ(zem_meta_data_base(meta), DataBase(lib.get()));
    EXPECT_EQ(reinterpret_cast<const char*>(meta) - meta->ptrMeta, DataBase(lib.get()));
    EXPECT_EQ(zem_meta_metalib(meta), lib.get());
  }
}

TEST(ZemOffsets, NamesAndEntriesLieAtTheDataBasePlusTheirOffset) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  const char* data = DataBase(lib.get());
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  EXPECT_STREQ(data + meta->ptrName, "player");
  LPZEMMETAENTRY uid = zem_get_entry_by_index(meta, 0);
  EXPECT_STREQ(data + uid->ptrName, "uid");
  EXPECT_EQ(reinterpret_cast<const char*>(uid), data + uid->ptrSelf);
  EXPECT_EQ(zem_meta_entry_at(meta, uid->ptrSelf), uid);
  EXPECT_STREQ(data + meta->ptrCustomAttr2, "TableType=GENERIC;ListNum=10");
  LPZEMMETAENTRY items = zem_get_entry_by_index(meta, 4);
  EXPECT_STREQ(data + zem_at<tagZEMMetaEntry>(data, items->ptrRefer)->ptrName, "n");
  EXPECT_EQ(zem_at<tagZEMMeta>(data, zem_get_entry_by_index(meta, 5)->ptrTypeMeta),
            zem_get_meta_by_name(lib.get(), "inner"));
}

TEST(ZemOffsets, PrimaryKeyArrayLiesAtTheMetaPlusItsOffset) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  const char* data = DataBase(lib.get());
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_EQ(meta->nPrimayKeyMemberNum, 2);
  ASSERT_NE(meta->ptrPrimayKeyBase, ZEMPTR_NONE);
  const tagZEMDBKeyInfo* keys = reinterpret_cast<const tagZEMDBKeyInfo*>(
      reinterpret_cast<const char*>(meta) + meta->ptrPrimayKeyBase);
  EXPECT_STREQ(data + zem_at<tagZEMMetaEntry>(data, keys[0].ptrEntry)->ptrName, "uid");
  EXPECT_STREQ(data + zem_at<tagZEMMetaEntry>(data, keys[1].ptrEntry)->ptrName, "zone");
  EXPECT_EQ(zem_meta_key_member(meta, 0), &keys[0]);
  EXPECT_EQ(zem_meta_key_member(meta, 1), &keys[1]);
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(meta, keys[1].ptrEntry)), "zone");
  // The host offset of a key member is its entry's.
  EXPECT_EQ(keys[1].iHOff, zem_get_entry_by_index(meta, 1)->iHOff);
  EXPECT_EQ(keys[1].iHOff, 4);
}

TEST(ZemOffsets, IndexesAndColumnsLieAtTheMetaPlusTheirOffsets) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  const char* data = DataBase(lib.get());
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_EQ(meta->iIndexesNum, 2);
  const tagZEMMetaIndex* indexes = reinterpret_cast<const tagZEMMetaIndex*>(
      reinterpret_cast<const char*>(meta) + meta->ptrIndexes);
  EXPECT_STREQ(data + indexes[0].ptrName, "idx_all");
  EXPECT_STREQ(data + indexes[1].ptrName, "idx_zone");
  EXPECT_EQ(zem_meta_index(meta, 1), &indexes[1]);
  // Index i lies at the meta plus ptrIndexes plus i times 80 bytes.
  EXPECT_EQ(reinterpret_cast<const char*>(zem_meta_index(meta, 1)),
            reinterpret_cast<const char*>(meta) + meta->ptrIndexes + 80);
  EXPECT_STREQ(zem_index_name(meta, &indexes[1]), "idx_zone");
  ASSERT_EQ(indexes[0].iColumnNum, 2);
  ASSERT_EQ(indexes[1].iColumnNum, 1);
  const tagZEMColumnInfo* columns = reinterpret_cast<const tagZEMColumnInfo*>(
      reinterpret_cast<const char*>(meta) + indexes[0].ptrColumnBase);
  EXPECT_STREQ(data + zem_at<tagZEMMetaEntry>(data, columns[0].ptrEntry)->ptrName, "uid");
  EXPECT_STREQ(data + zem_at<tagZEMMetaEntry>(data, columns[1].ptrEntry)->ptrName, "zone");
  EXPECT_EQ(zem_index_column(meta, &indexes[0], 1), &columns[1]);
  EXPECT_STREQ(
      zem_get_entry_name(zem_meta_entry_at(meta, zem_index_column(meta, &indexes[1], 0)->ptrEntry)),
      "zone");
}

TEST(ZemOffsets, SplitTableKeyEntryLiesAtTheDataBasePlusItsOffset) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_NE(meta->stSplitTableKey.ptrEntry, ZEMPTR_NONE);
  EXPECT_STREQ(
      DataBase(lib.get()) +
          zem_at<tagZEMMetaEntry>(DataBase(lib.get()), meta->stSplitTableKey.ptrEntry)->ptrName,
      "uid");
}

// ---- The all-ones convention and the builder's overrides ----------------------------------

TEST(ZemAbsent, MetaWithoutPrimaryKeyHasAnAllOnesKeyBase) {
  auto lib = BuildLib({Table("s", {Field("a"), Field("b")})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA s = zem_get_meta_by_name(lib.get(), "s");
  EXPECT_EQ(s->nPrimayKeyMemberNum, 0);
  EXPECT_EQ(s->ptrPrimayKeyBase, ZEMPTR_NONE);
  EXPECT_EQ(static_cast<uint64_t>(s->ptrPrimayKeyBase), UINT64_MAX);
}

TEST(ZemBuilderOverrides, KeyCountWithAnAbsentKeyBase) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")});
  meta.primary_key_num = 3;
  meta.primary_key_base_absent = true;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(t->nPrimayKeyMemberNum, 3);
  EXPECT_EQ(t->ptrPrimayKeyBase, ZEMPTR_NONE);
}

TEST(ZemBuilderOverrides, AbsentKeyBaseWithMembersKeepsTheirFlagsAndCount) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.primary_key_base_absent = true;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(t->nPrimayKeyMemberNum, 1);
  EXPECT_EQ(t->ptrPrimayKeyBase, ZEMPTR_NONE);
}

TEST(ZemBuilderOverrides, KeyCountBelowTheMembersGiven) {
  ZemMetaDef meta = Table("t", {Field("a"), Field("b"), Field("v")}, {"a", "b"});
  meta.primary_key_num = 1;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(t->nPrimayKeyMemberNum, 1);
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(t, zem_meta_key_member(t, 0)->ptrEntry)), "a");
}

TEST(ZemBuilderOverrides, RepeatedKeyMembersAreKept) {
  auto lib = BuildLib({Table("t", {Field("a"), Field("v")}, {"a", "a"})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  ASSERT_EQ(t->nPrimayKeyMemberNum, 2);
  EXPECT_EQ(zem_meta_key_member(t, 0)->ptrEntry, zem_meta_key_member(t, 1)->ptrEntry);
}

TEST(ZemBuilderOverrides, NullEntrySlot) {
  ZemEntryDef hole = Field("hole");
  hole.null_slot = true;
  auto lib = BuildLib({Table("t", {Field("k"), hole, Field("v")}, {"k"})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(zem_get_entry_num(t), 3);
  EXPECT_NE(zem_get_entry_by_index(t, 0), nullptr);
  EXPECT_EQ(zem_get_entry_by_index(t, 1), nullptr);
  ASSERT_NE(zem_get_entry_by_index(t, 2), nullptr);
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(t, 2)), "v");
}

TEST(ZemBuilderOverrides, EntryCountAboveTheEntriesGivesNullSlots) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.entry_num = 4;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(zem_get_entry_num(t), 4);
  EXPECT_NE(zem_get_entry_by_index(t, 1), nullptr);
  EXPECT_EQ(zem_get_entry_by_index(t, 2), nullptr);
  EXPECT_EQ(zem_get_entry_by_index(t, 3), nullptr);
}

TEST(ZemBuilderOverrides, NegativeEntryCount) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.entry_num = -3;
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(zem_get_entry_num(t), -3);
  EXPECT_EQ(zem_get_entry_by_index(t, 0), nullptr);
  // The key still names its entry.
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(t, zem_meta_key_member(t, 0)->ptrEntry)), "k");
}

TEST(ZemBuilderOverrides, NegativeAndSmallerIndexCounts) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.indexes = {{"i1", {"k"}}, {"i2", {"k"}}};
  meta.index_num = -2;
  ZemMetaDef fewer = Table("u", {Field("k"), Field("v")}, {"k"});
  fewer.indexes = {{"i1", {"k"}}, {"i2", {"k"}}};
  fewer.index_num = 1;
  auto lib = BuildLib({meta, fewer});
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(zem_get_meta_by_name(lib.get(), "t")->iIndexesNum, -2);
  LPZEMMETA u = zem_get_meta_by_name(lib.get(), "u");
  EXPECT_EQ(u->iIndexesNum, 1);
  EXPECT_STREQ(zem_index_name(u, zem_meta_index(u, 0)), "i1");
}

TEST(ZemBuilderOverrides, IndexWithoutColumns) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.indexes = {{"empty", {}}};
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  ASSERT_EQ(t->iIndexesNum, 1);
  EXPECT_EQ(zem_meta_index(t, 0)->iColumnNum, 0);
  EXPECT_STREQ(zem_index_name(t, zem_meta_index(t, 0)), "empty");
}

TEST(ZemBuilderOverrides, RepeatedIndexColumnsAreKept) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.indexes = {{"twice", {"k", "k"}}};
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  LPZEMMETAINDEX index = zem_meta_index(t, 0);
  ASSERT_EQ(index->iColumnNum, 2);
  EXPECT_EQ(zem_index_column(t, index, 0)->ptrEntry, zem_index_column(t, index, 1)->ptrEntry);
}

TEST(ZemBuilderOverrides, IndexColumnsGivenAsEntryPositions) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("j"), Field("v")}, {"k", "j"});
  ZemIndexDef index_def;
  index_def.name = "by_position";
  index_def.column_entries = {1, 0, 1};
  meta.indexes = {index_def};
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  LPZEMMETAINDEX index = zem_meta_index(t, 0);
  ASSERT_EQ(index->iColumnNum, 3);
  auto column_name = [&](int j) {
    return std::string(zem_get_entry_name(zem_meta_entry_at(t, zem_index_column(t, index, j)->ptrEntry)));
  };
  EXPECT_EQ(column_name(0), "j");
  EXPECT_EQ(column_name(1), "k");
  EXPECT_EQ(column_name(2), "j");
}

TEST(ZemBuilderOverrides, IndexColumnPositionOutsideTheEntriesIsRefused) {
  for (const int position : {-1, 3}) {
    ZemMetaDef meta = Table("t", {Field("k"), Field("j"), Field("v")}, {"k"});
    ZemIndexDef index_def;
    index_def.name = "bad";
    index_def.column_entries = {0, position};
    meta.indexes = {index_def};
    std::string error;
    EXPECT_EQ(BuildOrNull({meta}, &error), nullptr);
    EXPECT_EQ(error, "meta 't': index 'bad' column " + std::to_string(position) + " names no entry");
  }
}

TEST(ZemBuilderOverrides, SplitKeyTextThatNamesNothingStillDeclaresAKey) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.split_table_key = "nosuch,k";
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_NE(t->stSplitTableKey.ptrEntry, ZEMPTR_NONE);
  char buffer[1024] = {};
  EXPECT_EQ(zem_get_meta_splittablekey(t, buffer, sizeof(buffer), nullptr), 0);
  EXPECT_STREQ(buffer, "nosuch,k");
}

TEST(ZemBuilderOverrides, EmptySplitKeyTextStillDeclaresAKey) {
  ZemMetaDef meta = Table("t", {Field("k"), Field("v")}, {"k"});
  meta.split_table_key = "";
  auto lib = BuildLib({meta});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA t = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_NE(t->stSplitTableKey.ptrEntry, ZEMPTR_NONE);
  char buffer[1024];
  std::memset(buffer, 'x', sizeof(buffer));
  EXPECT_EQ(zem_get_meta_splittablekey(t, buffer, sizeof(buffer), nullptr), 0);
  EXPECT_STREQ(buffer, "");
}

TEST(ZemBuilderOverrides, StructContainingItself) {
  ZemEntryDef self = Field("self", ZEM_TYPE_STRUCT);
  self.type_meta = "node";
  auto lib = BuildLib({Table("node", {Field("k"), self}, {"k"})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA node = zem_get_meta_by_name(lib.get(), "node");
  LPZEMMETAENTRY entry = zem_get_entry_by_index(node, 1);
  EXPECT_EQ(zem_get_entry_type_meta(lib.get(), entry), node);
  EXPECT_EQ(zem_get_entry_type_meta(zem_meta_metalib(node), entry), node);
  EXPECT_EQ(zem_get_entry_unitsize(entry), 0u);
}

TEST(ZemBuilderOverrides, StructOfALaterMetaHasNoKnownSize) {
  ZemEntryDef later = Field("later", ZEM_TYPE_STRUCT);
  later.type_meta = "second";
  auto lib = BuildLib({Table("first", {Field("k"), later}, {"k"}), Table("second", {Field("x")})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA first = zem_get_meta_by_name(lib.get(), "first");
  EXPECT_EQ(zem_get_entry_type_meta(lib.get(), zem_get_entry_by_index(first, 1)),
            zem_get_meta_by_name(lib.get(), "second"));
  EXPECT_EQ(zem_get_entry_unitsize(zem_get_entry_by_index(first, 1)), 0u);
}

TEST(ZemBuilder, RefusesDescriptionsItCannotResolve) {
  std::string error;
  EXPECT_EQ(BuildOrNull({Table("t", {Field("k")}, {"missing"})}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  EXPECT_EQ(BuildOrNull({Table("t", {Field("k")}), Table("t", {Field("k")})}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  ZemMetaDef bad_index = Table("t", {Field("k")}, {"k"});
  bad_index.indexes = {{"i", {"nope"}}};
  EXPECT_EQ(BuildOrNull({bad_index}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  ZemEntryDef bad_refer = Field("arr", ZEM_TYPE_INT32, 4);
  bad_refer.refer = "nope";
  EXPECT_EQ(BuildOrNull({Table("t", {Field("k"), bad_refer}, {"k"})}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  ZemEntryDef bad_type = Field("s", ZEM_TYPE_STRUCT);
  bad_type.type_meta = "nope";
  EXPECT_EQ(BuildOrNull({Table("t", {Field("k"), bad_type}, {"k"})}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  ZemMetaDef too_many_keys = Table("t", {Field("k")}, {"k"});
  too_many_keys.primary_key_num = 2;
  EXPECT_EQ(BuildOrNull({too_many_keys}, &error), nullptr);
  EXPECT_FALSE(error.empty());

  error.clear();
  ZemMetaDef too_many_indexes = Table("t", {Field("k")}, {"k"});
  too_many_indexes.index_num = 1;
  EXPECT_EQ(BuildOrNull({too_many_indexes}, &error), nullptr);
  EXPECT_FALSE(error.empty());
}

// ---- Relocation ---------------------------------------------------------------------------

struct AlignedDelete {
  void operator()(void* block) const {
    ::operator delete(block, std::align_val_t{alignof(tagZEMMetaLib)});
  }
};

TEST(ZemRelocation, ACopyOfTheBlockAnswersEveryQueryOnItsOwn) {
  auto lib = PlayerLib();
  ASSERT_NE(lib, nullptr);
  const size_t size = BlockSize(lib.get());
  std::unique_ptr<void, AlignedDelete> block(
      ::operator new(size, std::align_val_t{alignof(tagZEMMetaLib)}));
  std::memcpy(block.get(), lib.get(), size);
  lib.reset();  // the original is gone: the copy must not point into it
  LPZEMMETALIB copy = static_cast<LPZEMMETALIB>(block.get());

  EXPECT_EQ(zem_get_metalib_version(copy), 7);
  EXPECT_STREQ(zem_get_metalib_name(copy), "game");
  LPZEMMETA meta = zem_get_meta_by_name(copy, "player");
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(zem_meta_metalib(meta), copy);
  EXPECT_EQ(zem_meta_data_base(meta), copy->data());
  EXPECT_STREQ(zem_get_meta_name(meta), "player");
  EXPECT_STREQ(zem_get_meta_customattr2(meta), "TableType=GENERIC;ListNum=10");
  ASSERT_EQ(zem_get_entry_num(meta), 6);
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 2)), "name");
  EXPECT_STREQ(zem_get_entry_customattr2(copy, zem_get_entry_by_index(meta, 2)), "sort1");
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_refer(zem_get_entry_by_index(meta, 4))), "n");
  EXPECT_EQ(zem_get_entry_type_meta(copy, zem_get_entry_by_index(meta, 5)),
            zem_get_meta_by_name(copy, "inner"));
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(meta, zem_meta_key_member(meta, 1)->ptrEntry)),
               "zone");
  EXPECT_STREQ(zem_index_name(meta, zem_meta_index(meta, 1)), "idx_zone");
  EXPECT_STREQ(zem_get_entry_name(zem_meta_entry_at(
                   meta, zem_index_column(meta, zem_meta_index(meta, 0), 0)->ptrEntry)),
               "uid");
  char buffer[1024] = {};
  EXPECT_EQ(zem_get_meta_splittablekey(meta, buffer, sizeof(buffer), nullptr), 0);
  EXPECT_STREQ(buffer, "uid");
  int value = 0;
  EXPECT_EQ(zem_get_macro_value(&value, copy, "MAX_LIST"), 0);
  EXPECT_EQ(value, 200);
  EXPECT_STREQ(zem_get_meta_name(zem_get_meta_by_index(copy, 0)), "inner");
}

}  // namespace
