// Shared fixtures of the tests: a log category that records every line, and short ways to build
// schema models in memory.
#ifndef VELMORA_TESTS_TEST_SUPPORT_H_
#define VELMORA_TESTS_TEST_SUPPORT_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include <velmora/wlog.h>
#include <velmora/zem_builder.h>

// A category that records every line at every priority.
using LogCapture = WlogMemoryCategory;

// Matches a recorded log line by priority, text and function.
MATCHER_P3(LogLineIs, priority, text, function,
           std::string("line ") + ::testing::PrintToString(priority) + " " +
               ::testing::PrintToString(std::string(text)) + " from " +
               ::testing::PrintToString(std::string(function))) {
  return arg.priority == priority && arg.text == std::string(text) &&
         arg.function == std::string(function);
}

// A field of the given type; count 1.
inline ZemEntryDef Field(const std::string& name, int type = ZEM_TYPE_INT32, int count = 1) {
  ZemEntryDef entry;
  entry.name = name;
  entry.type = type;
  entry.count = count;
  return entry;
}

// A table with these fields and primary key members.
inline ZemMetaDef Table(const std::string& name, std::vector<ZemEntryDef> entries,
                        std::vector<std::string> primary_key = {}) {
  ZemMetaDef meta;
  meta.name = name;
  meta.entries = std::move(entries);
  meta.primary_key = std::move(primary_key);
  return meta;
}

// An index over these columns.
inline ZemIndexDef Index(const std::string& name, std::vector<std::string> columns) {
  return ZemIndexDef{name, std::move(columns)};
}

// A metalib holding these metas; fails the test when the builder refuses the description.
inline ZemMetaLibPtr BuildLib(std::vector<ZemMetaDef> metas, int version = 0,
                              std::vector<std::pair<std::string, int>> macros = {}) {
  ZemMetaLibDef def;
  def.name = "test";
  def.version = version;
  def.macros = std::move(macros);
  def.metas = std::move(metas);
  std::string error;
  ZemMetaLibPtr metalib = ZemBuildMetaLib(def, &error);
  EXPECT_NE(metalib, nullptr) << error;
  return metalib;
}

#endif  // VELMORA_TESTS_TEST_SUPPORT_H_
