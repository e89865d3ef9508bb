// Buffers of the shader loader, and the links of stages to them.
#include "parallelprogram/device/buffer_transfer.h"
#include "parallelprogram/device/buffer_values.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

// Elements of another size must fill the buffer as those before do: otherwise its end would be lost.
Bool CanHoldElements(const DataBufferEntry& entry, Int size) {
  Int bytes = 0;
  return !entry._elementType.IsPopulated() ||
         (!__builtin_mul_overflow(entry._count, entry._elementType.GetSize(), &bytes) && bytes % size == 0);
}

}  // namespace

Result<void> GeneralShaderLoaderImpl::CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) {
  return CreateBuffer(GetOwner(), _buffers, attr, dataType, count);
}

// An entry with vertex data also knows the vertex buffer that its memory is part of.
Result<void> GeneralShaderLoaderImpl::StoreBuffer(const InternedId& attr, const ForwardingDataPtr& data,
                                                  Bool isVertexData) {
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  DataBufferEntry entry;
  entry._elementType = source.elementType;
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexBuffer * vertexBuffer,
                         AllocateBuffer(GetOwner(), attr, source.count, source.bytes, entry));
  if (isVertexData) entry._data = vertexBuffer;
  return _buffers.Set(attr, std::move(entry));
}

Result<void> GeneralShaderLoaderImpl::StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  return StoreBuffer(attr, data, false);
}

Result<void> GeneralShaderLoaderImpl::StoreVertexBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  return StoreBuffer(attr, data, true);
}

Result<void> GeneralShaderLoaderImpl::UpdateUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data,
                                                              Int offset) {
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  if (!known) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  DataBufferEntry entry = *known;
  if (!CanHoldElements(entry, source.elementType.GetSize()))
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  ChangeElementType(entry, source.elementType);
  Int end = 0, endByte = 0;
  const Int elementSize = source.elementType.GetSize();
  if (offset < 0 || __builtin_add_overflow(offset, source.count, &end) || end > entry._count ||
      __builtin_mul_overflow(end, elementSize, &endByte) ||
      (entry._deviceBuffer && endByte > entry._deviceBuffer->GetSize()))
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  OSTRA_RETURN_IF_ERROR(
      UploadBytes(_data, entry._deviceBuffer, offset * elementSize, source.bytes, source.GetByteCount(), elementSize));
  return entry == *known ? Result<void>(OK) : _buffers.Set(attr, std::move(entry));
}

Result<void> GeneralShaderLoaderImpl::SetGlobalBufferLink(const InternedId& attr, const Data& data) {
  return SetBufferLink(_buffers, attr, data);
}

Result<Data> GeneralShaderLoaderImpl::GetGlobalBufferLink(const InternedId& attr) const {
  return GetBufferLink(_buffers, attr);
}

Result<Data> GeneralShaderLoaderImpl::GetGlobalBufferData(const InternedId& attr) const {
  return GetGlobalBufferData(attr, 0, -1);
}

Result<Data> GeneralShaderLoaderImpl::GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const {
  const DataBufferEntry* entry = FindBufferEntry(_buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return DownloadBuffer(_data, *entry, offset, count, BufferReader::ShaderLoader);
}

Result<void> GeneralShaderLoaderImpl::SetProgramBufferLink(const InternedId& attr, const Data& entry,
                                                           Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  return SetBufferLink(stage.buffers, attr, entry);
}

Result<Data> GeneralShaderLoaderImpl::GetProgramBufferLink(const InternedId& attr, Int32 shaderIndex) const {
  OSTRA_ASSIGN_OR_RETURN(const ShaderStage& stage, GetActiveStage(shaderIndex));
  return GetBufferLink(stage.buffers, attr);
}

Result<Data> GeneralShaderLoaderImpl::GetProgramBufferData(const InternedId& attr, Int32 shaderIndex) const {
  OSTRA_ASSIGN_OR_RETURN(const ShaderStage& stage, GetActiveStage(shaderIndex));
  const DataBufferEntry* entry = FindBufferEntry(stage.buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return DownloadBuffer(_data, *entry, 0, -1, BufferReader::ShaderLoader);
}

Result<void> GeneralShaderLoaderImpl::SetBufferToActiveProgram(const InternedId& attr, const InternedId& attrProgram,
                                                               Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  OSTRA_ASSIGN_OR_RETURN(const Data entry, GetGlobalBufferLink(attr));
  return SetBufferLink(stage.buffers, attrProgram, entry);
}

Result<void> GeneralShaderLoaderImpl::SetBufferToActiveProgramSameId(const InternedId& attr, Int32 shaderIndex) {
  return SetBufferToActiveProgram(attr, attr, shaderIndex);
}

Result<void> GeneralShaderLoaderImpl::SetVertexBufferToActiveProgramSameId(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  const DataBufferEntry* entry = FindBufferEntry(_buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  program.vertexBuffer = *entry;
  return OK;
}

// What a program draws from stays with it until it is given another buffer.
Result<void> GeneralShaderLoaderImpl::DeleteUniformBuffer(const InternedId& attr) {
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  if (!known) return OK;
  const DataBufferEntry entry = *known;
  OSTRA_ASSIGN_OR_RETURN(const ChangeTable erase, ChangeTable::Create([&](DataDictionary& links) {
                           return EraseBufferLinks(links, attr, entry);
                         }));
  return ChangeAllStages(&ParameterLinks::buffers, erase, _buffers, attr);
}

Result<void> GeneralShaderLoaderImpl::SwapInternedIDValues(const InternedId& IdOne, const InternedId& IdTwo,
                                                           Int32 shaderIndex) {
  OSTRA_ASSIGN_OR_RETURN(ShaderStage & stage, GetActiveStage(shaderIndex));
  return SwapBufferLinks(stage.buffers, IdOne, IdTwo);
}

}  // namespace ostra
