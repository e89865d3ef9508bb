// The function cache: functions of a shading language that programs take by number. Process-wide; any thread.
//
//   OSTRA_ASSIGN_OR_RETURN(DrawportFunctionId id, FunctionCache::Add({kShadingLanguageGlsl, definition, "Weight"_s,
//   ...})); OSTRA_RETURN_IF_ERROR(program.AddFunction(DrawportStage::Compute, id));
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"

namespace ostra {

struct DrawportFunctionId {
  Int32 value = 0;  // 0: no function
  explicit operator bool() const { return value != 0; }
  friend Bool operator==(const DrawportFunctionId&, const DrawportFunctionId&) = default;
};

struct DrawportFunction {
  Id language;
  String definition;  // the whole text
  String name;
  String returnType;
  String parameters;  // as text, "float x, float y"
};

namespace FunctionCache {
// The number of a function; one and the same for equal language and text. Functions are kept until the process ends.
// Errors: illegal argument without a text; out of memory.
OSTRA_API Result<DrawportFunctionId> Add(const DrawportFunction& function);
// Error: illegal argument for a number that was not handed out.
OSTRA_API Result<const DrawportFunction&> Find(DrawportFunctionId id);
}  // namespace FunctionCache

}  // namespace ostra
