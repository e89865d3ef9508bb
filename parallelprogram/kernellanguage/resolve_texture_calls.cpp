#include "parallelprogram/kernellanguage/resolve_texture_calls.h"

namespace ostra::kernellanguage {
namespace {

// Of the arguments of a word.
struct TextureForm {
  std::size_t count;
  std::string_view text;
};

TextureForm GetForm(WordId word) {
  if (word == WordId::kTextureSize) return {1, "(texture)"};
  if (word == WordId::kSampleTexture || word == WordId::kFetchTexture) return {2, "(texture, coordinates)"};
  return {3, "(texture, coordinates, layer)"};
}

}  // namespace

NodeIndex ResolveTextureCalls::ReadTexture(NodeIndex node, WordId word) {
  const TextureForm form = GetForm(word);
  if (!CheckCount(node, form.count, Join({NameOf(node), form.text}))) return kNoNode;
  const NodeIndex argument = Child(node, 0), parameter = _uses.parameterWords.ReadArgument(argument, word);
  if (parameter == kNoNode || Get(_resolved.type[parameter]).kind == TypeKind::kTexture) return parameter;
  Fail(argument, Join({"\"", NameOf(argument), "\" is no texture but a ", TypeName(_resolved.type[parameter])}));
  return kNoNode;
}

TypeIndex ResolveTextureCalls::Call(NodeIndex node, WordId word) {
  if (word == WordId::kStoreImage) return Stop(node, "StoreImage, which the CPU does not have");
  if (!_uses.names.IsInKernel()) return Stop(node, Join({NameOf(node), " outside of the kernel's body"}));
  const NodeIndex parameter = ReadTexture(node, word);
  if (parameter == kNoNode) return kUnknownType;
  const Type texture = Get(_resolved.type[parameter]);
  SetWord(node, word);
  if (word == WordId::kTextureSize) return GetVectorType(Scalar::kInt32, texture.dimensions);
  const Bool isSample = word == WordId::kSampleTexture || word == WordId::kSampleTextureLayer;
  if (isSample && !texture.isLinear)
    return Fail(node, "a POINT texture has no filtered value: read it with FetchTexture, or declare it LINEAR");
  if (!ReadCoordinates(node, texture, isSample)) return kUnknownType;
  if (const NodeIndex layer = Child(node, 2); layer != kNoNode) {
    const TypeIndex type = _uses.expressions.Expression(layer);
    if (type == kUnknownType || !_uses.conversions.Convert(layer, kUIntType, "the layer")) return kUnknownType;
  }
  if (texture.scalar == Scalar::kFloat32) return GetVectorType(Scalar::kFloat32, texture.count);
  return texture.scalar == Scalar::kInt32 ? kIntType : kUIntType;
}

Bool ResolveTextureCalls::ReadCoordinates(NodeIndex node, const Type& texture, Bool isSample) {
  const NodeIndex argument = Child(node, 1);
  const TypeIndex type = _uses.expressions.Expression(argument);
  if (type == kUnknownType || IsStopped()) return false;
  // Others are refused by the textures themselves.
  const Bool isNumber = IsScalar(type) || IsVector(type);
  const Scalar component = Get(type).scalar;
  if (isNumber && (isSample ? GetSize(component) == 8 : component != Scalar::kInt32)) {
    Stop(argument, Join({NameOf(node), " at ", TypeName(type)}));
    return false;
  }
  const TypeIndex wanted = GetVectorType(isSample ? Scalar::kFloat32 : Scalar::kInt32, texture.dimensions);
  const std::string what = Join({"the place in a texture of ", std::to_string(texture.dimensions), " dimensions"});
  if (!IsScalar(type) || !IsVector(wanted)) return _uses.conversions.Convert(argument, wanted, what);
  _uses.conversions.FailConversion(argument, wanted, what);
  return false;
}

}  // namespace ostra::kernellanguage
