#include "ostra/core/error.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/core/memory.h"
#include "ostra/core/result.h"
#include "ostra/core/source_message.h"

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
  std::vector<SourceMessage> sources;  // that the message was made of
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

// What makes and reads errors about sources.
struct SourceErrors {
  static Error Make(const Id& kind, std::vector<SourceMessage> messages, const char* unit, Int32 line) {
    Error error = Error::Make(kind, FormatSourceMessages(messages), unit, line);
    if (!error._record->pooled) error._record->sources = std::move(messages);
    return error;
  }
  static std::span<const SourceMessage> Get(const Error& error) { return error._record->sources; }
};

Error MakeSourceError(std::vector<SourceMessage> messages, const char* unit, Int32 line, const Id& kind) {
  return CatchOutOfMemory(unit, line, [&] { return SourceErrors::Make(kind, std::move(messages), unit, line); });
}

Error MakeSourceError(std::string_view file, Int sourceLine, std::string_view text, const char* unit, Int32 line,
                      const Id& kind) {
  return CatchOutOfMemory(unit, line, [&] {
    SourceMessage message{.file = std::string(file), .line = sourceLine, .text = std::string(text)};
    return SourceErrors::Make(kind, {std::move(message)}, unit, line);
  });
}

std::span<const SourceMessage> GetSourceMessages(const Error& error) { return SourceErrors::Get(error); }

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
