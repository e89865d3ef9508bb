#include "ostra/monitor/event_buffers.h"

#include <mutex>

#include "ostra/core/base_array.h"
#include "ostra/core/intrusive_list.h"

namespace ostra::EventBuffers {
namespace {

// 64 MiB for each thread; a recording that was forgotten must not fill the memory.
constexpr Int kMaxEventCount = Int{1} << 20;

struct Buffer : ListNode<Buffer> {
  explicit Buffer(Int number) : threadNumber(number) {}
  const Int threadNumber;
  std::mutex mutex;
  BaseArray<MonitorEvent> events;  // guarded by mutex
  // Set by the thread when it ends: the buffer then goes with its events.
  std::atomic<bool> threadEnded{false};
};

struct Buffers {
  std::mutex mutex;
  IntrusiveList<Buffer> list;  // guarded by mutex, like the number
  Int threadCount = 0;

  static Buffers& Get() {
    alignas(Buffers) static Byte memory[sizeof(Buffers)];  // never destroyed: threads may outlive static objects
    static Buffers& buffers = *::new (memory) Buffers();
    return buffers;
  }

  Buffer* Add() {
    const std::scoped_lock lock(mutex);
    Buffer* buffer = NewObj<Buffer>(threadCount + 1);
    if (!buffer) return nullptr;
    ++threadCount;
    list.Append(buffer);
    return buffer;
  }
};

std::atomic<Int> g_lostCount{0};

struct ThreadBuffer {
  ~ThreadBuffer() {
    if (buffer) buffer->threadEnded.store(true, std::memory_order_release);
    buffer = nullptr;
  }
  Buffer* buffer = nullptr;
};
thread_local ThreadBuffer t_buffer;

Buffer* GetBuffer() {
  if (!t_buffer.buffer) t_buffer.buffer = Buffers::Get().Add();
  return t_buffer.buffer;
}

}  // namespace

void Append(UInt32 recording, const MonitorEvent& event) {
  if (Buffer* buffer = GetBuffer()) {
    const std::scoped_lock lock(buffer->mutex);
    if (g_monitorRecording.load(std::memory_order_relaxed) != recording) return;
    if (buffer->events.GetCount() < kMaxEventCount && buffer->events.Append(event)) return;
  }
  g_lostCount.fetch_add(1, std::memory_order_relaxed);
}

void TakeAll(TraceFile* file) {
  Buffers& buffers = Buffers::Get();
  const std::scoped_lock lock(buffers.mutex);
  for (Buffer* buffer = buffers.list.GetFirst(); buffer;) {
    Buffer* next = buffer->GetNext();
    const Bool ended = buffer->threadEnded.load(std::memory_order_acquire);
    BaseArray<MonitorEvent> events;
    {
      const std::scoped_lock bufferLock(buffer->mutex);
      events = std::move(buffer->events);
    }
    for (const MonitorEvent& event : events) {
      if (file) file->Write(buffer->threadNumber, event);
    }
    if (ended) buffers.list.Free(buffer);
    buffer = next;
  }
}

Int TakeLostCount() { return g_lostCount.exchange(0, std::memory_order_relaxed); }

}  // namespace ostra::EventBuffers
