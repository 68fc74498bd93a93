#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "load_results.h"
#include "schema/zem_xml_loader_internal.h"
#include "schema/zem_xml_tree.h"

namespace {

// The loader's result for text, read as the loader reads it and by the full parser alone; the
// two must agree in every byte.
void ExpectSameReadings(const std::string& text, const std::string& what) {
  const std::string as_loaded =
      DescribeLoad(ZemLoadXmlTextReading(ZemXmlReading::kPlainTreeFirst, "t.xml", text));
  const std::string parsed =
      DescribeLoad(ZemLoadXmlTextReading(ZemXmlReading::kFullParserOnly, "t.xml", text));
  EXPECT_EQ(as_loaded, parsed) << what << "\n---- text:\n" << text;
}

// Whether the plain tree takes the text, leaving the rest to the full parser.
bool PlainTreeTakes(std::string text) {
  ZemXmlTree tree;
  return tree.Parse(&text[0], text.size());
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  return content.str();
}

TEST(ZemXmlReadings, EverySchemaOfTheRepositoryReadsAlikeBothWays) {
  size_t files = 0;
  size_t plain = 0;
  for (const char* dir : {VELMORA_FIXTURES_DIR, VELMORA_EXAMPLES_DIR}) {
    for (const auto& item : std::filesystem::recursive_directory_iterator(dir)) {
      if (!item.is_regular_file() || item.path().extension() != ".xml") continue;
      const std::string text = ReadFile(item.path());
      ExpectSameReadings(text, item.path().string());
      ++files;
      if (PlainTreeTakes(text)) ++plain;
    }
  }
  EXPECT_GT(files, 20u);
  // Most schema files are plain XML, and read without the full parser.
  EXPECT_GT(plain, files / 2);
}

const char* const HEAD = "<metalib name=\"game\" version=\"2\">\n";
const char* const TAIL = "</metalib>\n";

std::string Schema(const std::string& body) { return HEAD + body + TAIL; }

TEST(ZemXmlReadings, ATextOverTheLimitIsRefusedAlike) {
  ZemLoadOptions options;
  options.max_input_bytes = 10;
  const std::string text = Schema("");
  const std::string loaded = DescribeLoad(ZemLoadXmlText("t.xml", text, options));
  EXPECT_EQ(
      DescribeLoad(ZemLoadXmlTextReading(ZemXmlReading::kPlainTreeFirst, "t.xml", text, options)),
      loaded);
  EXPECT_EQ(
      DescribeLoad(ZemLoadXmlTextReading(ZemXmlReading::kFullParserOnly, "t.xml", text, options)),
      loaded);
  EXPECT_NE(loaded.find("more than the maximum input size of 10 bytes"), std::string::npos)
      << loaded;
}

TEST(ZemXmlReadings, PlainFilesReadAlikeAndWithoutTheParser) {
  const std::vector<std::string> bodies = {
      // Keys, split key, index, arrays and their refer, a struct as a type, macros.
      "  <macro name=\"MAX\" value=\"8\"/>\n"
      "  <struct name=\"pos\"><entry name=\"x\" type=\"int32\"/></struct>\n"
      "  <struct name=\"role\" primarykey=\"uid,zone\" splittablekey=\"uid\"\n"
      "          customattr2=\"TableType=GENERIC\" desc='a \"quoted\" word'>\n"
      "    <entry name=\"uid\" type=\"UInt64\"/>\n"
      "    <entry name = 'zone' type = \"uint16\" />\n"
      "    <entry name=\"n\" type=\"uint8\"></entry>\n"
      "    <entry name=\"items\" type=\"int32\" count=\"MAX\" refer=\"n\" customattr2=\"sort1\"/>\n"
      "    <entry name=\"where\" type=\"pos\"/>\n"
      "    <index name=\"by_zone\" column=\"zone, uid\"/>\n"
      "  </struct>\n",
      // Comments, text, tabs and carriage returns between elements and attributes.
      "<!-- tables -->\r\n\t<struct\tname=\"t\"\r\n primarykey=\"k\">text <!-- - -> -->\r\n"
      "<entry name=\"k\"\ttype=\"int32\">more text</entry></struct >\r\n",
      // Warnings: unknown attributes and elements, elements out of place, a macro again.
      "  <macro name=\"M\" value=\"1\"/><macro name=\"M\" value=\"2\"><x/></macro>\n"
      "  <struct name=\"t\" nmae=\"x\" colour=\"red\" customattr2=\"TabelType=LIST\">\n"
      "    <entry name=\"a\" type=\"int32\" cname=\"a\"><note/></entry>\n"
      "    <entyr name=\"b\"/><struct name=\"inner\"/>\n"
      "  </struct>\n  <table/>\n",
      // An empty struct and union, and a union's entries.
      "  <struct name=\"e\"/>\n  <union name=\"u\"><entry name=\"a\" type=\"int8\"/>"
      "<entry name=\"b\" type=\"string\" size=\"9\"/><index name=\"i\"/></union>\n",
  };
  for (const std::string& body : bodies) {
    const std::string text = Schema(body);
    EXPECT_TRUE(PlainTreeTakes(text)) << text;
    ExpectSameReadings(text, body);
  }
  const std::string declared = "<?xml version=\"1.0\" encoding='UTF-8' ?>\n" + Schema("");
  EXPECT_TRUE(PlainTreeTakes(declared));
  ExpectSameReadings(declared, "declaration");
}

TEST(ZemXmlReadings, FilesWithLoadErrorsReadAlike) {
  const std::vector<std::string> bodies = {
      "<struct name=\"t\"><entry name=\"a\" type=\"int32\"/><entry name=\"a\" type=\"int8\"/>"
      "</struct>",
      "<struct name=\"t\"><entry name=\"a\" type=\"nope\"/></struct>"
      "<struct name=\"u\"><entry name=\"b\" type=\"t\"/></struct>"
      "<struct name=\"v\" primarykey=\"zz\"><entry name=\"c\" type=\"int8\"/></struct>",
      "<struct name=\"t\"><entry name=\"a\" type=\"int32\" count=\"0\"/></struct>",
      "<struct name=\"t\"><entry name=\"a\" type=\"int32\" name=\"b\"/></struct>",
      "<struct><entry name=\"a\" type=\"int32\"/></struct>",
      "<macro name=\"M\" value=\"x\"/>",
  };
  for (const std::string& body : bodies) {
    const std::string text = Schema(body);
    EXPECT_TRUE(PlainTreeTakes(text)) << text;
    ExpectSameReadings(text, body);
  }
  for (const std::string& text : {std::string("<table name=\"t\"/>"), std::string("<metalib/>"),
                                  Schema("") + "<metalib name=\"again\"/>",
                                  std::string(" <?xml version=\"1.0\"?>") + Schema("")}) {
    ExpectSameReadings(text, text);
  }
}

// The entries f0 ... f<count - 1> of a long struct, one a line, every 997th from f5 on of the
// struct "pos" with a customattr2 of its own, and `middle` written after the first third of them.
// Entries far enough past the middle one that their text is given back: f29915 (of the struct
// "pos") and f30000.
std::string LongEntries(int count, const std::string& middle) {
  std::string entries;
  for (int i = 0; i < count; ++i) {
    if (i == count / 3) entries += middle;
    const std::string name = "f" + std::to_string(i);
    if (i % 997 == 5) {
      entries += "    <entry name=\"" + name + "\" type=\"pos\" customattr2=\"c" +
                 std::to_string(i) + "\"/>\n";
    } else {
      entries += "    <entry name=\"" + name + "\" type=\"int32\"/>\n";
    }
  }
  return entries;
}

TEST(ZemXmlReadings, LongStructsReadAlikeWhileTheirMemoryIsGivenBack) {
  // Structs of 60,000 entries (over 2 MB of text), so that the plain tree gives the records and
  // text of the entries read back in batches. Whatever is read again after them (the struct's
  // keys, an index's columns, an earlier entry that a refer or a repeated name points to) must
  // read as the full parser reads it.
  const int count = 60000;
  const std::string pos = "  <struct name=\"pos\"><entry name=\"x\" type=\"int32\"/></struct>\n";
  const std::string head =
      "  <struct name=\"big\" primarykey=\"f0,f59999\" splittablekey=\"f1\" "
      "customattr2=\"TableType=GENERIC\">\n"
      "    <entry name=\"n\" type=\"uint8\"/>\n"
      "    <entry name=\"arr\" type=\"int16\" count=\"3\"/>\n";
  const std::string middle_index = "    <index name=\"mid\" column=\"f59999, f3\"/>\n";
  // A struct with a load error: the entries of the long one after it are kept as records.
  const std::string broken =
      pos + "  <struct name=\"bad\"><entry name=\"a\" type=\"nope\"/></struct>\n";
  struct Case {
    const char* what;
    std::string before;  // struct bodies before the long struct
    std::string middle;  // written among its entries
    std::string last;    // its last children
  } cases[] = {
      {"valid, an index among the entries and one at the end", pos, middle_index,
       "    <entry name=\"items\" type=\"int32\" count=\"4\" refer=\"n\"/>\n"
       "    <index name=\"end\" column=\"f2,items\"/>\n"},
      {"a name repeated at the end", pos, middle_index,
       "    <entry name=\"f30000\" type=\"int8\"/>\n"},
      {"a refer to an early entry of a struct type", pos, "",
       "    <entry name=\"items\" type=\"int32\" count=\"2\" refer=\"f29915\"/>\n"},
      {"a refer to an early array", pos, "",
       "    <entry name=\"items\" type=\"int32\" count=\"2\" refer=\"arr\"/>\n"},
      {"a refer to a later entry", pos, "",
       "    <entry name=\"items\" type=\"int32\" count=\"2\" refer=\"zz\"/>\n"
       "    <entry name=\"zz\" type=\"int8\"/>\n"},
      {"an unknown column of the index among the entries", pos,
       "    <index name=\"mid\" column=\"f3, zz\"/>\n", ""},
      {"an earlier load error, then a repeated name", broken, middle_index,
       "    <entry name=\"f30000\" type=\"int8\"/>\n"},
      {"an earlier load error, then a refer to an early entry", broken, middle_index,
       "    <entry name=\"items\" type=\"int32\" count=\"2\" refer=\"f29915\"/>\n"},
  };
  for (const Case& c : cases) {
    const std::string text =
        Schema(c.before + head + LongEntries(count, c.middle) + c.last + "  </struct>\n" +
               "  <struct name=\"after\"><entry name=\"b\" type=\"big\"/></struct>\n");
    ASSERT_TRUE(PlainTreeTakes(text)) << c.what;
    ExpectSameReadings(text, c.what);
  }
  // A long union, whose indexes are ignored, reads alike too.
  const std::string text =
      Schema(pos + "  <union name=\"u\">\n" + LongEntries(count, middle_index) + "  </union>\n");
  ExpectSameReadings(text, "union");
}

TEST(ZemXmlReadings, WhatThePlainTreeLeavesToTheParserReadsAlike) {
  const std::vector<std::string> bodies = {
      "<struct name=\"a&amp;b\" desc=\"&lt;&#65;\"/>",
      "<struct name=\"t\" desc=\"two\nlines\"/>",
      "<struct name=\"t\" desc=\"tab\there\"/>",
      "<struct name=\"t\" desc=\"cr\r\nlf\"/>",
      "<struct name=\"t\" desc=\"a < b\"/>",
      "<struct name=\"t\"><![CDATA[<entry name=\"x\" type=\"int8\"/>]]></struct>",
      "<?pi text?><struct name=\"t\"/>",
      "<struct name=\"t\"><entrée name=\"x\" type=\"int8\"/></struct>",
      "<struct name=\"t\" nom\xC3\xA9=\"x\"/>",
      "<struct name=\"t\"x=\"1\"/>",
      "<struct name=\"t\"></strukt>",
      "<struct name=\"t\">",
      "<struct name=\"t\" desc=\"open/>",
      "<!-- open <struct name=\"t\"/>",
      "<struct name=\"t\" / >",
      "< struct name=\"t\"/>",
  };
  for (const std::string& body : bodies) {
    const std::string text = Schema(body);
    EXPECT_FALSE(PlainTreeTakes(text)) << text;
    ExpectSameReadings(text, body);
  }
  for (const std::string& text :
       {"<!DOCTYPE metalib>" + Schema(""), Schema("") + "text after", "text before" + Schema(""),
        "<?xml-stylesheet href=\"x\"?>" + Schema(""),
        "<?xml version=\"1.0\"?>" + Schema("") + "<?xml?>"}) {
    EXPECT_FALSE(PlainTreeTakes(text)) << text;
    ExpectSameReadings(text, text);
  }
}

// Elements nested two hundred thousand deep: the plain tree takes them, and the parser's tree is
// not freed by recursion into them, whether the file loads or has a load error after them.
TEST(ZemXmlReadings, DeeplyNestedElementsReadAlike) {
  std::string nested;
  for (int i = 0; i < 200000; ++i) nested += "<x>";
  for (int i = 0; i < 200000; ++i) nested += "</x>";
  const std::string loads = Schema("<struct name=\"s\">" + nested + "</struct>");
  ExpectSameReadings(loads, "nested");
  EXPECT_TRUE(ZemLoadXmlText("t.xml", loads).ok);
  const std::string fails =
      Schema("<struct name=\"s\">" + nested + "</struct><struct name=\"s\"/>");
  ExpectSameReadings(fails, "nested, then a struct defined again");
  const ZemLoadResult failed = ZemLoadXmlText("t.xml", fails);
  EXPECT_FALSE(failed.ok);
  EXPECT_EQ(failed.error.text, "struct 's': the name is already used by the struct at line 2");
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELMORA_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELMORA_SANITIZED 1
#endif
#endif

#if !defined(VELMORA_SANITIZED)
// The address space the process holds now, in bytes.
size_t AddressSpaceInUse() {
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0;
  statm >> pages;
  return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}
#endif

// In a process limited to little more address space than its file needs, the plain tree finds no
// room for its records; the parser, which needs less, reads the file, as it would alone.
TEST(ZemXmlReadings, AFileThePlainTreeHasNoRoomForIsReadByTheParser) {
#if defined(VELMORA_SANITIZED)
  GTEST_SKIP() << "the sanitizers need more address space than the limit leaves";
#else
  const std::string text = Schema("<!--" + std::string(size_t{60} << 20, 'c') + "-->");
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Room for the text's copy, its index and the parser; not for a record per 16 bytes.
    const rlimit limit{AddressSpaceInUse() + (size_t{130} << 20), RLIM_INFINITY};
    ZemLoadOptions options;
    options.max_input_bytes = size_t{1} << 30;
    const bool loaded =
        setrlimit(RLIMIT_AS, &limit) == 0 && ZemLoadXmlText("t.xml", text, options).ok;
    _exit(loaded ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << status;
  EXPECT_EQ(WEXITSTATUS(status), 0);
#endif
}

// Texts made of pieces of schema files and of markup in any order, most of them broken: whatever
// each is, the two readings agree.
TEST(ZemXmlReadings, RandomTextsReadAlike) {
  const std::vector<std::string> pieces = {
      "<metalib name=\"m\">",
      "</metalib>",
      "<struct name=\"s\"",
      "<struct name=\"t\">",
      "</struct>",
      "<union name=\"u\">",
      "</union>",
      "<entry name=\"a\" type=\"int32\"/>",
      "<entry name=\"b\" type='uint8'/>",
      "<entry name=\"c\" type=\"int16\" count=\"2\" refer=\"b\"/>",
      "<entry name=\"a\" type=\"t\"/>",
      "<index name=\"i\" column=\"a,b\"/>",
      "<macro name=\"M\" value=\"4\"/>",
      " primarykey=\"a\"",
      " splittablekey=\"b\"",
      " customattr2=\"TableType=LIST;ListNum=3\"",
      " desc=\"d\"",
      " name=\"x\"",
      ">",
      "/>",
      "<",
      "=",
      "\"",
      "'",
      " ",
      "\n",
      "\t",
      "\r\n",
      "<!-- c -->",
      "<!--",
      "-->",
      "&amp;",
      "&#x41;",
      "<![CDATA[x]]>",
      "<?xml version=\"1.0\"?>",
      "<x/>",
      "</x>",
      "text",
      "\xC3\xA9",
      "<?p?>",
  };
  std::mt19937 random(20261123);
  std::uniform_int_distribution<size_t> piece(0, pieces.size() - 1);
  std::uniform_int_distribution<int> count(1, 24);
  int plain = 0;
  int loaded = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text = round % 2 == 0 ? std::string(HEAD) : std::string();
    for (int i = count(random); i > 0; --i) text += pieces[piece(random)];
    if (round % 3 != 2) text += TAIL;
    ExpectSameReadings(text, "round " + std::to_string(round));
    if (HasFailure()) break;
    if (PlainTreeTakes(text)) ++plain;
    if (ZemLoadXmlText("t.xml", text).ok) ++loaded;
  }
  // Both ways are taken, by files that load and by files that do not.
  EXPECT_GT(plain, 50) << plain;
  EXPECT_GT(loaded, 50) << loaded;
}

// Well-formed schema files made at random: elements known and unknown, attributes in either
// quotes with blanks around '=', comments and text, and now and then one byte changed.
class RandomSchema {
 public:
  explicit RandomSchema(unsigned seed) : m_random(seed) {}

  std::string Make() {
    std::string text = Pick(2) == 0 ? "<?xml version=\"1.0\"?>\n" : "";
    text += "<metalib" + Attribute("name", "m") + ">" + Blank();
    for (int m = Pick(4); m >= 0; --m) {
      switch (Pick(5)) {
        case 0:
          text += "<macro" + Attribute("name", Name()) + Attribute("value", Number()) + "/>";
          break;
        case 1:
          text += "<!-- " + Name() + " -->";
          break;
        default:
          text += Meta();
          break;
      }
      text += Blank();
    }
    text += "</metalib>" + Blank();
    if (Pick(4) == 0) text[Pick(static_cast<int>(text.size()))] = Byte();
    return text;
  }

 private:
  int Pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }
  std::string Name() {
    const char* const names[] = {"a", "b", "k", "uid", "Zone", "x", "M", "MAX", "s", "t"};
    return names[Pick(10)];
  }
  std::string Number() {
    const char* const numbers[] = {"0", "1", "8", "-3", "99999999999", "M", "x"};
    return numbers[Pick(7)];
  }
  std::string Type() {
    const char* const types[] = {"int32", "UINT8", "string", "wstring", "s", "t", "none"};
    return types[Pick(7)];
  }
  std::string Blank() {
    const char* const blanks[] = {"", " ", "\n", "\t", "\r\n", "\n  ", " text ", "<!---->"};
    return blanks[Pick(8)];
  }
  char Byte() {
    const char bytes[] = {'<', '>', '"', '\'', '&', '=', '/', ' ', '\n', 'a', '\xC3', '!', '?'};
    return bytes[Pick(13)];
  }
  std::string Attribute(const std::string& name, const std::string& value) {
    const char quote = Pick(3) == 0 ? '\'' : '"';
    const char* const around[] = {"=", " = ", "\n=\t"};
    return std::string(Pick(5) == 0 ? "\n " : " ") + name + around[Pick(3)] + quote + value + quote;
  }
  std::string Meta() {
    const bool is_union = Pick(4) == 0;
    std::string text = is_union ? "<union" : "<struct";
    text += Attribute("name", Name());
    if (Pick(2) == 0) text += Attribute("primarykey", Name() + "," + Name());
    if (Pick(3) == 0) text += Attribute("splittablekey", Name());
    if (Pick(3) == 0) text += Attribute("customattr2", "TableType=LIST;ListNum=" + Number());
    if (Pick(4) == 0) text += Attribute("colour", "red");
    text += ">" + Blank();
    for (int e = Pick(6); e >= 0; --e) {
      if (Pick(6) == 0) {
        text += "<index" + Attribute("name", Name()) + Attribute("column", Name()) + "/>";
      } else if (Pick(12) == 0) {
        text += "<note" + Attribute("name", Name()) + "/>";
      } else {
        text += "<entry" + Attribute("name", Name()) + Attribute("type", Type());
        if (Pick(4) == 0) text += Attribute("count", Number());
        if (Pick(5) == 0) text += Attribute("refer", Name());
        if (Pick(5) == 0) text += Attribute("size", Number());
        if (Pick(6) == 0) text += Attribute("customattr2", "sort1");
        text += Pick(5) == 0 ? "></entry>" : "/>";
      }
      text += Blank();
    }
    return text + (is_union ? "</union>" : "</struct>");
  }

  std::mt19937 m_random;
};

TEST(ZemXmlReadings, RandomSchemasReadAlike) {
  RandomSchema schemas(1123);
  int plain = 0;
  int loaded = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::string text = schemas.Make();
    ExpectSameReadings(text, "round " + std::to_string(round));
    if (HasFailure()) break;
    if (PlainTreeTakes(text)) ++plain;
    if (ZemLoadXmlText("t.xml", text).ok) ++loaded;
  }
  EXPECT_GT(plain, 1500) << plain;
  EXPECT_GT(loaded, 200) << loaded;
}

}  // namespace
