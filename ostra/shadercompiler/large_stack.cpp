#include "ostra/shadercompiler/large_stack.h"

#include <pthread.h>

#include <cstring>
#include <exception>

#include "ostra/core/format.h"

OSTRA_UNIT("shader_compiler");

namespace ostra::shadercompiler {

namespace {

struct Work {
  const std::function<void()>& function;
  std::exception_ptr exception;
};

void* RunWork(void* argument) {
  Work& work = *static_cast<Work*>(argument);
  try {
    work.function();
  } catch (...) {
    work.exception = std::current_exception();
  }
  return nullptr;
}

}  // namespace

Result<void> RunOnLargeStack(std::size_t size, const std::function<void()>& work) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return OSTRA_OUT_OF_MEMORY();
  Work shared{work, nullptr};
  pthread_t thread;
  int code = pthread_attr_setstacksize(&attributes, size);
  if (code == 0) code = pthread_create(&thread, &attributes, &RunWork, &shared);
  pthread_attr_destroy(&attributes);
  if (code != 0)
    return OSTRA_ILLEGAL_STATE("The thread that compiles a shader cannot be started: @.", std::strerror(code));
  pthread_join(thread, nullptr);
  if (shared.exception) std::rethrow_exception(shared.exception);
  return OK;
}

}  // namespace ostra::shadercompiler
