#include <velmora/string_helpers.h>

#include <cstring>

#include "base/ascii.h"

namespace {

constexpr long long kMaxVersionPart = 2147483647;

// Reads the number at the start of one version part and moves past the part and its ".".
long long NextVersionPart(const char*& cursor) {
  long long value = 0;
  while (*cursor >= '0' && *cursor <= '9') {
    value = value * 10 + (*cursor - '0');
    if (value > kMaxVersionPart) value = kMaxVersionPart;
    ++cursor;
  }
  while (*cursor != '\0' && *cursor != '.') ++cursor;
  if (*cursor == '.') ++cursor;
  return value;
}

bool IsAsciiSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

}  // namespace

void SplitString(const std::string& src, const std::string& delim, std::vector<std::string>& out) {
  out.clear();
  if (delim.empty()) {
    out.push_back(src);
    return;
  }
  size_t start = 0;
  while (true) {
    const size_t end = src.find(delim, start);
    if (end == std::string::npos) {
      out.emplace_back(src, start);
      return;
    }
    out.emplace_back(src, start, end - start);
    start = end + delim.size();
  }
}

int RealCmpVersion(const char* ver, const char* base, bool /*four_parts*/) {
  const char* left = ver != nullptr ? ver : "";
  const char* right = base != nullptr ? base : "";
  while (*left != '\0' || *right != '\0') {
    const long long a = NextVersionPart(left);
    const long long b = NextVersionPart(right);
    if (a != b) return a < b ? -1 : 1;
  }
  return 0;
}

void StringRemoveSpaces(const std::string& src, std::string& dst) {
  dst.clear();
  dst.reserve(src.size());
  for (char c : src) {
    if (!IsAsciiSpace(c)) dst.push_back(c);
  }
}

const char* GetAssignStrFromSourStr(const char* src, const char* delim, const char* key,
                                    std::string& value, StringSearchFunc search) {
  value.clear();
  if (src == nullptr || delim == nullptr || key == nullptr || search == nullptr) return nullptr;
  const char* found = search(src, key);
  if (found == nullptr) return nullptr;
  const char* start = found + std::strlen(key);
  const char* end = *delim != '\0' ? std::strstr(start, delim) : nullptr;
  if (end == nullptr) {
    value.assign(start);
  } else {
    value.assign(start, static_cast<size_t>(end - start));
  }
  return found;
}

bool IsDigit(const char* str) {
  if (str == nullptr || *str == '\0') return false;
  for (; *str != '\0'; ++str) {
    if (*str < '0' || *str > '9') return false;
  }
  return true;
}

const char* strstri(const char* haystack, const char* needle) {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  const size_t needle_len = std::strlen(needle);
  for (const char* start = haystack;; ++start) {
    size_t i = 0;
    while (i < needle_len && start[i] != '\0' && AsciiLower(start[i]) == AsciiLower(needle[i])) {
      ++i;
    }
    if (i == needle_len) return start;
    if (*start == '\0') return nullptr;
  }
}
