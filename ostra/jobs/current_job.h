// Sets the current job of a thread, until the object is destroyed. Internal to this folder.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

class Job;

class CurrentJobScope {
 public:
  explicit CurrentJobScope(Job* job);
  ~CurrentJobScope();
  CurrentJobScope(const CurrentJobScope&) = delete;
  CurrentJobScope& operator=(const CurrentJobScope&) = delete;

 private:
  Job* _previous;
};

}  // namespace ostra
