// KernelBase: what every kernel class builds on. It keeps the parameters and the dispatch tuning values.
//
//   class Scale final : public KernelBase<Scale> {
//    public:
//     static constexpr const char* kComponentName = "com.example.scale";
//     Result<void> Init() override {
//       _workGroupSize = {64, 1, 1};
//       OSTRA_RETURN_IF_ERROR(AddParameter("values", _values));     // Block<Float32> _values;
//       return AddParameter("factor", _factor);                     // Float32 _factor = 1;
//     }
//     Result<void> Kernel(const Vec3<UInt32>& InGlobalInvocationID, const Vec3<UInt32>&, const Vec3<UInt32>&) override;
//   };
//
// Header-only: kernel plug-ins share nothing with the module but the host.
#pragma once

#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_range_interface.h"

namespace ostra {

inline constexpr Id kKernelBaseClass = "net.ostra.kernelclasses.base"_id;

template <class Derived, class... MoreInterfaces>
class KernelBase : public Component<Derived, KernelInterface, MoreInterfaces...> {
 public:
  Result<void> Set(const CString& paramName, const void* data) override {
    return SetMember(_parameters, paramName, data);
  }

  const KernelParameterMap& GetKernelParameterMap() const override { return _parameters; }
  const Vec3<UInt32>& GetKernelWorkGroupSize() const override { return _workGroupSize; }
  const Int& GetSingleThreadedThreshold() const override { return _singleThreadedThreshold; }
  const Int& GetGranularity() const override { return _granularity; }

 protected:
  // Lets the program set `member` under `name`. Errors: out of memory; illegal argument for a name used twice.
  template <class T>
  Result<void> AddParameter(std::string_view name, T& member) {
    return AddMember(_parameters, {"kernelbase_impl", "kernel", Derived::kComponentName}, name, GetDataType<T>(),
                     &member);
  }

  KernelParameterMap _parameters;
  Vec3<UInt32> _workGroupSize{0, 0, 0};
  Int _granularity = 16;
  Int _singleThreadedThreshold = 0;
};

}  // namespace ostra
