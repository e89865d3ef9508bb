// Vertex attributes: how the bytes of a vertex are read (layout), and from which buffers (set).
//
//   const auto describe = [&](DrawportVertexAttributeLayoutDescription& layout) -> Result<void> {
//     OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(0, DrawportShaderValueType::Float3, "position"_iid));
//     OSTRA_RETURN_IF_ERROR(layout.AllocVertexAttribute(12, DrawportShaderValueType::Float2, "uv"_iid));
//     return layout.InitVertexAttributes(0);
//   };
//   OSTRA_ASSIGN_OR_RETURN(auto callback, DrawportVertexAttributeLayoutDescribe::Create(describe));
//   OSTRA_ASSIGN_OR_RETURN(auto layout, cache->GetVertexAttributeLayout(callback));
#pragma once

#include "ostra/core/delegate.h"
#include "ostra/drawport/context.h"
#include "ostra/drawport/graphics_objects.h"

namespace ostra {

// Bytes of an attribute in a buffer; 0 for types that no attribute can have. Scalars and vectors can.
OSTRA_API Int GetVertexAttributeSize(DrawportShaderValueType type);

class OSTRA_API DrawportVertexAttributeLayoutDescription {
 public:
  // Adds an attribute. Errors: illegal argument for a type that no attribute can have (scalars and vectors can), an
  // offset that is negative or no multiple of 4, an empty name or one that is taken; illegal state after
  // InitVertexAttributes; out of memory.
  Result<void> AllocVertexAttribute(Int offset, DrawportShaderValueType type, InternedId name);
  // Ends the description. 0: a vertex each; 1: an instance each. Errors: illegal argument for another number or an
  // attribute that reaches behind the sum of all sizes; illegal state the second time.
  Result<void> InitVertexAttributes(Int32 perInstance);

  const BaseArray<DrawportVertexAttribute>& GetAttributes() const { return _attributes; }
  Int GetStride() const { return _stride; }
  Bool IsPerInstance() const { return _isPerInstance; }
  Bool IsInitialized() const { return _isInitialized; }

 private:
  BaseArray<DrawportVertexAttribute> _attributes;
  Int _stride = 0;
  Bool _isPerInstance = false;
  Bool _isInitialized = false;
};

class DrawportVertexAttributeLayoutItemInterface : public DrawportObject {
 public:
  virtual const DrawportVertexAttributeLayout& GetLayout() const = 0;

 protected:
  ~DrawportVertexAttributeLayoutItemInterface() = default;
};
using DrawportVertexAttributeLayoutItemRef = StrongRef<DrawportVertexAttributeLayoutItemInterface>;
using DrawportVertexAttributeLayoutDescribe =
    Delegate<Result<void>(DrawportVertexAttributeLayoutDescription& description)>;

class OSTRA_API DrawportVertexAttributeSetDescription {
 public:
  explicit DrawportVertexAttributeSetDescription(const DrawportVertexAttributeLayout& layout) : _layout(layout) {}

  // The buffer of an attribute, and which of its sub-buffers; null while there is none. The attribute "uv" is also
  // called "texUv". Errors: illegal argument for a name that the layout does not have, or another sub-buffer than that
  // of other attributes; out of memory.
  Result<void> Assign(InternedId name, DrawportVertexBuffer* buffer, DrawportDeviceBuffer* subBuffer = nullptr);

  // Forgets all buffers.
  void Clear();
  DrawportVertexBuffer* GetVertexBuffer(InternedId name) const;
  // The sub-buffer that was named first; null when none was.
  DrawportDeviceBuffer* GetDeviceBuffer() const { return _subBuffer; }

 private:
  const DrawportVertexAttributeLayout& _layout;
  BaseArray<DrawportVertexBuffer*> _buffers;  // by attribute; empty while there is none
  DrawportDeviceBuffer* _subBuffer = nullptr;
};

class DrawportVertexAttributeSetItemInterface : public DrawportObject {
 public:
  // Runs the callback of the set again: buffers may have changed. The set stays the same one. Errors: those of the
  // callback; out of memory.
  virtual Result<DrawportVertexAttributeSet*> MakeValid(DrawportContextInterface& context) = 0;

 protected:
  ~DrawportVertexAttributeSetItemInterface() = default;
};
using DrawportVertexAttributeSetItemRef = StrongRef<DrawportVertexAttributeSetItemInterface>;
using DrawportVertexAttributeSetDescribe = Delegate<Result<void>(DrawportVertexAttributeSetDescription& description)>;

// Both are plain records, the same for every backend: what caches answer with. The callback of a set is first run by
// its MakeValid. Errors: those of the callback of a layout; illegal argument for a set without a layout; illegal state
// for a layout whose description was not ended; out of memory.
OSTRA_API Result<DrawportVertexAttributeLayoutItemRef> MakeVertexAttributeLayout(
    const DrawportVertexAttributeLayoutDescribe& describe);
OSTRA_API Result<DrawportVertexAttributeSetItemRef> MakeVertexAttributeSet(
    const DrawportVertexAttributeLayoutItemRef& layout, const DrawportVertexAttributeSetDescribe& describe);

}  // namespace ostra
