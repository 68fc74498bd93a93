// The version: one number for the headers, the library and the command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include <velmora/version.h>

#include "cli_test_support.h"

namespace {

TEST(VelmoraVersionTest, HeadersAndLibraryAgree) {
  EXPECT_STREQ(VelmoraVersion(), VELMORA_VERSION_STRING);
  EXPECT_EQ(std::string(VELMORA_VERSION_STRING),
            std::to_string(VELMORA_VERSION_MAJOR) + "." + std::to_string(VELMORA_VERSION_MINOR) +
                "." + std::to_string(VELMORA_VERSION_PATCH));
  EXPECT_EQ(VELMORA_VERSION,
            VELMORA_VERSION_MAJOR * 10000 + VELMORA_VERSION_MINOR * 100 + VELMORA_VERSION_PATCH);
}

TEST(VelmoraVersionTest, CommandPrintsItsVersionAndExitsZero) {
  const CommandResult result = RunCheckTable({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string("velmora-check-table ") + VELMORA_VERSION_STRING + "\n");
  EXPECT_EQ(result.err, "");
}

TEST(VelmoraVersionTest, VersionNeedsNoSchema) {
  const CommandResult result = RunCheckTable({"--version", "--format", "json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, std::string("velmora-check-table ") + VELMORA_VERSION_STRING + "\n");
}

}  // namespace
