// DrawportProgramFactory: a program that is compiled for a device, and how values reach it.
//
//   OSTRA_ASSIGN_OR_RETURN(DrawportParameterValueSet* values, factory->GetParameterValueSet(*context, owner, hash));
//   OSTRA_RETURN_IF_ERROR(factory->StartSetParameters(*context, *values));
//   OSTRA_RETURN_IF_ERROR(factory->SetParameterUInt(*values, factory->GetParameterHandle("count"_iid), 1024));
//   OSTRA_RETURN_IF_ERROR(factory->SetParameterBuffer(*values, factory->GetBufferParameterHandle("data"_iid), buffer));
//   OSTRA_RETURN_IF_ERROR(factory->EndSetParameters(*context, *values));
//
// Setters take effect together at EndSetParameters, for dispatches that are recorded afterwards: those before keep what
// they had. An empty handle, and one of a parameter that the compiler found unused, sets nothing. A parameter that was
// never set reads as zero; a buffer or texture that was never set, or has gone with its item since, makes the dispatch
// fail: values name objects, they do not hold them.
// Errors of setters: illegal argument for a handle of another kind of parameter or a value that does not fit its type;
// illegal state for an object of another device.
// Driver thread.
#pragma once

#include "ostra/core/result.h"
#include "ostra/drawport/parameters.h"
#include "ostra/math/matrix.h"
#include "ostra/math/vector.h"

namespace ostra {

class DrawportContextInterface;
class GradientRenderData;

// The values of one user of a program.
class DrawportParameterValueSet {
 protected:
  ~DrawportParameterValueSet() = default;
};

class DrawportProgramFactory {
 public:
  // Empty for unknown names. The first finds every parameter, the others those of their kind only.
  virtual DrawportParameterHandle GetParameterHandle(InternedId name) const = 0;
  virtual DrawportParameterHandle GetBufferParameterHandle(InternedId name) const = 0;
  virtual DrawportParameterHandle GetImageParameterHandle(InternedId name) const = 0;
  // Of a graphics program, whose stages may have parameters of one name: that of one stage, of any kind.
  virtual DrawportParameterHandle GetStageParameterHandle(DrawportStage stage, InternedId name) const = 0;

  // The values of (context, owner, programHash): the same arguments give the same set, which lives as long as the
  // factory. Error: out of memory.
  virtual Result<DrawportParameterValueSet*> GetParameterValueSet(DrawportContextInterface& context, UInt64 owner,
                                                                  UInt64 programHash) = 0;
  // Ends the use of a set; work that was recorded with it keeps what it has. A set that the factory does not know is
  // ignored.
  virtual void ReleaseParameterValueSet(DrawportParameterValueSet& values) { static_cast<void>(values); }
  // Bracket all setters. Start forgets what the last bracket set.
  virtual Result<void> StartSetParameters(DrawportContextInterface& context, DrawportParameterValueSet& values) = 0;
  virtual Result<void> EndSetParameters(DrawportContextInterface& context, DrawportParameterValueSet& values) = 0;

  virtual Result<void> SetParameterFloat(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         Float32 value) = 0;
  virtual Result<void> SetParameterFloat2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          const Vector2d32& value) = 0;
  virtual Result<void> SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          const Vector32& value) = 0;
  virtual Result<void> SetParameterVector(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          const Vector4d32& value) = 0;
  virtual Result<void> SetParameterUInt(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                        UInt32 value) = 0;
  virtual Result<void> SetParameterUInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         const Vec2<UInt32>& value) = 0;
  virtual Result<void> SetParameterUInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         const Vec3<UInt32>& value) = 0;
  virtual Result<void> SetParameterUInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         const Vec4<UInt32>& value) = 0;
  virtual Result<void> SetParameterInt(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                       Int32 value) = 0;
  virtual Result<void> SetParameterInt2(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                        const Vec2<Int32>& value) = 0;
  virtual Result<void> SetParameterInt3(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                        const Vec3<Int32>& value) = 0;
  virtual Result<void> SetParameterInt4(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                        const Vec4<Int32>& value) = 0;
  // 3x3; 4x4; an affine one is set as the 4x4 that it stands for.
  virtual Result<void> SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          const SquareMatrix32& value) = 0;
  virtual Result<void> SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          const SquareMatrix4d32& value) = 0;
  Result<void> SetParameterMatrix(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                  const AffineMatrix32& value) {
    return SetParameterMatrix(values, handle, ToKernelMatrix(value));
  }
  // Null takes the setting back. Objects stay alive through recorded work.
  virtual Result<void> SetParameterBuffer(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                          DrawportDeviceBuffer* buffer) = 0;
  virtual Result<void> SetParameterTexture(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                           DrawportTexture* texture, DrawportTextureSampler* sampler) = 0;
  virtual Result<void> SetParameterImage(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                         DrawportTexture* texture) = 0;
  virtual Result<void> SetParameterAtomicCounter(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                                 DrawportAtomicCounter* counter) = 0;
  // The table of noise `handle` for `seed`.
  virtual Result<void> SetParameterNoise(DrawportParameterValueSet& values, DrawportParameterHandle handle, Int32 seed,
                                         Int32 depth) = 0;
  // An empty gradient reads as black, as one that was never set.
  virtual Result<void> SetParameterGradient(DrawportParameterValueSet& values, DrawportParameterHandle handle,
                                            const GradientRenderData& gradient) = 0;

 protected:
  ~DrawportProgramFactory() = default;
};

}  // namespace ostra
