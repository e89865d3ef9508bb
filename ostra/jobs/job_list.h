// A list of jobs, linked through one pair of their links. Guarded by the queue's lock.
#pragma once

#include "ostra/jobs/job.h"

namespace ostra {

template <JobLinks Job::*kLinks>
class JobList {
 public:
  void Append(Job& job) {
    (job.*kLinks).previous = _last;
    (_last ? (_last->*kLinks).next : _first) = &job;
    _last = &job;
  }

  void Remove(Job& job) {
    const JobLinks links = std::exchange(job.*kLinks, {});
    (links.previous ? (links.previous->*kLinks).next : _first) = links.next;
    (links.next ? (links.next->*kLinks).previous : _last) = links.previous;
  }

  Job* GetFirst() const { return _first; }

 private:
  Job* _first = nullptr;
  Job* _last = nullptr;
};

}  // namespace ostra
