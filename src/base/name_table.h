// Records found by name, in the order they were added, for lookups among a struct's entries: an
// open-addressing table of 32-bit positions into one vector, so that a struct of a million
// entries costs a few words per entry and no allocation per entry. The first record of a name is
// the one found; names are hashed and compared as Hash and Equal say (byte for byte by default,
// with a hash a file cannot aim at).
#ifndef VELMORA_BASE_NAME_TABLE_H_
#define VELMORA_BASE_NAME_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "base/name_hash.h"

// Record has a member `std::string_view name`, which must stay valid while the table is used.
template <typename Record, typename Hash = KeyedNameHash,
          typename Equal = std::equal_to<std::string_view>>
class NameTable {
 public:
  explicit NameTable(Hash hash = Hash(), Equal equal = Equal()) : m_hash(hash), m_equal(equal) {}

  static constexpr size_t NOT_FOUND = SIZE_MAX;
  // Positions are kept in 32 bits.
  static constexpr size_t MAX_RECORDS = UINT32_MAX - 1;

  // Makes room for this many records without growing again.
  void Reserve(size_t records) {
    m_records.reserve(records);
    if (records * 2 > m_slots.size()) Rehash(records * 2);
  }

  size_t size() const { return m_records.size(); }
  Record& operator[](size_t position) { return m_records[position]; }
  const Record& operator[](size_t position) const { return m_records[position]; }

  // The position of the first record of this name, or NOT_FOUND.
  size_t Find(std::string_view name) const {
    if (m_slots.empty()) return NOT_FOUND;
    const uint32_t slot = m_slots[SlotOf(name)];
    return slot == 0 ? NOT_FOUND : slot - 1;
  }

  // Adds the record at position size() and returns it, unless a record of its name is there
  // already: then adds nothing and returns that record's position. The caller keeps size() below
  // MAX_RECORDS.
  size_t Add(const Record& record) {
    if ((m_records.size() + 1) * 2 > m_slots.size()) Rehash((m_records.size() + 1) * 4);
    uint32_t& slot = m_slots[SlotOf(record.name)];
    if (slot != 0) return slot - 1;
    m_records.push_back(record);
    slot = static_cast<uint32_t>(m_records.size());
    return m_records.size() - 1;
  }

 private:
  // The slot holding name, or the empty slot where it would go. The table is never more than
  // half full, so the probe ends.
  size_t SlotOf(std::string_view name) const {
    const size_t mask = m_slots.size() - 1;
    for (size_t slot = m_hash(name) & mask;; slot = (slot + 1) & mask) {
      const uint32_t held = m_slots[slot];
      if (held == 0 || m_equal(m_records[held - 1].name, name)) return slot;
    }
  }

  // Spreads the records over a power of two of at least `slots` slots.
  void Rehash(size_t slots) {
    size_t size = 16;
    while (size < slots) size *= 2;
    m_slots.assign(size, 0);
    for (size_t i = 0; i < m_records.size(); ++i) {
      m_slots[SlotOf(m_records[i].name)] = static_cast<uint32_t>(i + 1);
    }
  }

  Hash m_hash;
  Equal m_equal;
  std::vector<uint32_t> m_slots;  // a record's position + 1; 0 is an empty slot
  std::vector<Record> m_records;
};

#endif  // VELMORA_BASE_NAME_TABLE_H_
