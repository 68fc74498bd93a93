// Watching the failures of CheckTable as they are reported: which element of the schema each one
// judged, with its result, the message and the text it was made from. A host that shows failures
// at their place in a schema file (an editor, the command line) installs an observer around the
// checks; without one the checks cost a single test of a null pointer more.
#ifndef VELMORA_CHECK_TABLE_FINDINGS_H_
#define VELMORA_CHECK_TABLE_FINDINGS_H_

#include <velmora/export.h>

// The kind of schema element a failure is about, and what its handle then points at.
enum class CheckTableElementKind {
  kTable,            // the table as a whole (its name, its kind, its counts); the meta, or NULL
                     // when the check has no meta for it (a bad name, a table not found)
  kEntry,            // a field: its LPZEMMETAENTRY (of the table or of a struct it contains)
  kIndex,            // an index: its LPZEMMETAINDEX
  kPrimaryKey,       // the table's primary key attribute: the meta
  kSplitTableKey,    // the table's split table key attribute: the meta
  kTableAttributes,  // the table's attribute string (customattr2): the meta
  kEntryAttributes,  // a field's attribute string (customattr2): its LPZEMMETAENTRY
};

struct CheckTableElement {
  CheckTableElementKind kind = CheckTableElementKind::kTable;
  const void* handle = nullptr;
};

// One failure, as a check reports it. The pointers are valid during the call only.
struct CheckTableFailure {
  // The result the check reports with it; 0 for a note logged at error priority although
  // nothing failed ("Table dose not have indexs, ...").
  int result = 0;
  int priority = 0;  // the log priority of the line
  // The text the message was made from, as written in the checker ("CheckIndex failed!
  // table:'%s',ret:%d"); a message built from schema names is its own format here.
  const char* format = nullptr;
  const char* message = nullptr;  // the line as written, whether or not it was logged
  CheckTableElement element;
};

// Receives the failures of the checks run on this thread while it is installed.
class VELMORA_API CheckTableObserver {
 public:
  virtual ~CheckTableObserver();
  // Called once per line logged at error priority (whether or not the category writes it), in
  // the order the checks report them. Must not throw.
  virtual void OnFailure(const CheckTableFailure& failure) = 0;
};

// Installs an observer for the checks run on the calling thread while this guard lives; the
// observer installed before it is restored at its end. observer may be NULL (no observer).
class VELMORA_API ScopedCheckTableObserver {
 public:
  explicit ScopedCheckTableObserver(CheckTableObserver* observer);
  ~ScopedCheckTableObserver();

  ScopedCheckTableObserver(const ScopedCheckTableObserver&) = delete;
  ScopedCheckTableObserver& operator=(const ScopedCheckTableObserver&) = delete;

 private:
  CheckTableObserver* m_previous;
};

#endif  // VELMORA_CHECK_TABLE_FINDINGS_H_
