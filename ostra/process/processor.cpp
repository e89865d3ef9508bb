#include "ostra/process/processor.h"

#if defined(__x86_64__)
#include <cpuid.h>
#else
#include <sys/utsname.h>
#endif

namespace ostra {

std::string DescribeProcessor() {
#if defined(__x86_64__)
  // Model and features. The part of leaf 1 that tells the cores of one processor apart is left out.
  std::string text;
  const auto add = [&text](unsigned number) { text.append(std::to_string(number)).append(" "); };
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d)) add(a), add(c), add(d);
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) add(b), add(c), add(d);
  return text;
#else
  utsname name{};
  return uname(&name) == 0 ? name.machine : "";
#endif
}

}  // namespace ostra
