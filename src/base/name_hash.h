// Hashes of names read from files, keyed by a number drawn once per process. A hash anyone can
// compute lets a file be written so that its names crowd into a few slots of a table, making
// every lookup walk them all; with a key the file cannot know, its names spread as any names do.
// The key changes nothing a user sees: tables keep their records in the order they were added.
#ifndef VELMORA_BASE_NAME_HASH_H_
#define VELMORA_BASE_NAME_HASH_H_

#include <sys/random.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string_view>

// Every output bit depends on every input bit (the finalizer of MurmurHash3).
inline uint64_t MixBits(uint64_t x) {
  x ^= x >> 33;
  x *= 0xFF51AFD7ED558CCDULL;
  x ^= x >> 33;
  x *= 0xC4CEB9FE1A85EC53ULL;
  x ^= x >> 33;
  return x;
}

// The process's key: from the system's random source, else from the clock and where the stack
// lies.
inline uint64_t NameHashKey() {
  static const uint64_t key = []() {
    uint64_t drawn = 0;
    if (getrandom(&drawn, sizeof(drawn), GRND_NONBLOCK) != static_cast<ssize_t>(sizeof(drawn))) {
      drawn = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
              static_cast<uint64_t>(reinterpret_cast<uintptr_t>(&drawn));
    }
    return MixBits(drawn);
  }();
  return key;
}

// Hashes the bytes of a name, each first mapped by Map (a byte unchanged, or folded), eight at a
// time.
template <typename Map>
uint64_t KeyedHash(std::string_view name, Map map) {
  const uint64_t key = NameHashKey();
  uint64_t hash = key ^ name.size();
  uint64_t word = 0;
  for (size_t i = 0; i < name.size(); ++i) {
    word = (word << 8) | map(static_cast<unsigned char>(name[i]));
    if (i % 8 == 7 || i + 1 == name.size()) {
      hash = MixBits(hash ^ word) + key;
      word = 0;
    }
  }
  return MixBits(hash);
}

// A name's bytes as they are.
struct KeyedNameHash {
  size_t operator()(std::string_view name) const {
    return static_cast<size_t>(KeyedHash(name, [](unsigned char c) { return uint64_t{c}; }));
  }
};

#endif  // VELMORA_BASE_NAME_HASH_H_
