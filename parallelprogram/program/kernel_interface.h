// KernelInterface: the contract between a kernel object and the CPU program that runs it.
#pragma once

#include "ostra/math/data_types.h"
#include "ostra/object/interface.h"
#include "ostra/object/members.h"

namespace ostra {

// The registry of all classes that implement KernelInterface.
inline constexpr Id kKernelClassRegistry = "net.ostra.registry.kernelclasses"_id;

// A parameter of a kernel: its type and the address of the member that receives the value.
using KernelParameter = Member;
using KernelParameterMap = MemberMap;

class KernelInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.kernelinterface"_id;

  // Computes one invocation. Global ID = work group ID * work group size + local ID, per component. Called from many
  // threads at once; must not change the object except through parameters that point to shared buffers or counters.
  // The first error ends the dispatch. An exception does so as well: it becomes an error of the dispatch, illegal state
  // or out of memory. The other methods must not throw.
  virtual Result<void> Kernel(const Vec3<UInt32>& InGlobalInvocationID, const Vec3<UInt32>& InLocalInvocationID,
                              const Vec3<UInt32>& InWorkGroupID) = 0;

  // Gives a parameter its value. A parameter of a pointer type receives `data` itself; any other is copied from one
  // value of exactly its type at `data`. Unknown names are ignored. A resource that the parameter is no longer linked
  // to is taken back: a parameter of a pointer type then receives null, one of a block type an empty block. Error: that
  // of copying the value.
  virtual Result<void> Set(const CString& paramName, const void* data) = 0;

  // One-time preparation after creation.
  virtual Result<void> Init() = 0;

  // The parameters by name, spelled as links and uniforms of the program spell them.
  virtual const KernelParameterMap& GetKernelParameterMap() const = 0;

  // Invocations of one work group per axis; every component at least 1 once the kernel can be dispatched.
  virtual const Vec3<UInt32>& GetKernelWorkGroupSize() const = 0;

  // One-dimensional dispatches of at most this many invocations run on the calling thread, in ascending order.
  virtual const Int& GetSingleThreadedThreshold() const = 0;

  // Invocations that a worker takes at a time, at least, in a one-dimensional parallel dispatch.
  virtual const Int& GetGranularity() const = 0;
};

namespace Kernel {
using KernelRef = StrongRef<KernelInterface>;
}
using Kernel::KernelRef;

}  // namespace ostra
