// KernelClass: the class of a kernel that is made from a kernel file.
//
// It runs a body, a struct derived from the record of parameters (kernel_parameters.h) with
//
//   static constexpr Bool kUsesLinearInvocation;
//   void or Result<void> Run(global ID, local ID, work group ID, number of the invocation, guard is known to hold)
//   const;
//
// one invocation at a time (Kernel) or over many (RunRange): there the body is inlined into a loop along x over a local
// copy of the parameters, compiled for several instruction sets. Both give the same bits.
#pragma once

#include "parallelprogram/program/kernel_base.h"
#include "parallelprogram/program/kernel_declaration_interface.h"
#include "parallelprogram/program/kernel_loops.h"
#include "parallelprogram/program/kernel_steps.h"

namespace ostra::kernel {

template <class GroupSize, class Granularity, class SingleThreadedThreshold, class ReportTable>
struct Tuning {
  static_assert(GroupSize::kX >= 1 && GroupSize::kY >= 1 && GroupSize::kZ >= 1,
                "Every component of GROUPSIZE must be at least 1.");
  using Group = GroupSize;
  static constexpr Int kGranularity = Granularity::kValue;
  static constexpr Int kSingleThreadedThreshold = SingleThreadedThreshold::kValue;
  static constexpr const char* kReportTable = ReportTable::kText;
};

// A parameter as a record names it (kernel_parameters.h).
struct RecordedParameter {
  const char* name;
  DataType type;
  Bool isUsed;
};

// Adds it to the parameters and the declarations of a kernel. One function for all of them: it runs once for each.
// Errors: as of KernelBase::AddParameter.
[[gnu::noinline, gnu::cold]] inline Result<void> DeclareKernelParameter(const RecordedParameter& parameter,
                                                                        const char* kernel, void* member,
                                                                        KernelParameterMap& parameters,
                                                                        BaseArray<KernelDeclaration>& declarations) {
  OSTRA_RETURN_IF_ERROR(
      AddMember(parameters, {"kernelbase_impl", "kernel", kernel}, parameter.name, parameter.type, member));
  const Bool isResource = parameter.type.IsPointer() || parameter.type.IsMadeWith(kBlockParametricType);
  return DeclareMember(declarations, parameter.name, parameter.type, parameter.isUsed && isResource);
}

template <class Derived, class Parameters, class Body, class Tuning>
class KernelClass : public KernelBase<Derived, KernelRangeInterface, KernelDeclarationInterface> {
 public:
  [[gnu::cold]] Result<void> Init() override {
    using Group = typename Tuning::Group;
    this->_workGroupSize = {Group::kX, Group::kY, Group::kZ};
    this->_granularity = Tuning::kGranularity;
    this->_singleThreadedThreshold = Tuning::kSingleThreadedThreshold;
    return _values.ForEach([this](const char* name, auto& member, Bool isUsed) -> Result<void> {
      return DeclareKernelParameter({name, GetDataType<std::remove_reference_t<decltype(member)>>(), isUsed},
                                    Derived::kComponentName, &member, this->_parameters, _declarations);
    });
  }

  const BaseArray<KernelDeclaration>& GetDeclarations() const override { return _declarations; }
  const char* GetReportTable() const override { return Tuning::kReportTable; }

  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>& local, const Vec3<UInt32>& group) override {
    const Body body(_values);
    const UInt32 linear = global.x + GetLinearOffset<typename Tuning::Group>(group.y);
    if constexpr (std::is_void_v<decltype(body.Run(global, local, group, linear, false))>) {
      body.Run(global, local, group, linear, false);
      return OK;
    } else {
      return body.Run(global, local, group, linear, false);
    }
  }

  Result<void> RunRange(const KernelRange& range) override {
    using Loops = RangeLoops<Body, typename Tuning::Group>;
    const Body body(_values);
    if constexpr (Loops::kCanFail) {
      return Loops::RunFallible(body, range);
    } else {
      Loops::Run(body, range);
      return OK;
    }
  }

  UInt32 GetLaneCount() const override { return RangeLoops<Body, typename Tuning::Group>::GetLaneCount(); }

 protected:
  const Parameters& GetValues() const { return _values; }

 private:
  Parameters _values;
  BaseArray<KernelDeclaration> _declarations;
};

}  // namespace ostra::kernel
