#include "schema/zem_xml_tree.h"

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <string>
#include <vector>

#include "vm_flags.h"

namespace {

bool IsElement(const pugi::xml_node& node) { return node.type() == pugi::node_element; }
bool IsElement(const ZemXmlTree::Node&) { return true; }

// The elements of a tree, depth first, each with its name's and its attributes' names' and values'
// offsets in the text and their words: what the schema reader sees of it.
template <typename Node>
void Walk(const Node& node, const char* text, int depth, std::string* out) {
  *out += std::string(static_cast<size_t>(depth) * 2, ' ') + "<" + node.name() + "@" +
          std::to_string(node.name() - text);
  for (auto attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
    *out += " " + std::string(attribute.name()) + "@" + std::to_string(attribute.name() - text) +
            "=" + attribute.value() + "@" + std::to_string(attribute.value() - text);
  }
  *out += "\n";
  for (Node child = node.first_child(); child; child = child.next_sibling()) {
    if (IsElement(child)) Walk(child, text, depth + 1, out);
  }
}

// The elements as the full parser reads the text in place, with the options of the loader.
std::string ParserView(std::string text) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer_inplace(
      &text[0], text.size(), pugi::parse_default | pugi::parse_declaration, pugi::encoding_utf8);
  if (!parsed) return std::string("refused: ") + parsed.description();
  std::string out;
  Walk(document.document_element(), text.data(), 0, &out);
  return out;
}

std::string TreeView(std::string text, bool* taken) {
  ZemXmlTree tree;
  *taken = tree.Parse(&text[0], text.size());
  if (!*taken) return std::string();
  std::string out;
  Walk(tree.root(), text.data(), 0, &out);
  return out;
}

TEST(ZemXmlTree, ReadsPlainXmlAsTheParserDoes) {
  const std::vector<std::string> texts = {
      "<a/>",
      "<a></a>",
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<metalib name=\"g\">\n</metalib>\n",
      "<m n='1' o = \"2\"\r\n\tp=\"a 'b' c\">text<!-- <x/> --><e/><f\n/> tail <g h=\"\"></g ></m>",
      "<m><s a=\"1\"><e b=\"2\"/><e b=\"3\"><x/></e></s><s/></m>\n<!-- after -->\n",
      "<_:a-b.c d:e-f=\"v&gt;\" />",
  };
  for (const std::string& text : texts) {
    bool taken = false;
    const std::string tree = TreeView(text, &taken);
    if (text.find('&') != std::string::npos) {
      EXPECT_FALSE(taken) << text;
      continue;
    }
    EXPECT_TRUE(taken) << text;
    EXPECT_EQ(tree, ParserView(text)) << text;
  }
}

TEST(ZemXmlTree, LeavesEverythingElseToTheParserWithTheTextAsItWas) {
  const std::vector<std::string> texts = {
      "",
      "   ",
      "text",
      "<a>",
      "<a></b>",
      "<a/><b/>",
      "<a/>text",
      "text<a/>",
      "<a b/>",
      "<a b=\"1\"c=\"2\"/>",
      "<a b=\"1>",
      "<a b=1/>",
      "<a b=\"x&amp;y\"/>",
      "<a b=\"x\ny\"/>",
      "<a b=\"x\ty\"/>",
      "<a b=\"x\ry\"/>",
      "<a b=\"x<y\"/>",
      "<a><![CDATA[x]]></a>",
      "<!DOCTYPE a><a/>",
      "<?pi x?><a/>",
      "<a><?pi x?></a>",
      " <?xml version=\"1.0\"?><a/>",
      "<?xml?><a/>",
      "<?xml version=\"1.0\"><a/>",
      "<\xC3\xA9/>",
      "<a \xC3\xA9=\"1\"/>",
      "<a/ >",
      "< a/>",
      "<a><!-- open </a>",
      "<a><!- x --></a>",
      "</a>",
      "<a></a >x",
      "<a></ab>",
      "<ab></a>",
      "<a></a\xC3\xA9>",
      // Declarations beyond the plain ones.
      "<?xml version=\"1.0\" ?><a/><!-- --><?xml?>",
      "<?xml version ?><a/>",
      "<?xml version=1.0?><a/>",
      "<?xml version=\"1.0?><a/>",
      "<?xml version=\"1>0\"?><a/>",
      "<?xml version=\"1.0\"encoding=\"UTF-8\"?><a/>",
      "<?xml \xC3\xA9=\"1\"?><a/>",
      "<?xml version=\"1.0\"",
      "<?xml version=\"a&amp;b\"?><a/>",
      // Attributes cut short or run together.
      "<a b",
      "<a b=",
      "<a b=\"",
      "<a b = 'x'c='y'/>",
      "<a b='x'",
      "<a b='x' /",
      "<a/",
      "<a",
      "<a b\n>",
      "<a b=\"x\"/><",
      "<a><b></a></b>",
      "<a><!--",
      "<a>text",
      "<?xml",
      "<?xml ",
      "<abc></ab",
      "<a></a ",
      "<a></a",
      "<a b\t='1'/>x",
      "<a\tb=\"1\"\n",
  };
  for (const std::string& original : texts) {
    std::string text = original;
    ZemXmlTree tree;
    EXPECT_FALSE(tree.Parse(&text[0], text.size())) << original;
    EXPECT_EQ(text, original);
    EXPECT_FALSE(tree.root());
  }
}

TEST(ZemXmlTree, TakesPlainDeclarationsAndCommentsBesideTheRoot) {
  const std::vector<std::string> texts = {
      "<?xml version=\"1.0\"?><a/>",
      "<?xml version='1.0' encoding=\"UTF-8\" standalone = 'yes' ?>\n<a/>",
      "<?xml\tversion=\"1.0\"\n?>\r\n<!-- before --><a/><!-- after -->\n",
      "<?xml ?><a/>",
  };
  for (const std::string& text : texts) {
    bool taken = false;
    const std::string tree = TreeView(text, &taken);
    EXPECT_TRUE(taken) << text;
    EXPECT_EQ(tree, ParserView(text)) << text;
  }
}

TEST(ZemXmlTree, GivesTheTextBackAfterReadingIt) {
  const std::string original =
      "<m n='1' o = \"2\"\n><e a=\"x\"/><e\tb=\"y\">z</e ><!-- c --></m>\n";
  std::string text = original;
  ZemXmlTree tree;
  ASSERT_TRUE(tree.Parse(&text[0], text.size()));
  EXPECT_NE(text, original);
  EXPECT_STREQ(tree.root().name(), "m");
  EXPECT_STREQ(tree.root().first_child().next_sibling().first_attribute().value(), "y");
  tree.Restore();
  EXPECT_EQ(text, original);
  EXPECT_FALSE(tree.root());
}

TEST(ZemXmlTree, ForgetGivesBackWhatWasReadAndKeepsWhatIsReadAgain) {
  // A struct of 150,000 entries with an index after the first 100,000, read as the schema reader
  // reads it: each entry once, the struct and the index again at the end.
  std::string text = "<m n=\"g\"><s name=\"t\" primarykey=\"f1\">\n";
  std::vector<size_t> entry_at;
  for (int i = 0; i < 150000; ++i) {
    if (i == 100000) text += "<index name=\"i\" column=\"f2\"/>\n";
    entry_at.push_back(text.size());
    text += "<e name=\"f" + std::to_string(i) + "\" type=\"int32\"/>\n";
  }
  text += "</s><after name=\"a\"/></m>\n";
  ZemXmlTree tree;
  ASSERT_TRUE(tree.Parse(&text[0], text.size()));
  const ZemXmlTree::Node table = tree.root().first_child();
  ZemXmlTree::Node kept = table;
  ZemXmlTree::Node index;
  int entries = 0;
  for (ZemXmlTree::Node child = table.first_child(), next; child; child = next) {
    next = child.next_sibling();
    if (std::string(child.name()) == "index") {
      index = kept = child;
      continue;
    }
    ASSERT_STREQ(child.first_attribute().value(), ("f" + std::to_string(entries)).c_str());
    ++entries;
    // Before the index the text stays; after it, only from the index on.
    ZemXmlTree::Forget(kept, child, entries > 100000);
  }
  EXPECT_EQ(entries, 150000);
  // What is read again reads as before.
  EXPECT_STREQ(table.name(), "s");
  EXPECT_STREQ(table.first_attribute().next_attribute().value(), "f1");
  EXPECT_STREQ(index.first_attribute().next_attribute().value(), "f2");
  EXPECT_STREQ(table.next_sibling().name(), "after");
  EXPECT_STREQ(table.next_sibling().first_attribute().value(), "a");
  // The text of the entries before the index was kept; most of that after it was given back.
  EXPECT_TRUE(Resident(&text[entry_at[50000]]));
  EXPECT_TRUE(Resident(&text[entry_at[100000]]));
  EXPECT_FALSE(Resident(&text[entry_at[120000]]));
  // Nothing is given back for an element that is not after the kept one.
  ZemXmlTree::Forget(table, tree.root(), true);
  ZemXmlTree::Forget(ZemXmlTree::Node(), table, true);
  EXPECT_STREQ(tree.root().first_attribute().value(), "g");
}

TEST(ZemXmlTree, ForgetKeepsAnElementWithoutAttributesAndWhatFollowsIt) {
  std::string text = "<m><s>\n<e name=\"a\"/><e name=\"b\"/></s></m>";
  ZemXmlTree tree;
  ASSERT_TRUE(tree.Parse(&text[0], text.size()));
  const ZemXmlTree::Node table = tree.root().first_child();
  const ZemXmlTree::Node first = table.first_child();
  ZemXmlTree::Forget(table, first, true);
  EXPECT_STREQ(table.name(), "s");
  EXPECT_STREQ(first.next_sibling().first_attribute().value(), "b");
}

TEST(ZemXmlTree, AbsentNodesAndAttributesAreEmpty) {
  std::string text = "<a x=\"1\"/>";
  ZemXmlTree tree;
  ASSERT_TRUE(tree.Parse(&text[0], text.size()));
  const ZemXmlTree::Node root = tree.root();
  EXPECT_FALSE(root.first_child());
  EXPECT_FALSE(root.next_sibling());
  EXPECT_STREQ(root.first_child().name(), "");
  EXPECT_FALSE(root.first_child().first_attribute());
  const ZemXmlTree::Attribute last = root.first_attribute();
  ASSERT_TRUE(last);
  EXPECT_FALSE(last.next_attribute());
  EXPECT_STREQ(last.next_attribute().name(), "");
  EXPECT_STREQ(last.next_attribute().value(), "");
  EXPECT_STREQ(ZemXmlTree::Attribute().value(), "");
  EXPECT_STREQ(ZemXmlTree::Attribute().name(), "");
  EXPECT_FALSE(ZemXmlTree::Node().first_child());
  EXPECT_FALSE(ZemXmlTree::Node().next_sibling());
  EXPECT_FALSE(ZemXmlTree::Node().first_attribute());
}

TEST(ZemXmlTree, ReadsDeepNestingWithoutRecursion) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "<a>";
  for (int i = 0; i < 100000; ++i) text += "</a>";
  ZemXmlTree tree;
  ASSERT_TRUE(tree.Parse(&text[0], text.size()));
  int depth = 0;
  for (ZemXmlTree::Node node = tree.root(); node; node = node.first_child()) ++depth;
  EXPECT_EQ(depth, 100000);
}

}  // namespace
