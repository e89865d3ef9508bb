// This file is compiled without the thread sanitizer: the library's own synchronisation is not instrumented, and its
// header parts belong to it. Nothing but a function pointer crosses here; what workers share is synchronised in
// worker_pool.cpp and the files it calls.
#include "ostra/jobs/library_threads.h"

#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "ostra/jobs/worker_pool.h"

namespace ostra::LibraryThreads {
namespace {

// One place is kept for a calling thread; the library warns about more places than it has threads.
int GetArenaSize(Int threadCount) { return static_cast<int>(std::max<Int>(threadCount, 2)); }

struct Library {
  tbb::task_arena arena{GetArenaSize(GetHardwareThreadCount()), 1};
  tbb::task_scheduler_handle handle{tbb::attach{}};

  // Function-local, so that the library is not touched before the first parallel work.
  static Library& Get() {
    alignas(Library) static Byte memory[sizeof(Library)];
    static Library& library = *::new (memory) Library();
    g_library = &library;
    return library;
  }
  static std::atomic<Library*> g_library;
};
std::atomic<Library*> Library::g_library{nullptr};

tbb::global_control* g_limit = nullptr;

// Ends the workers when the process ends or this library is unloaded: no thread may run code that is gone.
struct Ending {
  ~Ending() {
    if (WorkerPool::IsForkedChild()) return;  // the library would wait for threads that stayed with the parent
    WorkerPool::Stop();
    delete g_limit;
    Library* library = Library::g_library;
    if (!library) return;
    library->arena.terminate();
    // Fails when other threads of the process still use the library; their threads do not run our code.
    (void)tbb::finalize(library->handle, std::nothrow);
  }
} g_ending;

}  // namespace

Int GetHardwareThreadCount() { return std::max(tbb::info::default_concurrency(), 1); }

void SetLimit(Int count) {
  delete g_limit;
  g_limit = nullptr;
  tbb::task_arena& arena = Library::Get().arena;
  arena.terminate();
  if (count > GetHardwareThreadCount())
    g_limit = new (std::nothrow)
        tbb::global_control(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count));
  arena.initialize(GetArenaSize(count), 1);
}

Bool Run(void (*function)()) {
  try {
    Library::Get().arena.enqueue(function);
    return true;
  } catch (...) {  // the library reports missing memory and missing threads by exceptions
    return false;
  }
}

}  // namespace ostra::LibraryThreads
