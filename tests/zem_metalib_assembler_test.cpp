#include "schema/zem_metalib_assembler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <velmora/zem.h>
#include <velmora/zem_builder.h>

namespace {

ZemEntryDef Entry(const std::string& name, int type, int count = 1) {
  ZemEntryDef entry;
  entry.name = name;
  entry.type = type;
  entry.count = count;
  return entry;
}

// A struct used as a type, then a table with a key, a split key, an array and its refer, a
// customattr2 and an index.
ZemMetaLibDef TwoMetas() {
  ZemMetaLibDef def;
  def.name = "game";
  def.version = 3;
  def.macros = {{"MAX", 4}, {"MAX", 8}};
  ZemMetaDef pos;
  pos.name = "pos";
  pos.entries = {Entry("x", ZEM_TYPE_INT32), Entry("y", ZEM_TYPE_INT16)};
  ZemMetaDef table;
  table.name = "role";
  table.version = 2;
  ZemEntryDef where = Entry("where", ZEM_TYPE_STRUCT);
  where.type_meta = "pos";
  ZemEntryDef items = Entry("items", ZEM_TYPE_UINT32, 8);
  items.refer = "n";
  items.customattr2 = "sort1";
  table.entries = {Entry("uid", ZEM_TYPE_UINT64), Entry("n", ZEM_TYPE_UINT8), where, items};
  table.primary_key = {"uid", "n"};
  table.split_table_key = "uid";
  table.customattr2 = "TableType=GENERIC";
  ZemIndexDef index;
  index.name = "by_n";
  index.column_entries = {1, 0};
  table.indexes = {index};
  def.metas = {pos, table};
  return def;
}

std::string Describe(LPZEMMETALIB lib) {
  std::string text =
      std::string(zem_get_metalib_name(lib)) + " v" + std::to_string(zem_get_metalib_version(lib));
  int macro = 0;
  if (zem_get_macro_value(&macro, lib, "MAX") == 0) text += " MAX=" + std::to_string(macro);
  for (int m = 0; m < zem_get_meta_num(lib); ++m) {
    LPZEMMETA meta = zem_get_meta_by_index(lib, m);
    text += "\n" + std::string(zem_get_meta_name(meta)) + " size " + std::to_string(meta->iSize) +
            " keys " + std::to_string(meta->nPrimayKeyMemberNum) + " indexes " +
            std::to_string(meta->iIndexesNum);
    const char* attr = zem_get_meta_customattr2(meta);
    if (attr != nullptr) text += " attr " + std::string(attr);
    char split[64] = {};
    if (zem_get_meta_splittablekey(meta, split, sizeof(split), nullptr) == 0) {
      text += " split " + std::string(split);
    }
    for (int e = 0; e < zem_get_entry_num(meta); ++e) {
      LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, e);
      text += "\n  " + std::string(zem_get_entry_name(entry)) + " type " +
              std::to_string(zem_get_entry_type(entry)) + " count " +
              std::to_string(zem_get_entry_count(entry)) + " unit " +
              std::to_string(zem_get_entry_unitsize(entry)) + " at " +
              std::to_string(entry->iHOff) + " flag " + std::to_string(entry->chDBFlag);
      LPZEMMETAENTRY refer = zem_get_entry_refer(entry);
      if (refer != nullptr) text += " refer " + std::string(zem_get_entry_name(refer));
      LPZEMMETA type_meta = zem_get_entry_type_meta(lib, entry);
      if (type_meta != nullptr) text += " of " + std::string(zem_get_meta_name(type_meta));
      const char* entry_attr = zem_get_entry_customattr2(lib, entry);
      if (entry_attr != nullptr) text += " attr " + std::string(entry_attr);
    }
    for (int i = 0; i < meta->iIndexesNum; ++i) {
      LPZEMMETAINDEX index = zem_meta_index(meta, i);
      text += "\n  index " + std::string(zem_index_name(meta, index));
      for (int j = 0; j < index->iColumnNum; ++j) {
        const tagZEMColumnInfo* column = zem_index_column(meta, index, j);
        text += " " + std::string(zem_get_entry_name(zem_meta_entry_at(meta, column->ptrEntry)));
      }
    }
  }
  return text;
}

TEST(ZemMetaLibAssembler, BuildsStructByStructWhatTheBuilderBuildsWhole) {
  const ZemMetaLibDef def = TwoMetas();
  std::string error;
  const ZemMetaLibPtr whole = ZemBuildMetaLib(def, &error);
  ASSERT_TRUE(whole) << error;
  ZemMetaLibAssembler assembler(def.name, def.version);
  for (const ZemMetaDef& meta : def.metas) ASSERT_TRUE(assembler.Add(meta, &error)) << error;
  const ZemMetaLibPtr assembled = assembler.Finish(def.macros);
  ASSERT_TRUE(assembled);
  EXPECT_EQ(Describe(assembled.get()), Describe(whole.get()));
  EXPECT_NE(Describe(assembled.get()).find("where type 1 count 1 unit 6 at 9 flag 0 of pos"),
            std::string::npos)
      << Describe(assembled.get());
  EXPECT_EQ(zem_get_meta_by_name(assembled.get(), "role"),
            zem_get_meta_by_index(assembled.get(), 1));
}

ZemMetaLibPtr AssembleExpecting(const ZemMetaLibDef& def, size_t expected) {
  ZemMetaLibAssembler assembler(def.name, def.version);
  assembler.Expect(expected);
  std::string error;
  for (const ZemMetaDef& meta : def.metas) {
    if (!assembler.Add(meta, &error)) return ZemMetaLibPtr();
  }
  return assembler.Finish(def.macros);
}

TEST(ZemMetaLibAssembler, BuildsTheSameModelInRoomMadeUpFront) {
  const ZemMetaLibDef def = TwoMetas();
  const ZemMetaLibPtr plain = AssembleExpecting(def, 0);
  ASSERT_TRUE(plain);
  for (const size_t expected : {size_t{100}, size_t{5} << 20, size_t{40} << 20}) {
    const ZemMetaLibPtr assembled = AssembleExpecting(def, expected);
    ASSERT_TRUE(assembled);
    EXPECT_EQ(Describe(assembled.get()), Describe(plain.get())) << expected;
    // Byte for byte: the room made up front is given back, and none of it is in the model.
    ASSERT_EQ(assembled->iDataSize, plain->iDataSize);
    EXPECT_EQ(0, std::memcmp(assembled.get(), plain.get(),
                             sizeof(tagZEMMetaLib) + static_cast<size_t>(plain->iDataSize)));
  }
}

TEST(ZemMetaLibAssembler, LaysOutEntryByEntryWhatTheBuilderBuildsWhole) {
  const ZemMetaLibDef def = TwoMetas();
  std::string error;
  const ZemMetaLibPtr whole = ZemBuildMetaLib(def, &error);
  ASSERT_TRUE(whole) << error;
  ZemMetaLibAssembler assembler(def.name, def.version);
  for (const ZemMetaDef& meta : def.metas) {
    ZemMetaDef own_fields = meta;
    own_fields.entries.clear();
    ASSERT_TRUE(assembler.Begin(own_fields, meta.entries.size(), &error)) << error;
    for (const ZemEntryDef& entry : meta.entries) {
      ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error)) << error;
    }
    ASSERT_TRUE(assembler.End(own_fields, &error)) << error;
  }
  const ZemMetaLibPtr assembled = assembler.Finish(def.macros);
  EXPECT_EQ(Describe(assembled.get()), Describe(whole.get()));
}

TEST(ZemMetaLibAssembler, ReadsBackTheEntriesLaidOutSoFar) {
  const ZemMetaLibDef def = TwoMetas();
  std::string error;
  ZemMetaLibAssembler assembler(def.name, def.version);
  for (const ZemMetaDef& meta : def.metas) {
    ZemMetaDef own_fields = meta;
    own_fields.entries.clear();
    ASSERT_TRUE(assembler.Begin(own_fields, meta.entries.size(), &error)) << error;
    for (size_t i = 0; i < meta.entries.size(); ++i) {
      const ZemEntryDef& entry = meta.entries[i];
      ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error)) << error;
      // Every entry laid out so far reads back as it was described, the model having grown.
      for (size_t j = 0; j <= i; ++j) {
        const ZemMetaLibAssembler::LaidOutEntry laid_out = assembler.EntryAt(j);
        EXPECT_EQ(laid_out.name, meta.entries[j].name);
        EXPECT_EQ(assembler.EntryName(j), meta.entries[j].name);
        EXPECT_EQ(laid_out.type, meta.entries[j].type);
        EXPECT_EQ(laid_out.count, meta.entries[j].count);
        EXPECT_STREQ(laid_out.type_meta, meta.entries[j].type_meta.c_str());
      }
    }
    ASSERT_TRUE(assembler.End(own_fields, &error)) << error;
  }
}

// The entries of one meta by name, as a reader that keeps its own table would answer; it lists
// the names it is asked for.
class ListLookup final : public ZemEntryLookup {
 public:
  int Find(std::string_view name) const override {
    asked.emplace_back(name);
    for (size_t i = 0; i < names.size(); ++i) {
      if (names[i] == name) return static_cast<int>(i);
    }
    return -1;
  }

  std::vector<std::string> names;
  mutable std::vector<std::string> asked;
};

TEST(ZemMetaLibAssembler, FindsEntriesThroughTheCallersLookup) {
  const ZemMetaLibDef def = TwoMetas();
  std::string error;
  const ZemMetaLibPtr whole = ZemBuildMetaLib(def, &error);
  ASSERT_TRUE(whole) << error;
  ZemMetaLibAssembler assembler(def.name, def.version);
  std::vector<std::string> asked;
  for (const ZemMetaDef& meta : def.metas) {
    ZemMetaDef own_fields = meta;
    own_fields.entries.clear();
    ListLookup lookup;
    ASSERT_TRUE(assembler.Begin(own_fields, meta.entries.size(), &error, &lookup)) << error;
    for (const ZemEntryDef& entry : meta.entries) {
      lookup.names.push_back(entry.name);
      ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error)) << error;
    }
    ASSERT_TRUE(assembler.End(own_fields, &error)) << error;
    asked.insert(asked.end(), lookup.asked.begin(), lookup.asked.end());
  }
  const ZemMetaLibPtr assembled = assembler.Finish(def.macros);
  EXPECT_EQ(Describe(assembled.get()), Describe(whole.get()));
  // The refer of items, the key members, then the split key's first piece.
  EXPECT_EQ(asked, (std::vector<std::string>{"n", "uid", "n", "uid"}));
}

TEST(ZemMetaLibAssembler, TellsANameTheCallersLookupDoesNotKnow) {
  const ZemMetaLibDef def = TwoMetas();
  ZemMetaDef keyed = def.metas[0];
  keyed.entries.clear();
  keyed.primary_key = {"x"};
  std::string error;
  ZemMetaLibAssembler assembler("game", 0);
  ListLookup lookup;  // knows no entry, whatever is added
  ASSERT_TRUE(assembler.Begin(keyed, 2, &error, &lookup));
  for (const ZemEntryDef& entry : def.metas[0].entries) {
    ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error));
  }
  EXPECT_FALSE(assembler.End(keyed, &error));
  EXPECT_EQ(error, "meta 'pos': primary key member 'x' names no entry");
  EXPECT_EQ(lookup.asked, std::vector<std::string>{"x"});
}

TEST(ZemMetaLibAssembler, RefusesEntriesOtherThanAnnounced) {
  const ZemMetaLibDef def = TwoMetas();
  const ZemMetaDef& pos = def.metas[0];
  std::string error;
  {
    ZemMetaLibAssembler assembler("game", 0);
    ASSERT_TRUE(assembler.Begin(pos, 1, &error));
    ASSERT_TRUE(assembler.AddEntry(pos.entries[0], pos.entries[0].name, &error));
    EXPECT_FALSE(assembler.AddEntry(pos.entries[1], pos.entries[1].name, &error));
    EXPECT_EQ(error, "meta 'pos': more entries than the 1 announced");
  }
  {
    ZemMetaLibAssembler assembler("game", 0);
    ASSERT_TRUE(assembler.Begin(pos, 3, &error));
    for (const ZemEntryDef& entry : pos.entries) {
      ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error));
    }
    EXPECT_FALSE(assembler.End(pos, &error));
    EXPECT_EQ(error, "meta 'pos': 2 entries of the 3 announced");
  }
  {
    // Entry by entry, a key member must be among the entries added.
    ZemMetaLibAssembler assembler("game", 0);
    ZemMetaDef keyed = pos;
    keyed.primary_key = {"z"};
    ASSERT_TRUE(assembler.Begin(keyed, 2, &error));
    for (const ZemEntryDef& entry : pos.entries) {
      ASSERT_TRUE(assembler.AddEntry(entry, entry.name, &error));
    }
    EXPECT_FALSE(assembler.End(keyed, &error));
    EXPECT_EQ(error, "meta 'pos': primary key member 'z' names no entry");
  }
}

TEST(ZemMetaLibAssembler, RefusesNamesItCannotResolve) {
  ZemMetaLibDef def = TwoMetas();
  std::string error;
  {
    ZemMetaLibAssembler assembler("game", 0);
    // The type meta is added after the struct that names it.
    EXPECT_FALSE(assembler.Add(def.metas[1], &error));
    EXPECT_EQ(error, "meta 'role': entry 'where' has type 'pos', which is no meta");
  }
  {
    ZemMetaLibAssembler assembler("game", 0);
    ASSERT_TRUE(assembler.Add(def.metas[0], &error));
    EXPECT_FALSE(assembler.Add(def.metas[0], &error));
    EXPECT_EQ(error, "meta 'pos' is defined twice");
  }
  {
    ZemMetaLibAssembler assembler("game", 0);
    ASSERT_TRUE(assembler.Add(def.metas[0], &error));
    def.metas[1].entries[3].refer = "nope";
    EXPECT_FALSE(assembler.Add(def.metas[1], &error));
    EXPECT_EQ(error, "meta 'role': entry 'items' refers to 'nope', which is no entry");
  }
}

}  // namespace
