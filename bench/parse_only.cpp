// The floor of any loader built on a DOM parser: parses the file with pugixml's defaults and
// exits. Exit status 0 when the document parsed, 1 otherwise.
#include <pugixml.hpp>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  pugi::xml_document document;
  return document.load_file(argv[1]) ? 0 : 1;
}
