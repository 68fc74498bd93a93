#include "schema/zem_xml_values.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include <velmora/zem.h>

namespace {

TEST(BaseTypes, AreFoundInAnyLetterCase) {
  const BaseType* found = FindBaseType("int32");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->code, ZEM_TYPE_INT32);
  EXPECT_STREQ(found->name, "int32");
  ASSERT_NE(FindBaseType("DateTime"), nullptr);
  EXPECT_EQ(FindBaseType("DateTime")->code, ZEM_TYPE_DATETIME);
  ASSERT_NE(FindBaseType("WSTRING"), nullptr);
  EXPECT_EQ(FindBaseType("WSTRING")->code, ZEM_TYPE_WSTRING);
  EXPECT_EQ(FindBaseType("Byte")->code, ZEM_TYPE_BYTE);
}

TEST(BaseTypes, EveryNameFindsItsOwnType) {
  const int codes[] = {ZEM_TYPE_INT8,    ZEM_TYPE_UINT8,  ZEM_TYPE_BYTE,   ZEM_TYPE_INT16,
                       ZEM_TYPE_UINT16,  ZEM_TYPE_INT32,  ZEM_TYPE_UINT32, ZEM_TYPE_INT64,
                       ZEM_TYPE_UINT64,  ZEM_TYPE_DATE,   ZEM_TYPE_TIME,   ZEM_TYPE_DATETIME,
                       ZEM_TYPE_DECIMAL, ZEM_TYPE_FLOAT,  ZEM_TYPE_DOUBLE, ZEM_TYPE_IPV4,
                       ZEM_TYPE_CHAR16,  ZEM_TYPE_STRING, ZEM_TYPE_WSTRING};
  for (const int code : codes) {
    const std::string name = BaseTypeName(code);
    const BaseType* found = FindBaseType(name);
    ASSERT_NE(found, nullptr) << name;
    EXPECT_EQ(found->code, code) << name;
  }
}

TEST(BaseTypes, OnlyWholeNamesAreFound) {
  EXPECT_EQ(FindBaseType(""), nullptr);
  EXPECT_EQ(FindBaseType("int"), nullptr);
  EXPECT_EQ(FindBaseType("int322"), nullptr);
  EXPECT_EQ(FindBaseType(" int32"), nullptr);
  EXPECT_EQ(FindBaseType("datetimes"), nullptr);
  EXPECT_EQ(FindBaseType("stringxyz"), nullptr);
  // A name with a NUL byte is not the name before it.
  EXPECT_EQ(FindBaseType(std::string_view("int8\0", 5)), nullptr);
  EXPECT_EQ(FindBaseType(std::string_view("int8\0\0\0\0", 8)), nullptr);
  // Only ASCII letters fold; a byte that is a letter elsewhere does not.
  EXPECT_EQ(FindBaseType("\xC4\xB0nt8"), nullptr);
  EXPECT_EQ(FindBaseType("role"), nullptr);
}

}  // namespace
