// The bytes of a schema file, read whole into one buffer that the XML parser may write into, and
// never more of them than the loader's input limit.
#ifndef VELMORA_SCHEMA_ZEM_XML_INPUT_H_
#define VELMORA_SCHEMA_ZEM_XML_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <velmora/zem_xml_loader.h>

// A growable byte buffer. It grows in place where the allocator can (a large block is remapped,
// not copied), so reading a stream of unknown length costs about its length in memory.
class ZemBytes {
 public:
  ZemBytes() = default;
  ZemBytes(const char* data, size_t size);

  char* data() { return m_data.get(); }
  const char* data() const { return m_data.get(); }
  size_t size() const { return m_size; }
  size_t capacity() const { return m_capacity; }
  bool empty() const { return m_size == 0; }

  // Makes room for at least capacity bytes in all.
  void Reserve(size_t capacity);
  // Room for count more bytes at the end; Commit(count) then adds what was written there.
  char* AppendRoom(size_t count);
  void Commit(size_t count) { m_size += count; }
  void Append(const char* data, size_t count);

 private:
  struct Free {
    void operator()(char* data) const { std::free(data); }
  };
  std::unique_ptr<char, Free> m_data;
  size_t m_size = 0;
  size_t m_capacity = 0;
};

// Reads the file at path whole. A regular file larger than options.max_input_bytes is refused
// before it is read; a pipe, a device or standard input is read in blocks and refused when it
// passes the limit. Returns false with the reason in *error.
bool ZemReadInput(const std::string& path, const ZemLoadOptions& options, ZemBytes* bytes,
                  std::string* error);

// The reason an input of more than options.max_input_bytes is refused; size is its size when
// known, 0 for a stream that went on past the limit.
std::string ZemInputTooLarge(const ZemLoadOptions& options, uint64_t size);

#endif  // VELMORA_SCHEMA_ZEM_XML_INPUT_H_
