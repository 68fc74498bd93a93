// Builds a metalib one struct or union at a time, for a reader that describes each one after the
// metas its entries name: each description is laid out when it is added and can be dropped then,
// so that a whole file's description never stands in memory beside its metalib.
#ifndef VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_
#define VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <velmora/zem_builder.h>

// The entries of the struct or union being laid out, found by name, for a reader that keeps a
// table of them anyway: the assembler then keeps none of its own.
class ZemEntryLookup {
 public:
  // The position of the first entry of this name among those added so far, or -1.
  virtual int Find(std::string_view name) const = 0;

 protected:
  ~ZemEntryLookup() = default;
};

class ZemMetaLibAssembler {
 public:
  ZemMetaLibAssembler(const std::string& name, int version);
  ~ZemMetaLibAssembler();
  ZemMetaLibAssembler(const ZemMetaLibAssembler&) = delete;
  ZemMetaLibAssembler& operator=(const ZemMetaLibAssembler&) = delete;

  // Makes room up front for a model of about bytes bytes; a hint, the model grows as it needs.
  void Expect(size_t bytes);

  // Lays out the next struct or union. Returns false and sets *error when its name is taken or a
  // name it must resolve (a key member, split key entry, index column, refer, or a type meta
  // added before it) is missing; nothing more should be added then.
  bool Add(const ZemMetaDef& meta, std::string* error);

  // Lays out the next struct or union entry by entry, so that no description of all its entries
  // is ever needed: Begin with its own fields and the number of its entries (meta.entries is not
  // read), AddEntry for each entry in order (name: its name), then End with its keys, split key
  // and indexes. A refer or key member names an entry added before. Each returns false and sets
  // *error as Add does, and when the entries do not match the number announced. Given a lookup
  // (valid until End returns), the entries' names are found through it and AddEntry's name is
  // not kept; without one, each name must stay valid until End returns.
  bool Begin(const ZemMetaDef& meta, size_t entries, std::string* error,
             const ZemEntryLookup* lookup = nullptr);
  bool AddEntry(const ZemEntryDef& entry, std::string_view name, std::string* error);
  bool End(const ZemMetaDef& meta, std::string* error);

  // An entry of the struct or union begun, as AddEntry laid it out (position: below the entries
  // added so far), for a reader that keeps no record of the entries it has read. Between Begin
  // and End only.
  struct LaidOutEntry {
    std::string_view name;
    int type = 0;
    int count = 0;
    const char* type_meta = "";  // the name of the struct or union of its type, if any
  };
  LaidOutEntry EntryAt(size_t position) const;
  // Its name alone, as lookups compare it.
  std::string_view EntryName(size_t position) const;

  // The metalib of the metas added, with its macros (of two with one name, the later value wins).
  ZemMetaLibPtr Finish(const std::vector<std::pair<std::string, int>>& macros);

 private:
  struct Builder;
  bool Succeeded(bool laid_out, std::string* error) const;

  std::unique_ptr<Builder> m_builder;
};

#endif  // VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_
