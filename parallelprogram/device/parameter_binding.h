// How links and values of clients reach the parameters of a program.
#pragma once

#include "ostra/drawport/program_factory.h"
#include "parallelprogram/device/device_counters.h"

namespace ostra {

// What the parameters of a kernel, or of a stage of a graphics program, are linked to: by parameter name.
struct ParameterLinks {
  DataDictionary buffers;   // DataBufferEntry
  DataDictionary textures;  // TextureSamplerEntry
  DataDictionary uniforms;
  GpuCounterTable counters;
};

// Where a binder sets parameters.
struct ParameterTarget {
  DrawportProgramFactory& factory;
  DrawportParameterValueSet& values;
};

// The type of 64 bits of a uniform: "Int64", "UInt64", "Float64". Empty for others and for names that are not there.
std::string_view FindWideType(Block<const DrawportParameter> parameters, const InternedId& name);

// Sets a value with the setter for its type. Gradients are left out: compute programs read black. `wideType` is what
// FindWideType says of the parameter: values of 64 bits are for parameters of their own type only. Errors: illegal
// argument for a type without setter, and for another type of 64 bits; those of the setter.
Result<void> SetParameterValue(const ParameterTarget& target, DrawportParameterHandle handle, const InternedId& name,
                               const Data& value, std::string_view wideType = {});

// Links `entry` to a texture parameter.
Result<void> LinkTexture(DataDictionary& links, const InternedId& attr, const TextureSamplerEntry& entry);

// Binds a buffer: the linked one, and where the link is to the buffer of the parameter's own name, or missing, what
// `globals` have under that name now. Errors: out of memory; those of the setter.
Result<void> BindBuffer(const ParameterTarget& target, DrawportParameterHandle handle,
                        const DrawportParameter& parameter, ParameterLinks& links, const DataDictionary& globals);

// What a texture parameter is linked to, null for nothing. A link whose texture was deleted leads to the program's
// texture of that name, once there is one again. Otherwise it is none, and a parameter without link leads to the
// texture of its own name. Error: out of memory.
Result<const TextureSamplerEntry*> FindLinkedTexture(const DrawportParameter& parameter, ParameterLinks& links,
                                                     const DataDictionary& globals);

// The same for a texture or image. `user` is what the program is for its client, "kernel" or "stage". Error also:
// illegal argument when a texture of other dimensions is linked, or one of several layers to a parameter that is read
// by layer.
Result<void> BindTexture(const ParameterTarget& target, DrawportParameterHandle handle,
                         const DrawportParameter& parameter, ParameterLinks& links, const DataDictionary& globals,
                         std::string_view user);

// Error: illegal argument for a texture of other dimensions than the parameter's; `user` as above.
Result<void> CheckTextureType(const DrawportParameter& parameter, const DrawportTexture& texture,
                              std::string_view user);

}  // namespace ostra
