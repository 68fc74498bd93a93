// Positions found by name, for lookups among a struct's entries: open-addressing tables of 32-bit
// positions, so that a struct of a million entries costs a few words per entry and no allocation
// per entry. The first position of a name is the one found; names are hashed and compared as
// Hash and Equal say (byte for byte by default, with a hash a file cannot aim at).
#ifndef VELMORA_BASE_NAME_TABLE_H_
#define VELMORA_BASE_NAME_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "base/name_hash.h"

// The slots alone: the names stay wherever their owner keeps them. Each call is given NameOf, a
// function from a position to its name, so that the owner may move, or its names change place,
// between calls; it must answer the same name for a position every time.
template <typename Hash = KeyedNameHash, typename Equal = std::equal_to<std::string_view>>
class NameIndex {
 public:
  explicit NameIndex(Hash hash = Hash(), Equal equal = Equal()) : m_hash(hash), m_equal(equal) {}

  static constexpr size_t NOT_FOUND = SIZE_MAX;
  // Positions are kept in 32 bits.
  static constexpr size_t MAX_POSITIONS = UINT32_MAX - 1;

  // Positions added, the first of each name only.
  size_t size() const { return m_size; }

  // Makes room for this many positions without growing again.
  template <typename NameOf>
  void Reserve(size_t positions, const NameOf& name_of) {
    if (positions * 2 > m_slots.size()) Rehash(positions * 2, name_of);
  }

  // The first position of this name, or NOT_FOUND.
  template <typename NameOf>
  size_t Find(std::string_view name, const NameOf& name_of) const {
    if (m_slots.empty()) return NOT_FOUND;
    const uint32_t slot = m_slots[SlotOf(name, m_hash(name), name_of)];
    return slot == 0 ? NOT_FOUND : slot - 1;
  }

  // Adds `position`, named name_of(position), unless a position of that name is there already:
  // then adds nothing and returns that position. The caller keeps positions below MAX_POSITIONS.
  template <typename NameOf>
  size_t Add(size_t position, const NameOf& name_of) {
    if ((m_size + 1) * 2 > m_slots.size()) Rehash((m_size + 1) * 4, name_of);
    const std::string_view name = name_of(position);
    const size_t hash = m_hash(name);
    const size_t slot = SlotOf(name, hash, name_of);
    if (m_slots[slot] != 0) return m_slots[slot] - 1;
    m_slots[slot] = static_cast<uint32_t>(position + 1);
    m_tags[slot] = TagOf(hash);
    ++m_size;
    return position;
  }

 private:
  // Eight bits of a name's hash that its slot does not already tell: a name is compared only with
  // those held under the same tag, one in 256 of the others. Names may live far apart in memory.
  static uint8_t TagOf(size_t hash) { return static_cast<uint8_t>(hash >> 56); }

  // The slot holding name, or the empty slot where it would go. The table is never more than
  // half full, so the probe ends.
  template <typename NameOf>
  size_t SlotOf(std::string_view name, size_t hash, const NameOf& name_of) const {
    const size_t mask = m_slots.size() - 1;
    const uint8_t tag = TagOf(hash);
    for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
      const uint32_t held = m_slots[slot];
      if (held == 0 || (m_tags[slot] == tag && m_equal(name_of(held - 1), name))) return slot;
    }
  }

  // Spreads the positions over a power of two of at least `slots` slots.
  template <typename NameOf>
  void Rehash(size_t slots, const NameOf& name_of) {
    size_t size = 16;
    while (size < slots) size *= 2;
    std::vector<uint32_t> held;
    held.swap(m_slots);
    m_slots.assign(size, 0);
    m_tags.assign(size, 0);
    const size_t mask = size - 1;
    for (const uint32_t position : held) {
      if (position == 0) continue;
      // Every name held is distinct: its slot is the first empty one.
      const size_t hash = m_hash(name_of(position - 1));
      size_t slot = hash & mask;
      while (m_slots[slot] != 0) slot = (slot + 1) & mask;
      m_slots[slot] = position;
      m_tags[slot] = TagOf(hash);
    }
  }

  Hash m_hash;
  Equal m_equal;
  size_t m_size = 0;
  std::vector<uint32_t> m_slots;  // a position + 1; 0 is an empty slot
  std::vector<uint8_t> m_tags;    // the tag of the name in each slot held
};

// Records found by name, in the order they were added, each the first of its name.
// Record has a member `std::string_view name`, which must stay valid while the table is used.
template <typename Record, typename Hash = KeyedNameHash,
          typename Equal = std::equal_to<std::string_view>>
class NameTable {
 public:
  explicit NameTable(Hash hash = Hash(), Equal equal = Equal()) : m_index(hash, equal) {}

  static constexpr size_t NOT_FOUND = SIZE_MAX;
  static constexpr size_t MAX_RECORDS = NameIndex<Hash, Equal>::MAX_POSITIONS;

  // Makes room for this many records without growing again.
  void Reserve(size_t records) {
    m_records.reserve(records);
    m_index.Reserve(records, Names{m_records});
  }

  size_t size() const { return m_records.size(); }
  Record& operator[](size_t position) { return m_records[position]; }
  const Record& operator[](size_t position) const { return m_records[position]; }

  // The position of the first record of this name, or NOT_FOUND.
  size_t Find(std::string_view name) const { return m_index.Find(name, Names{m_records}); }

  // Adds the record at position size() and returns it, unless a record of its name is there
  // already: then adds nothing and returns that record's position. The caller keeps size() below
  // MAX_RECORDS.
  size_t Add(const Record& record) {
    m_records.push_back(record);
    const size_t position = m_records.size() - 1;
    const size_t first = m_index.Add(position, Names{m_records});
    if (first != position) m_records.pop_back();
    return first;
  }

 private:
  struct Names {
    const std::vector<Record>& records;
    std::string_view operator()(size_t position) const { return records[position].name; }
  };

  NameIndex<Hash, Equal> m_index;
  std::vector<Record> m_records;
};

#endif  // VELMORA_BASE_NAME_TABLE_H_
