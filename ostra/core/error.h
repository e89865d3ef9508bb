// Error: why an operation failed. One pointer wide, cheap to copy and move.
//
// Which kind to raise:
//   IllegalArgument  the caller passed something wrong; calling again with the same values fails again
//   IllegalState     the call came at the wrong time; fix the object's state first (add a kernel, open a context)
//   OutOfMemory      an allocation failed; making this error allocates nothing
//   NotImplemented   the operation does not exist on this class, now or ever
//
// A file that raises errors declares its unit once at its top and uses the macros:
//
//   OSTRA_UNIT("parallelprogram_cpu_impl");
//   return OSTRA_ILLEGAL_STATE("no active kernel set");
//   return OSTRA_ILLEGAL_ARGUMENT("source size @ must be a multiple of @.", size, 16);   // needs format.h
//
// Errors own copies of all their texts, so they outlive the module that raised them. Thread-safe to read and copy.
#pragma once

#include <cstdint>

#include "ostra/core/id.h"

namespace ostra {

inline constexpr Id kIllegalStateError = "net.ostra.interface.illegalstateerror"_id;
inline constexpr Id kIllegalArgumentError = "net.ostra.interface.illegalargumenterror"_id;
inline constexpr Id kOutOfMemoryError = "net.ostra.interface.outofmemoryerror"_id;
inline constexpr Id kNotImplementedError = "net.ostra.interface.notimplementederror"_id;

struct ErrorRecord;
struct SourceErrors;

class OSTRA_API Error {
 public:
  // An error of `kind` with the exact text `message`, raised in `unit` at `line`. When there is no memory for it, it
  // becomes the out-of-memory error.
  static Error Make(const Id& kind, std::string_view message, const char* unit, Int32 line);
  static Error MakeOutOfMemory(const char* unit, Int32 line);

  Error(const Error& other) noexcept : _record(other._record) {
    if (!IsTaken()) AddRef(_record);
  }
  Error(Error&& other) noexcept : _record(other._record) {
    if (!IsTaken()) other._record = GetTakenMark();
  }
  Error& operator=(Error other) noexcept {
    std::swap(_record, other._record);
    return *this;
  }
  ~Error() {
    if (!IsTaken()) Release(_record);
  }

  const Id& GetKind() const;
  const String& GetMessage() const;
  // The unit (a group of source files) and the source line where the error was raised. The text lives as long as this
  // error or a copy of it; at most 63 bytes of the unit's name are kept.
  std::string_view GetUnit() const;
  Int32 GetLine() const;

  // True for an object that was moved from; it has none of the values above.
  Bool IsTaken() const { return reinterpret_cast<std::uintptr_t>(_record) <= TAKEN; }

  // "message [unit:line]". Error: out of memory.
  Result<String> ToString() const;

 private:
  // No record has this address. A Result that is OK holds null instead, and stays OK when it is moved from.
  static constexpr std::uintptr_t TAKEN = 1;
  static ErrorRecord* GetTakenMark() { return reinterpret_cast<ErrorRecord*>(TAKEN); }
  // An error that is never taken for success.
  static Error Failed(Error error) {
    if (!error._record) error._record = GetTakenMark();
    return error;
  }
  static void AddRef(ErrorRecord* record);
  static void Release(ErrorRecord* record);

  explicit Error(ErrorRecord* record) : _record(record) {}
  ErrorRecord* _record;

  template <class T>
  friend class Result;
  friend struct SourceErrors;  // source_message.h
};

}  // namespace ostra

// Names the unit that errors of this file are raised in.
#define OSTRA_UNIT(name)                                    \
  namespace {                                               \
  [[maybe_unused]] constexpr const char* kOstraUnit = name; \
  }                                                         \
  static_assert(true)

#define OSTRA_OUT_OF_MEMORY() ::ostra::Error::MakeOutOfMemory(kOstraUnit, __LINE__)
