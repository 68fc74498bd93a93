// PLACEHOLDER: to be replaced by the XML loader.
#include "schema/zem_xml_loader.h"
ZemLoadResult ZemLoadXmlFile(const std::string&) { return ZemLoadResult(); }
ZemLoadResult ZemLoadXmlText(const std::string&, const std::string&) { return ZemLoadResult(); }
std::string FormatZemLoadMessage(const ZemLoadMessage&, const char*) { return std::string(); }
