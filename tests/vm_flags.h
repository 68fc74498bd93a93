// The flags the kernel keeps for the mapping that holds an address, as /proc/self/smaps lists them
// ("rd wr mr mw me ac hg" ...; "hg": the mapping is advised to take huge pages), and whether the
// page holding an address is resident.
#ifndef VELMORA_TESTS_VM_FLAGS_H_
#define VELMORA_TESTS_VM_FLAGS_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

// Whether the page of memory holding `at` is resident.
inline bool Resident(const void* at) {
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  void* start = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(at) / page * page);
  unsigned char state = 0;
  return mincore(start, page, &state) == 0 && (state & 1) != 0;
}

// Whether this system has transparent huge pages at all; the tests of the advice need it.
inline bool HasTransparentHugePages() {
  return std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled").good();
}

// The VmFlags line's flags of the mapping holding address, each followed by a blank; empty when
// no mapping holds it.
inline std::string VmFlagsOf(const void* address) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(address);
  std::ifstream smaps("/proc/self/smaps");
  std::string line;
  bool inside = false;
  while (std::getline(smaps, line)) {
    unsigned long long begin = 0;
    unsigned long long end = 0;
    if (std::sscanf(line.c_str(), "%llx-%llx ", &begin, &end) == 2 && line.find(':') > 8) {
      inside = begin <= at && at < end;
      continue;
    }
    if (inside && line.compare(0, 8, "VmFlags:") == 0) {
      std::istringstream flags(line.substr(8));
      std::string flag;
      std::string all;
      while (flags >> flag) all += flag + " ";
      return all;
    }
  }
  return std::string();
}

inline bool IsAdvisedHuge(const void* address) {
  return VmFlagsOf(address).find("hg ") != std::string::npos;
}

#endif  // VELMORA_TESTS_VM_FLAGS_H_
