#include "parallelprogram/kernellanguage/parse_functions.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/parse_statements.h"

namespace ostra::kernellanguage {

// The translation for GPUs finds functions that are inline, with the brace on a line of its own.
NodeIndex ParseFunctions::ReadFunction(NodeIndex type, Bool isInline) {
  const ParseNames::Scope scope(_names);
  const SourceOffset offset = Peek().offset;
  const std::string_view name = _declarations.ReadName();
  NodeList children{type};
  const Token& open = Take();
  const Bool isVoid = Is("void") && Is(")", 1);  // as in C
  if (isVoid) Take();
  while (!IsBroken() && !Is(")")) {
    children.push_back(ReadParameter());
    if (!Is(")") && !Expect(",")) return kNoNode;
  }
  if (!ExpectClosing(")", open)) return kNoNode;
  const Bool hasDefault = std::any_of(children.begin() + 1, children.end(),
                                      [this](NodeIndex parameter) { return _tree.GetChild(parameter, 2) != kNoNode; });
  if (!hasDefault && TakeIf(";")) return Add(NodeKind::kPrototype, offset, name, {}, kIsCppOnly);
  if (!Is("{")) return Stop(offset, "a function without its body");
  const Bool isPlain = isInline && !isVoid && Peek().isFirstInLine;
  children.push_back(_statements.ReadBlock());
  return Add(NodeKind::kFunction, offset, name, children, isPlain ? 0 : kIsCppOnly);
}

NodeIndex ParseFunctions::ReadParameter() {
  UInt16 flags = 0;
  if (Is("INOUT") || Is("inout") || Is("out") || Is("in")) {
    const std::string_view word = Take().text;
    if (word == "out") flags |= kIsOut;
    if (word == "INOUT" || word == "inout") flags |= kIsInOut;
  }
  const NodeIndex type = ReadParameterType(flags);
  if (IsBroken()) return kNoNode;
  if (!IsWord()) return StopHere();
  const SourceOffset offset = Peek().offset;
  const std::string_view name = _declarations.ReadVariableName();
  const NodeIndex dimensions = _declarations.ReadDimensions();
  NodeList children{type, dimensions};
  if (TakeIf("=")) {
    if (Is("{")) return Stop(Peek().offset, "a value in braces");
    children.push_back(_expressions.ReadAssignment());
  }
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kFunctionParameter, offset, name, children, flags);
}

NodeIndex ParseFunctions::ReadParameterType(UInt16& flags) {
  NodeIndex type = kNoNode;
  if (TakeIf("CPU_CONSTREF")) {
    const Token& open = Peek();
    if (!Expect("(")) return kNoNode;
    type = _types.ReadType();
    if (!ExpectClosing(")", open)) return kNoNode;
    flags |= kIsConst | kIsReference;
  } else {
    type = _types.ReadType();
  }
  if (!IsBroken()) flags |= _tree.nodes[type].flags & (kIsConst | kIsReference);
  return type;
}

void ParseFunctions::ReadKernel(NodeList& items) {
  const Token& start = Take();
  if (!Expect("(")) return;
  if (_names.IsStruct(Peek().text)) {
    Fail(Peek().offset, Join({"there is a struct \"", Peek().text, "\" already: the kernel needs a name of its own"}));
    return;
  }
  const std::string_view name = _declarations.ReadName();
  if (!Expect(",") || !Expect("KERNELINPUTS") || !Expect(")")) return;
  if (_tree.kernel != kNoNode) {
    Stop(start.offset, "a second kernel");
    return;
  }
  if (!Is("{")) {
    StopHere();
    return;
  }
  const NodeIndex block = _statements.ReadBlock();
  if (IsBroken()) return;
  if (!Is(start.Is("FP_KERNEL") ? "FP_KERNEL_END" : "OSTRA_PARALLEL_KERNEL_END")) {
    StopHere();
    return;
  }
  Take();
  items.push_back(_tree.kernel = Add(NodeKind::kKernel, start.offset, name, {block}));
}

}  // namespace ostra::kernellanguage
