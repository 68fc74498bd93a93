// Loads a text as the loader does and holds the result to what the full XML parser alone reads:
// the loader reads plain XML through a tree of its own, so every test of a model, a warning or a
// load error also states that the two readings agree on it, byte for byte.
#ifndef VELMORA_TESTS_BOTH_READINGS_H_
#define VELMORA_TESTS_BOTH_READINGS_H_

#include <gtest/gtest.h>

#include <string>

#include <velmora/zem_xml_loader.h>

#include "load_results.h"
#include "schema/zem_xml_loader_internal.h"

inline ZemLoadResult LoadReadBothWays(const std::string& file, const std::string& text,
                                      const ZemLoadOptions& options = {}) {
  ZemLoadResult result = ZemLoadXmlText(file, text, options);
  const ZemLoadResult parsed =
      ZemLoadXmlTextReading(ZemXmlReading::kFullParserOnly, file, text, options);
  EXPECT_EQ(DescribeLoad(result), DescribeLoad(parsed)) << "read by the full parser alone:\n"
                                                        << text.substr(0, 4096);
  return result;
}

#endif  // VELMORA_TESTS_BOTH_READINGS_H_
