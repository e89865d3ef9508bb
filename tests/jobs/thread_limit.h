// Sets the number of threads for one test.
#pragma once

#include "ostra/jobs/worker_threads.h"

namespace ostra {

struct ThreadLimit {
  explicit ThreadLimit(Int count) { SetWorkerThreadLimit(count); }
  ~ThreadLimit() { SetWorkerThreadLimit(0); }
  ThreadLimit(const ThreadLimit&) = delete;
  ThreadLimit& operator=(const ThreadLimit&) = delete;
};

}  // namespace ostra
