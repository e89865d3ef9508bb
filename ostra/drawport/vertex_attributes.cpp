#include "ostra/drawport/vertex_attributes.h"

#include "ostra/core/format.h"
#include "ostra/drawport/shader_assembly.h"

OSTRA_UNIT("drawport_vertex");

namespace ostra {
namespace {

class LayoutItem final : public DrawportCounted<LayoutItem, DrawportVertexAttributeLayoutItemInterface>,
                         public DrawportVertexAttributeLayout {
 public:
  const DrawportVertexAttributeLayout& GetLayout() const override { return *this; }
  const BaseArray<DrawportVertexAttribute>& GetAttributes() const override { return description.GetAttributes(); }
  Int GetStride() const override { return description.GetStride(); }
  Bool IsPerInstance() const override { return description.IsPerInstance(); }

  DrawportVertexAttributeLayoutDescription description;
};

class SetItem final : public DrawportCounted<SetItem, DrawportVertexAttributeSetItemInterface>,
                      public DrawportVertexAttributeSet {
 public:
  SetItem(const DrawportVertexAttributeLayoutItemRef& layout, const DrawportVertexAttributeSetDescribe& describe)
      : _layout(layout), _describe(describe), _description(layout->GetLayout()) {}
  Result<DrawportVertexAttributeSet*> MakeValid(DrawportContextInterface&) override {
    _description.Clear();
    if (_describe) OSTRA_RETURN_IF_ERROR(_describe(_description));
    return static_cast<DrawportVertexAttributeSet*>(this);
  }
  const DrawportVertexAttributeLayout& GetLayout() const override { return _layout->GetLayout(); }
  DrawportVertexBuffer* GetVertexBuffer(InternedId name) const override { return _description.GetVertexBuffer(name); }
  DrawportDeviceBuffer* GetDeviceBuffer() const override { return _description.GetDeviceBuffer(); }

 private:
  DrawportVertexAttributeLayoutItemRef _layout;
  DrawportVertexAttributeSetDescribe _describe;
  DrawportVertexAttributeSetDescription _description;
};

}  // namespace

Int GetVertexAttributeSize(DrawportShaderValueType type) {
  switch (type) {
    case DrawportShaderValueType::Matrix3:
    case DrawportShaderValueType::Matrix4:
    case DrawportShaderValueType::Gradient:
    case DrawportShaderValueType::NoiseTable:
      return 0;
    default:
      return GetUniformSize(type);
  }
}

Result<void> DrawportVertexAttributeLayoutDescription::AllocVertexAttribute(Int offset, DrawportShaderValueType type,
                                                                            InternedId name) {
  if (_isInitialized) return OSTRA_ILLEGAL_STATE("The vertex layout is complete.");
  if (name.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("A vertex attribute needs a name.");
  if (GetVertexAttributeSize(type) == 0)
    return OSTRA_ILLEGAL_ARGUMENT("The vertex attribute \"@\" has the type @; attributes are scalars or vectors.", name,
                                  static_cast<Int32>(type));
  if (offset < 0 || offset % 4 != 0)
    return OSTRA_ILLEGAL_ARGUMENT("The vertex attribute \"@\" cannot begin at byte @.", name, offset);
  for (const DrawportVertexAttribute& known : _attributes) {
    if (known.name == name) return OSTRA_ILLEGAL_ARGUMENT("The vertex layout has an attribute \"@\" already.", name);
  }
  OSTRA_RETURN_IF_ERROR(_attributes.Append(DrawportVertexAttribute{offset, type, name}));
  _stride += GetVertexAttributeSize(type);
  return OK;
}

Result<void> DrawportVertexAttributeLayoutDescription::InitVertexAttributes(Int32 perInstance) {
  if (_isInitialized) return OSTRA_ILLEGAL_STATE("The vertex layout is complete.");
  if (perInstance != 0 && perInstance != 1)
    return OSTRA_ILLEGAL_ARGUMENT("Vertex attributes advance with the vertex (0) or the instance (1), not with @.",
                                  perInstance);
  for (const DrawportVertexAttribute& attribute : _attributes) {
    if (attribute.offset + GetVertexAttributeSize(attribute.type) > _stride)
      return OSTRA_ILLEGAL_ARGUMENT("The vertex attribute \"@\" at byte @ is outside a vertex of @ bytes.",
                                    attribute.name, attribute.offset, _stride);
  }
  _isPerInstance = perInstance == 1;
  _isInitialized = true;
  return OK;
}

Result<void> DrawportVertexAttributeSetDescription::Assign(InternedId name, DrawportVertexBuffer* buffer,
                                                           DrawportDeviceBuffer* subBuffer) {
  const BaseArray<DrawportVertexAttribute>& attributes = _layout.GetAttributes();
  const auto hasName = [&](std::string_view wanted) {
    for (const DrawportVertexAttribute& attribute : attributes)
      if (attribute.name.GetView() == wanted) return true;
    return false;
  };
  const std::string_view meant = name.GetView() == "texUv" && !hasName("texUv") ? "uv" : name.GetView();
  if (subBuffer && _subBuffer && subBuffer != _subBuffer)
    return OSTRA_ILLEGAL_ARGUMENT("The attribute \"@\" lies in another buffer than those before it.", name);
  for (Int i = 0; i < attributes.GetCount(); ++i) {
    if (attributes[i].name.GetView() != meant) continue;
    if (_buffers.GetCount() <= i) OSTRA_RETURN_IF_ERROR(_buffers.Resize(attributes.GetCount()));
    _buffers[i] = buffer;
    if (!_subBuffer) _subBuffer = subBuffer;
    return OK;
  }
  return OSTRA_ILLEGAL_ARGUMENT("The vertex layout has no attribute \"@\".", name);
}

void DrawportVertexAttributeSetDescription::Clear() {
  _buffers.Clear();
  _subBuffer = nullptr;
}

DrawportVertexBuffer* DrawportVertexAttributeSetDescription::GetVertexBuffer(InternedId name) const {
  const BaseArray<DrawportVertexAttribute>& attributes = _layout.GetAttributes();
  for (Int i = 0; i < _buffers.GetCount(); ++i)
    if (attributes[i].name == name) return _buffers[i];
  return nullptr;
}

Result<DrawportVertexAttributeLayoutItemRef> MakeVertexAttributeLayout(
    const DrawportVertexAttributeLayoutDescribe& describe) {
  auto* item = NewObj<LayoutItem>();
  if (!item) return OSTRA_OUT_OF_MEMORY();
  auto held = DrawportVertexAttributeLayoutItemRef::Adopt(item);
  OSTRA_RETURN_IF_ERROR(describe(item->description));
  if (!item->description.IsInitialized()) return OSTRA_ILLEGAL_STATE("The vertex layout is not complete.");
  return held;
}

Result<DrawportVertexAttributeSetItemRef> MakeVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef& layout,
                                                                 const DrawportVertexAttributeSetDescribe& describe) {
  if (!layout) return OSTRA_ILLEGAL_ARGUMENT("A set of vertex attributes needs a layout.");
  auto* item = NewObj<SetItem>(layout, describe);
  if (!item) return OSTRA_OUT_OF_MEMORY();
  return DrawportVertexAttributeSetItemRef::Adopt(item);
}

}  // namespace ostra
