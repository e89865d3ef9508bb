// What a renderer draws the shader loader's active program with.
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {

Result<DrawportStateObject*> GeneralShaderLoaderImpl::GetActiveStateObject() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.stateObject;
}

Result<DrawportParameterValueSet*> GeneralShaderLoaderImpl::GetActiveValueSet() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.valueSet;
}

Result<DrawportVertexBuffer*> GeneralShaderLoaderImpl::GetActiveVertexBuffer() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return static_cast<DrawportVertexBuffer*>(program.vertexBuffer._data);
}

Result<Int> GeneralShaderLoaderImpl::GetActiveVertexBufferCount() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.vertexBuffer._count;
}

Result<DrawportDeviceBuffer*> GeneralShaderLoaderImpl::GetActiveAttributeBuffer() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.vertexBuffer._deviceBuffer;
}

Result<DrawportProgramFactory*> GeneralShaderLoaderImpl::GetActiveProgramFactory() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.factory;
}

Result<DrawportVertexAttributeSet*> GeneralShaderLoaderImpl::GetActiveAttributeSet() const {
  OSTRA_ASSIGN_OR_RETURN(const GraphicsProgram& program, GetActiveProgram());
  return program.attributeSet;
}

}  // namespace ostra
