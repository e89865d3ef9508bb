// A kernel of the CPU program: its object, what it is linked to, and what it holds since its last update.
#pragma once

#include <optional>

#include "ostra/core/array.h"
#include "ostra/core/data_dictionary.h"
#include "ostra/io/url.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/program/kernel_declaration_interface.h"
#include "parallelprogram/program/kernel_group_interface.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_range_interface.h"
#include "parallelprogram/program/kernel_report.h"
#include "parallelprogram/program/unknown_names.h"

namespace ostra {

// A parameter that the kernel object holds an address for: of a buffer, a texture or a counter.
struct HandedOver {
  InternedId name;
  const void* resource = nullptr;  // the buffer's slot, the sampler or the counter
  friend bool operator==(const HandedOver&, const HandedOver&) = default;
};

// What an invocation takes, in ticks of ostra/jobs/ticks.h.
struct InvocationCost {
  Float64 ticks = 0;  // 0: unknown
  Bool isOld = true;  // not measured since the last update
};

struct CpuKernel {
  InternedId kernelId;  // of a copy: the ID of its source
  Url file;
  String sourceName;  // empty for a copy, which is not counted as a program
  DataDictionary bufferLinks;
  DataDictionary uniforms;
  DataDictionary atomicLinks;
  DataDictionary textureLinks;
  KernelRef kernel;                                    // null in a copy whose creation failed
  KernelRangeInterface* range = nullptr;               // the kernel's range interface, when it has one
  KernelGroupInterface* groups = nullptr;              // when its invocations exchange values
  KernelDeclarationInterface* declarations = nullptr;  // the same for its declarations
  const KernelDeclaration* unset = nullptr;            // what the kernel needs and does not have
  std::optional<KernelReportTable> reports;            // of a kernel that reports something
  BaseArray<UInt32> reportWords;                       // that it writes
  UnknownNames unknownNames;
  InvocationCost cost;
  BaseArray<Block<Generic>> bufferBlocks;
  BaseArray<HandedOver> handedOver;
  BaseArray<HandedOver> handedOverBefore;  // while an update runs: what the kernel held until then
  BaseArray<RenderNoiseRef> noises;        // its place stays, because kernels keep the block
  Block<RenderNoiseRef> noiseBlock;

  // Creates the kernel object from its class and prepares it. Errors: those of the class and of the object's Init.
  Result<void> CreateObject(const Class& kernelClass);
  // None for a kernel that does not say what it declares.
  const BaseArray<KernelDeclaration>& GetDeclarations() const;
  // Notes in `unset` what the kernel needs and does not have.
  void FindUnset();
};

}  // namespace ostra
