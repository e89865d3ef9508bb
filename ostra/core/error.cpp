#include "ostra/core/error.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "ostra/core/format.h"
#include "ostra/core/memory.h"
#include "ostra/core/result.h"

OSTRA_UNIT("error");

namespace ostra {

constexpr std::size_t kUnitSize = 64;

struct ErrorRecord {
  std::atomic<Int32> references{0};
  Bool pooled = false;
  Id kind;
  String message;
  Int32 line = 0;
  char unit[kUnitSize] = {};
};

namespace {

// Ready-made records, so that reporting exhausted memory needs none. When more errors than these are alive at once,
// the last one is shared and loses its location.
constexpr std::size_t kPoolSize = 64;

struct OutOfMemoryPool {
  std::array<ErrorRecord, kPoolSize> records;
  ErrorRecord shared;
  OutOfMemoryPool() {
    for (ErrorRecord& record : records) Prepare(record);
    Prepare(shared);
    shared.references = 1;
  }
  static void Prepare(ErrorRecord& record) {
    record.pooled = true;
    record.kind = kOutOfMemoryError;
    record.message = "Out of memory."_s;
  }
};

OutOfMemoryPool& GetPool() {
  // Never destroyed: errors may be alive while the process ends.
  alignas(OutOfMemoryPool) static char memory[sizeof(OutOfMemoryPool)];
  static OutOfMemoryPool* pool = ::new (memory) OutOfMemoryPool();
  return *pool;
}
[[maybe_unused]] const OutOfMemoryPool& g_poolMadeAtLoad = GetPool();

void SetLocation(ErrorRecord& record, const char* unit, Int32 line) {
  std::snprintf(record.unit, kUnitSize, "%s", unit);
  record.line = line;
}

}  // namespace

Error Error::MakeOutOfMemory(const char* unit, Int32 line) {
  OutOfMemoryPool& pool = GetPool();
  for (ErrorRecord& record : pool.records) {
    Int32 free = 0;
    if (record.references.load(std::memory_order_relaxed) != 0 ||
        !record.references.compare_exchange_strong(free, 1, std::memory_order_acquire))
      continue;
    SetLocation(record, unit, line);
    return Error(&record);
  }
  pool.shared.references.fetch_add(1, std::memory_order_relaxed);
  return Error(&pool.shared);
}

Error Error::Make(const Id& kind, std::string_view message, const char* unit, Int32 line) {
  auto ownedKind = Id::Create(kind.GetView());
  auto ownedMessage = String::Create(message);
  ErrorRecord* record = ownedKind && ownedMessage ? NewObj<ErrorRecord>() : nullptr;
  if (!record) return MakeOutOfMemory(unit, line);
  record->references = 1;
  record->kind = *ownedKind;
  record->message = *ownedMessage;
  SetLocation(*record, unit, line);
  return Error(record);
}

void Error::AddRef(ErrorRecord* record) { record->references.fetch_add(1, std::memory_order_relaxed); }

void Error::Release(ErrorRecord* record) {
  if (record->references.fetch_sub(1, std::memory_order_acq_rel) == 1 && !record->pooled) DeleteObj(record);
}

const Id& Error::GetKind() const { return _record->kind; }
const String& Error::GetMessage() const { return _record->message; }
std::string_view Error::GetUnit() const { return _record->unit; }
Int32 Error::GetLine() const { return _record->line; }

Result<String> Error::ToString() const { return Format("@ [@:@]", GetMessage(), GetUnit(), GetLine()); }

void FailValueAccess(const Error& error) {
  const String& message = error.IsTaken() ? "(its error was taken)"_s : error.GetMessage();
  std::fprintf(stderr, "The value of a failed Result was used: %.*s\n", static_cast<int>(message.GetCount()),
               message.GetView().data());
  std::abort();
}

}  // namespace ostra
