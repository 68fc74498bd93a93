#include <velmora/version.h>

const char* VelmoraVersion() { return VELMORA_VERSION_STRING; }
