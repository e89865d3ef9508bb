// What a draw needs besides its program and values: state objects, vertex attributes, target sets. Cache items and
// render targets own them and hand out plain pointers, valid while their owner lives. They never change; any thread may
// ask them.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/interned_id.h"
#include "ostra/drawport/enumerations.h"
#include "ostra/image/pixel_format.h"

namespace ostra {

class DrawportStateDescription;
class DrawportDeviceBuffer;
class DrawportVertexBuffer;

class DrawportStateObject {
 public:
  virtual const DrawportStateDescription& GetDescription() const = 0;

 protected:
  ~DrawportStateObject() = default;
};

// An attribute of each vertex: a scalar or vector at `offset` bytes from where the vertex begins.
struct DrawportVertexAttribute {
  Int offset = 0;
  DrawportShaderValueType type = DrawportShaderValueType::Float;
  InternedId name;
};

class DrawportVertexAttributeLayout {
 public:
  virtual const BaseArray<DrawportVertexAttribute>& GetAttributes() const = 0;
  // Bytes from one vertex to the next: the sizes of all attributes together.
  virtual Int GetStride() const = 0;
  virtual Bool IsPerInstance() const = 0;

 protected:
  ~DrawportVertexAttributeLayout() = default;
};

class DrawportVertexAttributeSet {
 public:
  virtual const DrawportVertexAttributeLayout& GetLayout() const = 0;
  // The buffer that an attribute was assigned; null for none.
  virtual DrawportVertexBuffer* GetVertexBuffer(InternedId name) const = 0;
  // The memory that draws read which bring none; null for none.
  virtual DrawportDeviceBuffer* GetDeviceBuffer() const = 0;

 protected:
  ~DrawportVertexAttributeSet() = default;
};

inline constexpr Int kMaxColorTargets = 8;

// What is drawn into, in as far as programs have to fit it.
class DrawportFramebufferTargetSet {
 public:
  virtual Int GetColorCount() const = 0;
  virtual PixelFormatRef GetColorFormat(Int index) const = 0;
  virtual DrawportDepthFormat GetDepthFormat() const = 0;
  virtual Int32 GetSampleCount() const = 0;

 protected:
  ~DrawportFramebufferTargetSet() = default;
};

}  // namespace ostra
