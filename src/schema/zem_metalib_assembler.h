// Builds a metalib one struct or union at a time, for a reader that describes each one after the
// metas its entries name: each description is laid out when it is added and can be dropped then,
// so that a whole file's description never stands in memory beside its metalib.
#ifndef VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_
#define VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <velmora/zem_builder.h>

class ZemMetaLibAssembler {
 public:
  ZemMetaLibAssembler(const std::string& name, int version);
  ~ZemMetaLibAssembler();
  ZemMetaLibAssembler(const ZemMetaLibAssembler&) = delete;
  ZemMetaLibAssembler& operator=(const ZemMetaLibAssembler&) = delete;

  // Lays out the next struct or union. Returns false and sets *error when its name is taken or a
  // name it must resolve (a key member, split key entry, index column, refer, or a type meta
  // added before it) is missing; nothing more should be added then.
  bool Add(const ZemMetaDef& meta, std::string* error);

  // The metalib of the metas added, with its macros (of two with one name, the later value wins).
  ZemMetaLibPtr Finish(const std::vector<std::pair<std::string, int>>& macros);

 private:
  struct Builder;
  std::unique_ptr<Builder> m_builder;
};

#endif  // VELMORA_SCHEMA_ZEM_METALIB_ASSEMBLER_H_
