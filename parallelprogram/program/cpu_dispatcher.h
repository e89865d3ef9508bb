// CpuDispatcher: spreads the invocations of a range over the worker threads.
#pragma once

#include "ostra/core/atomic.h"
#include "parallelprogram/program/cpu_buffer_elements.h"
#include "parallelprogram/program/cpu_kernel_table.h"
#include "parallelprogram/program/cpu_reports.h"
#include "parallelprogram/program/dispatch_times_interface.h"

namespace ostra {

class CpuDispatcher {
 public:
  // Runs a kernel and waits for it. Errors: illegal state without a kernel that can run, for a work group
  // without a size, for a parameter that is not set, and when a stop was requested; illegal argument for too many work
  // groups; what the kernel fails with; that of an assertion.
  Result<void> Run(const ActiveKernel& active, const Vec3<UInt32>& invocations);

  // The same without being measured.
  Result<void> RunUnmeasured(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  // The invocations of the work groups whose counts are element `offset` of a buffer. Errors: illegal state for a
  // kernel that cannot run and for a work group without a size; illegal argument when there is no buffer, for elements
  // of another type than Vec4<Int32>, and for an offset outside.
  static Result<Vec3<UInt32>> ReadInvocations(const ActiveKernel& active, const BufferSlot* counts, UInt32 offset);

  // Ends the running dispatch and the next ones with an error, until ForgetStop. Any thread.
  void RequestStop();
  void ForgetStop();

  void SetMeasured(Bool isOn) { _isMeasured = isOn; }
  // Times of the dispatches since the last call. What fails has none.
  BaseArray<DispatchTime> TakeTimes();
  CpuReports& GetReports() { return _reports; }

 private:
  Result<void> RunMeasured(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  // For a kernel that reports something, and for others.
  Result<void> RunReported(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  Result<void> RunUnreported(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  Result<void> RunLine(const ActiveKernel& active, UInt32 count);
  // Every extent is raised to one work group, and the total wraps at 32 bits.
  Result<void> RunBox(const ActiveKernel& active, const Vec3<UInt32>& invocations);
  // Error: illegal state when a stop was requested.
  Result<void> CheckStop(const InternedId& kernelId) const;

  Atomic<Byte> _stop;  // ends the running dispatch: bits of cpu_dispatcher.cpp
  Bool _isMeasured = false;
  BaseArray<DispatchTime> _times;
  CpuReports _reports;
};

}  // namespace ostra
