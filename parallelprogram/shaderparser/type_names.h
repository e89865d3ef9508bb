// The names of types in kernel files, and the names that generated declarations use for them.
//
//   DataTypeFromTypeName("Vector32") == DataTypeFromTypeName("vec3");
//   ShaderTypeName(DataTypeFromTypeName("Vector32"), "", kTargetGlsl);      // "vec3"
//
// Thread-safe; nothing is allocated.
#pragma once

#include "ostra/core/data_type.h"

namespace ostra {

// The languages that kernel files are translated into.
inline constexpr Id kTargetHlsl = "HLSL"_id;
inline constexpr Id kTargetGlsl = "GLSL"_id;
inline constexpr Id kTargetMetal = "METAL"_id;

// The type that a kernel file calls `name`, exactly as it is written; no type for an unknown name.
DataType DataTypeFromTypeName(std::string_view name);

// The same of a parameter in a text that the front end of the kernel language has written: more types are known there.
DataType DataTypeFromWrittenName(std::string_view name);

// Every name that DataTypeFromTypeName knows, by a number from 0; empty beyond the last.
std::string_view GetTypeName(Int index);

// The name of `type` in generated declarations; `fallback` for a type that kernel files have no name for. All languages
// share the names but for the atomic counter.
CString ShaderTypeName(DataType type, const CString& fallback, const Id& targetLanguage);

}  // namespace ostra
