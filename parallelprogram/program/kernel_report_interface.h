// KernelReportInterface: an optional interface of program objects that take what kernels report with PRINT and ASSERT.
// Both programs have it.
//
//   KernelReportInterface& reports = *FindInterface<KernelReportInterface>(*program);
//   ... UpdateUniforms, DispatchKernel ...
//   OSTRA_ASSIGN_OR_RETURN(const KernelPrints taken, reports.TakePrints());
//   for (const KernelPrint& print : taken.prints) Show(print.file, print.line, print.invocation, print.text);
//
// A kernel without PRINT and ASSERT costs nothing. For one that has them DispatchKernel waits until it has ended, on a
// GPU too, and gives the error of an assertion that did not hold: illegal state with "file:line:column: error: ...". Of
// several invocations that fail the first one is told. The same holds for checked kernels (KernelReportOptions); what
// such a kernel has left in its buffers when it fails is of no use.
#pragma once

#include <optional>

#include "ostra/core/base_array.h"
#include "ostra/core/interned_id.h"
#include "ostra/core/string.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

struct KernelPrint {
  InternedId kernel;  // that was active
  String file;        // of the PRINT: the kernel file or a header
  Int32 line = 0, column = 0;
  Vec3<UInt32> invocation;  // InGlobalInvocationID; in one dimension x alone counts
  Int32 dimensions = 1;     // of the dispatch: 1 to 3
  String text;              // with the values in it
};

struct KernelPrints {
  BaseArray<KernelPrint> prints;  // dispatch by dispatch, in each by invocation, then in the order of printing
  Int lostCount = 0;              // prints that there was no room for
};

// What is compiled into kernels.
struct KernelReportOptions {
  Bool hasReports = true;  // PRINT and ASSERT; otherwise they are left out, with all that they compute
  // Indices of buffers and arrays, layers of textures, whole numbers that are divided by, and endless loops are
  // checked: the first invocation that fails becomes the error of the dispatch. Kernels must be of the language alone.
  Bool hasChecks = false;
  // The values that one invocation writes are recorded as prints "name = value", "Function: name = value" in functions;
  // PRINT and ASSERT are left out, and there are no checks. Kernels must be of the language alone.
  Bool isTraced = false;
  friend Bool operator==(const KernelReportOptions&, const KernelReportOptions&) = default;
};

// What traced kernels record. Nothing of it is set: they record nothing.
struct KernelTrace {
  std::optional<Vec3<UInt32>> invocation;  // whose values are recorded
  // All invocations record what they store into this element of a buffer, or, with the name of a counter and element 0,
  // what they do to the counter: "AtomicAdd(hits) = 1".
  InternedId watchedBuffer;
  std::optional<UInt32> watchedElement;
};

class KernelReportInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.kernelreportinterface"_id;

  // Holds for kernels that are added from now on. Error: not implemented: CPU: kernels report what they were built
  // with, see ostra-kernelc and ostra_add_kernels.
  virtual Result<void> SetReportOptions(const KernelReportOptions& options) = 0;
  // How many bytes a dispatch may print, with 8 bytes for each print and 4 for each number; 1 MiB unless it is set.
  // What does not fit is counted; which prints those are is not certain. Error: illegal argument below 0 or above 1
  // GiB.
  virtual Result<void> SetPrintRoom(Int bytes) = 0;
  // How many steps the loops of an invocation may take together in checked kernels; 10,000,000 unless it is set.
  virtual void SetStepLimit(UInt32 steps) = 0;
  // Holds for dispatches of traced kernels from now on.
  virtual void SetTrace(const KernelTrace& trace) = 0;
  // What was printed since the last call. At most 1,000,000 prints are kept between two calls; others count as lost.
  // Error: out of memory.
  virtual Result<KernelPrints> TakePrints() = 0;
};

}  // namespace ostra
