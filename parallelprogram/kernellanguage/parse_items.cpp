#include "parallelprogram/kernellanguage/parse_items.h"

#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

void ParseItems::ReadItem(NodeList& items) {
  if (Peek().kind == TokenKind::kInputsBegin) return _parameters.ReadInputs(items);
  if (TakeIf(";") || TakeNamespace()) return;
  if (Is("[") && Is("numthreads", 1)) return _directives.FailForeignGroupSize();
  if (ReadWordItem(items)) return;
  if (Is("struct") && Is("KernelInput", 1)) return _parameters.ReadStructForm(items);
  if (Is("struct") || (Is("typedef") && Is("struct", 1))) return _structs.ReadStruct(items);
  if (Is("typedef") || (Is("using") && Is("=", 2))) return _structs.ReadAlias(items);
  ReadFunctionOrConstant(items);
}

Bool ParseItems::TakeNamespace() {
  if (_namespaces > 0 && TakeIf("}")) {
    --_namespaces;
    return true;
  }
  if (!Is("namespace") || !IsWord(1) || !Is("{", 2)) return false;
  Take(), Take(), Take();
  ++_namespaces;
  return true;
}

Bool ParseItems::ReadWordItem(NodeList& items) {
  const Token& token = Peek();
  switch (FindWordId(token.text)) {
    case WordId::kNoiseMark:
      items.push_back(Add(NodeKind::kNoiseMark, token.offset, "", {}));
      Take();
      return true;
    case WordId::kGroupSize:
      _directives.ReadGroupSize(items);
      return true;
    case WordId::kGranularity:
    case WordId::kSingleThreadedThreshold:
      _directives.ReadTuning(items);
      return true;
    case WordId::kKernelStart:
      _functions.ReadKernel(items);
      return true;
    case WordId::kKernelMethod:
      Stop(token.offset, "a kernel in the form of a method, which can fail");
      return true;
    default:
      return false;
  }
}

void ParseItems::ReadFunctionOrConstant(NodeList& items) {
  const Token& start = Peek();
  UInt16 flags = 0;
  Bool isInline = false;
  for (;; Take()) {
    if (Is("inline"))
      isInline = true;
    else if (Is("constexpr"))
      flags |= kIsConst;
    else if ((Is("constant") || Is("__constant")) && (Is("const", 1) || _types.IsTypeStart(1)))
      flags |= kIsConst | kIsExtended;
    else if (!Is("static"))
      break;
  }
  if (!_types.IsTypeStart()) {
    _unknownTypes.FailUnknownType();
    return;
  }
  const Bool isConst = Is("const") || (flags & kIsConst);
  const NodeIndex type = _types.ReadType();
  if (IsBroken()) return;
  if (IsWord() && Is("(", 1)) {
    const NodeIndex function = _functions.ReadFunction(type, isInline);
    if (!IsBroken()) items.push_back(function);
    return;
  }
  if (!isConst || _tree.kernel != kNoNode) {
    Stop(start.offset, isConst ? "a constant after the kernel" : "a variable outside of functions");
    return;
  }
  const NodeIndex declaration =
      _declarations.ReadDeclarators(type, static_cast<UInt16>(kIsConst | (flags & kIsExtended)));
  if (ExpectSemicolon()) items.push_back(declaration);
}

}  // namespace ostra::kernellanguage
