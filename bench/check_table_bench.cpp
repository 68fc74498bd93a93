// How fast a schema loads and a table is judged: the bundled example, a large generated schema,
// the cost of log lines that a category refuses, and the count/refer checks on shared struct
// types, on a table of many arrays and on a table compared with itself.
#include <benchmark/benchmark.h>

#include <string>

#include <velmora/check_table.h>
#include <velmora/wlog.h>
#include <velmora/zem_builder.h>
#include <velmora/zem_xml_loader.h>

namespace {

const std::string kExample = std::string(VELMORA_EXAMPLES_DIR) + "/game.xml";

// A metalib of many generic tables, each with a two-field key, an index over it and 60 fields.
ZemMetaLibPtr ManyTables(int tables) {
  ZemMetaLibDef def;
  for (int t = 0; t < tables; ++t) {
    ZemMetaDef meta;
    meta.name = "table_" + std::to_string(t);
    for (int f = 0; f < 60; ++f) {
      ZemEntryDef entry;
      entry.name = "field_" + std::to_string(f);
      entry.type = f % 2 == 0 ? ZEM_TYPE_UINT64 : ZEM_TYPE_INT32;
      meta.entries.push_back(entry);
    }
    meta.primary_key = {"field_0", "field_1"};
    meta.split_table_key = "field_0";
    meta.indexes.push_back(ZemIndexDef{"by_key", {"field_0", "field_1"}});
    def.metas.push_back(std::move(meta));
  }
  return ZemBuildMetaLib(def, nullptr);
}

void BM_LoadExampleSchema(benchmark::State& state) {
  for (auto _ : state) {
    ZemLoadResult result = ZemLoadXmlFile(kExample);
    benchmark::DoNotOptimize(result.ok);
  }
}
BENCHMARK(BM_LoadExampleSchema);

void BM_CheckEveryExampleTable(benchmark::State& state) {
  ZemLoadResult loaded = ZemLoadXmlFile(kExample);
  if (!loaded.ok) {
    state.SkipWithError("the example schema does not load");
    return;
  }
  for (auto _ : state) {
    for (const ZemMetaInfo& meta : loaded.metas) {
      if (!meta.has_primary_key) continue;
      CheckTable checker;
      benchmark::DoNotOptimize(checker.VelmoraCheckTable(loaded.metalib.get(), meta.name.c_str(), 0,
                                                          nullptr, "3.40.0.193253", "3.37.0", "none"));
    }
  }
}
BENCHMARK(BM_CheckEveryExampleTable);

// Judging one table among many: the meta lookup is a binary search, the checks are linear in the
// table's fields (pairs of names only where repeated names are looked for).
void BM_CheckOneTableAmongMany(benchmark::State& state) {
  const int tables = static_cast<int>(state.range(0));
  ZemMetaLibPtr metalib = ManyTables(tables);
  const std::string name = "table_" + std::to_string(tables / 2);
  for (auto _ : state) {
    CheckTable checker;
    benchmark::DoNotOptimize(checker.VelmoraCheckTable(metalib.get(), name.c_str(), 0, nullptr,
                                                        "3.40.0.193253", "3.37.0", "none"));
  }
}
BENCHMARK(BM_CheckOneTableAmongMany)->Arg(10)->Arg(1000)->Arg(10000);

// A category that refuses everything below error priority: the success and trace lines of a
// passing table must cost next to nothing.
void BM_CheckWithRefusingCategory(benchmark::State& state) {
  ZemMetaLibPtr metalib = ManyTables(1);
  WlogMemoryCategory log;
  LPWLOGCATEGORYINST category = log.handle();
  category->iPriorityLow = WLOG_PRIORITY_ERROR;
  category->piPriorityLow = &category->iPriorityLow;
  for (auto _ : state) {
    CheckTable checker;
    benchmark::DoNotOptimize(checker.VelmoraCheckTable(metalib.get(), "table_0", 0, category,
                                                        "3.40.0.193253", "3.37.0", "none"));
  }
  if (!log.lines().empty()) state.SkipWithError("a refused line reached the sink");
}
BENCHMARK(BM_CheckWithRefusingCategory);

// The same table with every line recorded, for comparison.
void BM_CheckWithRecordingCategory(benchmark::State& state) {
  ZemMetaLibPtr metalib = ManyTables(1);
  WlogMemoryCategory log;
  for (auto _ : state) {
    CheckTable checker;
    benchmark::DoNotOptimize(checker.VelmoraCheckTable(metalib.get(), "table_0", 0, log.handle(),
                                                        "3.40.0.193253", "3.37.0", "none"));
    log.Clear();
  }
}
BENCHMARK(BM_CheckWithRecordingCategory);

// Levels s0 .. s62, each holding `width` entries of the level below and an array without refer:
// width^62 paths, each level walked once.
ZemMetaLibPtr SharedLevels(int width) {
  ZemMetaLibDef def;
  for (int level = 0; level < 63; ++level) {
    ZemMetaDef meta;
    meta.name = "s" + std::to_string(level);
    ZemEntryDef array;
    array.name = "a" + std::to_string(level);
    array.count = 2;
    meta.entries.push_back(array);
    for (int w = 0; w < width && level > 0; ++w) {
      ZemEntryDef entry;
      entry.name = "e" + std::to_string(w);
      entry.type = ZEM_TYPE_STRUCT;
      entry.type_meta = "s" + std::to_string(level - 1);
      entry.unit_size = 8;
      meta.entries.push_back(entry);
    }
    def.metas.push_back(std::move(meta));
  }
  return ZemBuildMetaLib(def, nullptr);
}

void BM_CountReferOfSharedLevels(benchmark::State& state) {
  ZemMetaLibPtr metalib = SharedLevels(static_cast<int>(state.range(0)));
  LPZEMMETA top = zem_get_meta_by_name(metalib.get(), "s62");
  for (auto _ : state) {
    CheckTable checker;
    std::string report;
    benchmark::DoNotOptimize(checker.CheckWhetherCountWithRefer(top, report, nullptr));
  }
}
BENCHMARK(BM_CountReferOfSharedLevels)->Arg(2)->Arg(10)->Arg(1000);

// One table of n arrays without refer: every name is looked up in the report and listed.
ZemMetaLibPtr ArrayTable(int arrays) {
  ZemMetaLibDef def;
  ZemMetaDef meta;
  meta.name = "t";
  for (int i = 0; i < arrays; ++i) {
    ZemEntryDef entry;
    entry.name = "array_" + std::to_string(i);
    entry.count = 4;
    meta.entries.push_back(entry);
  }
  def.metas.push_back(std::move(meta));
  return ZemBuildMetaLib(def, nullptr);
}

void BM_CountReferOfArrays(benchmark::State& state) {
  ZemMetaLibPtr metalib = ArrayTable(static_cast<int>(state.range(0)));
  LPZEMMETA table = zem_get_meta_by_name(metalib.get(), "t");
  for (auto _ : state) {
    CheckTable checker;
    std::string report;
    benchmark::DoNotOptimize(checker.CheckWhetherCountWithRefer(table, report, nullptr));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_CountReferOfArrays)->RangeMultiplier(2)->Range(1 << 16, 1 << 20)->Complexity();

// A table compared with itself: each new entry is found among the old ones by name.
void BM_NewEntryCountReferOfItself(benchmark::State& state) {
  ZemMetaLibPtr metalib = ArrayTable(static_cast<int>(state.range(0)));
  LPZEMMETA table = zem_get_meta_by_name(metalib.get(), "t");
  for (auto _ : state) {
    CheckTable checker;
    std::string report;
    benchmark::DoNotOptimize(
        checker.CheckWhetherNewEntryCountWithRefer(table, table, report, nullptr));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_NewEntryCountReferOfItself)->RangeMultiplier(2)->Range(1 << 16, 1 << 20)
    ->Complexity();

}  // namespace
