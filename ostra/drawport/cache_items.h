// Cache items: they own what is on the device, are found by key as long as they are referenced, and are made valid for
// a context before they are used.
//
//   OSTRA_ASSIGN_OR_RETURN(DrawportVertexBufferItemRef item, cache->GetVertexbuffer(key));
//   OSTRA_ASSIGN_OR_RETURN(auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) { ... }));
//   OSTRA_RETURN_IF_ERROR(item->MakeValid(*context, fill));
//
// A fill callback that is given runs on every call, also for a valid item. Without one, MakeValid of a valid item costs
// next to nothing. Callbacks run on the calling thread while no cache or item is locked: they may map, record, look up
// items and wait for jobs. An item is made valid by one thread at a time.
// Errors of MakeValid besides those named: that of the callback; out of memory; illegal state when the context belongs
// to another backend or the device is lost.
#pragma once

#include "ostra/core/delegate.h"
#include "ostra/drawport/context.h"
#include "ostra/drawport/graphics_objects.h"
#include "ostra/drawport/program_factory_item.h"

namespace ostra {

class DrawportProgramFactory;

// Gets the item's vertex buffer, takes its memory with AllocSubBuffer and uploads.
using DrawportVertexBufferFill = Delegate<Result<void>(DrawportVertexBuffer& buffer)>;
// Fills a texture; what fails in it ends silently.
using DrawportTextureFill = Delegate<void(DrawportTexture& texture)>;

struct DrawportVertexBufferSpecification {
  Int subBufferCount = 0;
  Int size = 0;  // of all sub-buffers, bytes
};

class DrawportVertexBufferItemInterface : public DrawportObject {
 public:
  virtual Result<DrawportVertexBuffer*> MakeValid(DrawportContextInterface& context,
                                                  const DrawportVertexBufferFill& fill) = 0;
  virtual DrawportVertexBufferSpecification GetSpecification() const = 0;
  // Names the buffers for debuggers. Error: out of memory.
  virtual Result<void> SetDebugLabel(std::string_view label) = 0;

 protected:
  ~DrawportVertexBufferItemInterface() = default;
};

class DrawportTextureItemInterface : public DrawportObject {
 public:
  // The texels of a new texture are zero. Errors: illegal argument for a description that the device cannot do: an
  // extent that is too large or empty, a format that is not for what the texture is for.
  virtual Result<DrawportTexture*> MakeValid(DrawportContextInterface& context, const DrawportTextureFill& fill) = 0;

 protected:
  ~DrawportTextureItemInterface() = default;
};

class DrawportTextureSamplerItemInterface : public DrawportObject {
 public:
  virtual Result<DrawportTextureSampler*> MakeValid(DrawportContextInterface& context) = 0;

 protected:
  ~DrawportTextureSamplerItemInterface() = default;
};

class DrawportAtomicCounterItemInterface : public DrawportObject {
 public:
  virtual Result<DrawportAtomicCounter*> MakeValid(DrawportContextInterface& context) = 0;

 protected:
  ~DrawportAtomicCounterItemInterface() = default;
};

class DrawportProgramFactoryItemInterface : public DrawportObject {
 public:
  // Compiles the program that the description says; for another context than before, there. A program that is valid
  // stays until the new one is. Errors: those of the compiler, as illegal arguments `file:line: error: text`; illegal
  // state when the device lacks a feature that the description requires.
  // A graphics program is checked against the attributes and targets that it will be used with; null: with any. Errors:
  // illegal argument for an attribute that the set does not have or has as another type, and for a colour that the
  // targets have no place for.
  virtual Result<DrawportProgramFactory*> MakeValid(DrawportContextInterface& context,
                                                    const DrawportVertexAttributeSet* attributes = nullptr,
                                                    const DrawportFramebufferTargetSet* targets = nullptr) = 0;
  // What the builder has filled in.
  virtual const DrawportProgramDescription& GetSpecification() const = 0;

 protected:
  ~DrawportProgramFactoryItemInterface() = default;
};

using DrawportVertexBufferItemRef = StrongRef<DrawportVertexBufferItemInterface>;
using DrawportTextureItemRef = StrongRef<DrawportTextureItemInterface>;
using DrawportTextureSamplerItemRef = StrongRef<DrawportTextureSamplerItemInterface>;
using DrawportAtomicCounterItemRef = StrongRef<DrawportAtomicCounterItemInterface>;
using DrawportProgramFactoryItemRef = StrongRef<DrawportProgramFactoryItemInterface>;

}  // namespace ostra
