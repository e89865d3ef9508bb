// Kernels whose invocations exchange values in group memory: their bodies run a whole work group at a time.
//
// The front step makes them of kernel files (PrintGroupCode). A body is a struct derived from the record of parameters
// with
//
//   struct OstraMemory { ... };      // arrays of the group, and variables that live across a barrier
//   void RunGroup(const Vec3<UInt32>& InWorkGroupID, OstraMemory& memory) const;
//
// A second form of the body, for each instruction level, runs the pieces between barriers in lanes along x of the group
// (kernel_lane_groups.inl).
#pragma once

#include "parallelprogram/base/kernel_checks.h"
#include "parallelprogram/program/kernel_class.h"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_group_memories.h"

namespace ostra::kernel {

// Calls run(global ID, local ID, number of the invocation in the dispatch, number in the group) for each invocation.
template <class Group, class Run>
OSTRA_KERNEL_INLINE void ForEachInvocation(const Vec3<UInt32>& group, const Run& run) {
  UInt32 number = 0;
  const Vec3<UInt32> first(group.x * Group::kX, group.y * Group::kY, group.z * Group::kZ);
  const UInt32 linearOffset = GetLinearOffset<Group>(group.y);
  for (UInt32 z = 0; z < Group::kZ; ++z) {
    for (UInt32 y = 0; y < Group::kY; ++y) {
      for (UInt32 x = 0; x < Group::kX; ++x, ++number)
        run(Vec3<UInt32>(first.x + x, first.y + y, first.z + z), Vec3<UInt32>(x, y, z), first.x + x + linearOffset,
            number);
    }
  }
}

// Copies an array, and arrays in it, element by element.
template <class T>
void CopyArray(T& target, const T& source) {
  if constexpr (std::is_array_v<T>) {
    for (std::size_t i = 0; i < std::extent_v<T>; ++i) CopyArray(target[i], source[i]);
  } else {
    target = source;
  }
}

// Element `index` of an array in group memory.
template <class T, std::size_t count, class Index>
OSTRA_KERNEL_INLINE T& GetGroupElement(T (&array)[count], Index index, [[maybe_unused]] const char* name,
                                       [[maybe_unused]] const char* file, [[maybe_unused]] int line) {
#ifdef OSTRA_CHECK_KERNEL_INDICES
  const Int position = static_cast<Int>(index);
  if (position < 0 || position >= static_cast<Int>(count))
    FailBufferIndex(name, file, line, position, static_cast<Int>(count));
#endif
  return array[index];
}

// The wide form of a body for an instruction level; a kernel that has one specializes this:
//
//   static constexpr Bool kExists = true;
//   static constexpr UInt32 kCount = 8;                   // invocations at a time
//   static void Run(const Values& values, const KernelGroups& groups, Body::OstraMemory& memory);
template <class Body, InstructionLevel level>
struct GroupForm {
  static constexpr Bool kExists = false;
  static constexpr UInt32 kCount = 1;
};

// Chooses between the forms of a body.
template <class Body, class Group>
class GroupForms {
 public:
  // Calls use(form) with the best wide form that there is for the processor's level or a lower one. Returns false if
  // there is none.
  template <class Use>
  static Bool UseWide(Use&& use) {
#ifdef OSTRA_KERNEL_ONLY_LEVEL
    return UseLevel<static_cast<InstructionLevel>(OSTRA_KERNEL_ONLY_LEVEL)>(use);
#else
#ifdef OSTRA_KERNEL_LEVELS
    // Rows of a few invocations leave no lanes off.
    if (g_instructionLevel >= InstructionLevel::kVectors512 && Group::kX > 8 &&
        UseLevel<InstructionLevel::kVectors512>(use))
      return true;
    if (g_instructionLevel >= InstructionLevel::kVectors256 && Group::kX > 4 &&
        UseLevel<InstructionLevel::kVectors256>(use))
      return true;
#endif
    return UseLevel<InstructionLevel::kBaseline>(use);
#endif
  }

 private:
  template <InstructionLevel level, class Use>
  static Bool UseLevel(Use&& use) {
    using Form = GroupForm<Body, level>;
    if constexpr (Form::kExists) use(Form());
    return Form::kExists;
  }
};

template <class Derived, class Parameters, class Body, class Tuning>
class GroupKernelClass : public KernelBase<Derived, KernelGroupInterface, KernelDeclarationInterface> {
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

  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    return Error::Make(kIllegalStateError, "The invocations of this kernel exchange values: it runs whole groups.",
                       "parallelprogram_kernel", __LINE__);
  }

  Result<void> RunGroups(const KernelGroups& groups) override {
    const Body body(_values);
    const UsedGroupMemory<typename Body::OstraMemory> memory(_memories);
    if (!memory) return Error::MakeOutOfMemory("parallelprogram_kernel", __LINE__);
    const auto runWide = [&](auto form) { form.Run(body, groups, *memory); };
    if (!groups.isOrdered && Forms::UseWide(runWide)) return OK;
    const Vec3<UInt32>& count = groups.count;
    for (UInt64 i = groups.first; i < groups.end; ++i) {
      const UInt64 row = i / count.x;
      body.RunGroup(Vec3<UInt32>(static_cast<UInt32>(i % count.x), static_cast<UInt32>(row % count.y),
                                 static_cast<UInt32>(row / count.y)),
                    *memory);
    }
    return OK;
  }

  UInt32 GetLaneCount() const override {
    UInt32 count = 1;
    Forms::UseWide([&](auto form) { count = form.kCount; });
    return count;
  }

 private:
  using Forms = GroupForms<Body, typename Tuning::Group>;

  Parameters _values;
  BaseArray<KernelDeclaration> _declarations;
  GroupMemories _memories;
};

}  // namespace ostra::kernel

// The class of a kernel that runs whole groups; the members of its body follow in braces.
#define OSTRA_GROUP_KERNEL_CLASS(name, ...)                                                                      \
  struct name##Body;                                                                                             \
  class name final : public ::ostra::kernel::GroupKernelClass<                                                   \
                         name, __VA_ARGS__, name##Body,                                                          \
                         ::ostra::kernel::Tuning<OstraGroupSize, OstraGranularity, OstraSingleThreadedThreshold, \
                                                 OstraReportTable>> {                                            \
   public:                                                                                                       \
    static constexpr const char* kComponentName = #name;                                                         \
  };                                                                                                             \
  struct name##Values : __VA_ARGS__ {                                                                            \
    explicit name##Values(const __VA_ARGS__& values) : __VA_ARGS__(values) {}                                    \
    [[maybe_unused]] static constexpr ::ostra::Vec3<::ostra::UInt32> InWorkGroupSize{                            \
        OstraGroupSize::kX, OstraGroupSize::kY, OstraGroupSize::kZ};                                             \
  };                                                                                                             \
  struct name##Body : name##Values
