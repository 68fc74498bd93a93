#include "schema/zem_xml_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "base/huge_pages.h"

namespace {

// Streams are read in blocks of this size.
constexpr size_t BLOCK_BYTES = 64 * 1024;

std::string CannotRead(int reason) {
  return std::string("cannot read the file: ") + std::strerror(reason);
}

// Closes the file on every way out.
class FileHandle {
 public:
  explicit FileHandle(int fd) : m_fd(fd) {}
  ~FileHandle() {
    if (m_fd >= 0) close(m_fd);
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  int get() const { return m_fd; }

 private:
  int m_fd;
};

// Reads until the end of the file, or until more than limit bytes are in. Returns the errno of a
// failed read, or 0.
int ReadAll(int fd, uint64_t limit, ZemBytes* bytes) {
  while (bytes->size() <= limit) {
    // Into the room already made (a regular file's whole size, read in one call); a block more
    // only once it is full, so that the buffer is not moved for the end of the file.
    const size_t free_room = bytes->capacity() - bytes->size();
    const size_t room = static_cast<size_t>(
        std::min<uint64_t>(free_room > 0 ? free_room : BLOCK_BYTES, limit + 1 - bytes->size()));
    char* into = bytes->AppendRoom(room);
    const ssize_t got = read(fd, into, room);
    if (got < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (got == 0) break;
    bytes->Commit(static_cast<size_t>(got));
  }
  return 0;
}

}  // namespace

ZemBytes::ZemBytes(const char* data, size_t size) { Append(data, size); }

void ZemBytes::Reserve(size_t capacity) {
  if (capacity <= m_capacity) return;
  char* grown = static_cast<char*>(std::realloc(m_data.get(), capacity));
  if (grown == nullptr) throw std::bad_alloc();
  m_data.release();
  m_data.reset(grown);
  m_capacity = capacity;
}

char* ZemBytes::AppendRoom(size_t count) {
  if (m_capacity - m_size < count) {
    // Doubling keeps appends linear; realloc moves large blocks by remapping their pages.
    Reserve(std::max(m_size + count, m_capacity + m_capacity / 2 + BLOCK_BYTES));
  }
  return m_data.get() + m_size;
}

void ZemBytes::Append(const char* data, size_t count) {
  if (count == 0) return;
  std::memcpy(AppendRoom(count), data, count);
  Commit(count);
}

std::string ZemInputTooLarge(const ZemLoadOptions& options, uint64_t size) {
  const std::string limit = "the maximum input size of " +
                            FormatZemByteSize(options.max_input_bytes) + " (" +
                            std::to_string(options.max_input_bytes) + " bytes)";
  const std::string what = size > 0 ? "the file has " + std::to_string(size) + " bytes, more than "
                                    : "the input goes on past ";
  return what + limit + "; set a larger limit with " + options.max_input_setting;
}

bool ZemReadInput(const std::string& path, const ZemLoadOptions& options, ZemBytes* bytes,
                  std::string* error) {
  FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat info;
  if (file.get() < 0 || fstat(file.get(), &info) != 0) {
    *error = CannotRead(errno);
    return false;
  }
  if (S_ISDIR(info.st_mode)) {
    *error = CannotRead(EISDIR);
    return false;
  }
  const bool regular = S_ISREG(info.st_mode);
  const uint64_t size = regular ? static_cast<uint64_t>(info.st_size) : 0;
  if (size > options.max_input_bytes) {
    *error = ZemInputTooLarge(options, size);
    return false;
  }
  // A regular file is read into a buffer of its size; one that grows meanwhile meets the limit
  // like a stream.
  if (size > 0) {
    bytes->Reserve(static_cast<size_t>(size) + 1);
    // Read whole at once, never grown: its 2 MiB pages are asked for. (A stream's buffer grows,
    // and is left as it is, so that the allocator can grow it without a copy.)
    AdviseHugePages(bytes->data(), bytes->capacity());
  }
  const int reason = ReadAll(file.get(), options.max_input_bytes, bytes);
  if (reason != 0) {
    *error = CannotRead(reason);
    return false;
  }
  if (bytes->size() > options.max_input_bytes) {
    *error = ZemInputTooLarge(options, 0);
    return false;
  }
  return true;
}
