#include "parallelprogram/kernellanguage/parse_operands.h"

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parse_declarations.h"
#include "parallelprogram/kernellanguage/parse_expressions.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex ParseOperands::ReadOperand() {
  const Token& token = Peek();
  if (token.kind == TokenKind::kNumber) {
    Take();
    return Add(NodeKind::kLiteral, token.offset, token.text, {});
  }
  if (Is("(")) return ReadParentheses();
  if (token.kind == TokenKind::kWord) return ReadWord();
  return FailOperand();
}

NodeIndex ParseOperands::ReadParentheses() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const Token& open = Take();
  if (_types.IsTypeStart() && (Is(")", 1) || Is("<", 1) || Is("const"))) return ReadCast(open);
  const NodeIndex expression = _expressions.ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  _tree.nodes[expression].flags |= kIsParenthesized;
  return expression;
}

// (type)operand; (float3)(1, 2, 3) is a vector of these values, as if the first parentheses were none.
NodeIndex ParseOperands::ReadCast(const Token& open) {
  const NodeIndex type = _types.ReadType();
  if (!Expect(")")) return kNoNode;
  const Token& values = Peek();
  const Bool isVector = FindTypeWord(_tree.GetName(type)) >= kFirstVectorType;
  if (!isVector || !Is("(") || (_types.IsTypeStart(1) && Is(")", 2))) {
    const NodeIndex operand = _expressions.ReadUnary();
    if (IsBroken()) return kNoNode;
    return Add(NodeKind::kCast, open.offset, "", {type, operand});
  }
  NodeList children{type};
  if (!_expressions.ReadArguments(children)) return kNoNode;
  if (children.size() > 2) return Add(NodeKind::kConstruct, open.offset, "", children, kIsExtended);
  if (children.size() < 2) return Fail(values.offset, "an expression is missing between these parentheses");
  _tree.nodes[children[1]].flags |= kIsParenthesized;
  const NodeIndex operand = _expressions.ReadPostfixOf(children[1]);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kCast, open.offset, "", {type, operand});
}

NodeIndex ParseOperands::ReadWord() {
  const Token& token = Peek();
  if (Is("UNIFORM")) return ReadParameterWord(NodeKind::kUniform);
  if (Is("UNIFORM_BUFFER")) return ReadParameterWord(NodeKind::kBuffer);
  if (Is("LOCALDATA")) return ReadLocalData();
  if (Is("static_cast")) return ReadStaticCast();
  if (Is("true") || Is("false")) {
    Take();
    return Add(NodeKind::kLiteral, token.offset, token.text, {});
  }
  if (_types.IsTypeStart()) return ReadConstruct();
  const Word* word = FindWord(token.text);
  if (_unknownTypes.StopBeyond(word)) return kNoNode;
  if (word &&
      (word->kind == WordKind::kStatement || word->kind == WordKind::kQualifier || word->kind == WordKind::kKeyword))
    return StopHere();
  if (Is("(", 1)) return ReadCall();
  if (Is("not")) return StopHere();  // the operator of C++
  Take();
  if (Is("<") && _types.IsTypeStart(1) && !Is("(", 2)) return Stop(token.offset, "a template");
  return Add(NodeKind::kName, token.offset, token.text, {});
}

// UNIFORM(name), UNIFORM_BUFFER(name).
NodeIndex ParseOperands::ReadParameterWord(NodeKind kind) {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  if (!IsWord()) return StopHere();
  const std::string_view name = Take().text;
  if (!Expect(")")) return kNoNode;
  return Add(kind, start.offset, name, {});
}

NodeIndex ParseOperands::ReadLocalData() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  if (!IsWord()) return StopHere();
  const std::string_view name = Take().text;
  if (!Expect(",")) return kNoNode;
  const NodeIndex index = _expressions.ReadAssignment();
  if (!Expect(",")) return kNoNode;
  const NodeIndex x = _expressions.ReadAssignment();
  if (!Expect(")")) return kNoNode;
  return Add(NodeKind::kLocalData, start.offset, name, {index, x});
}

NodeIndex ParseOperands::ReadStaticCast() {
  const Token& start = Take();
  if (!Expect("<")) return kNoNode;
  const NodeIndex type = _types.ReadType();
  if (IsBroken() || !_types.TakeAngle()) return kNoNode;
  const Token& open = Peek();
  if (!Expect("(")) return kNoNode;
  const NodeIndex operand = _expressions.ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  return Add(NodeKind::kCast, start.offset, "", {type, operand});
}

NodeIndex ParseOperands::ReadConstruct() {
  const SourceOffset offset = Peek().offset;
  const NodeIndex type = _types.ReadType();
  if (IsBroken()) return kNoNode;
  if (Is("[")) return ReadArrayConstruct(offset);
  if (!Is("(")) return StopHere();
  NodeList children{type};
  if (!_expressions.ReadArguments(children)) return kNoNode;
  return Add(NodeKind::kConstruct, offset, "", children);
}

// float[2](1, 2): the values of an array. The type and length are those of the variable that gets them.
NodeIndex ParseOperands::ReadArrayConstruct(SourceOffset offset) {
  static_cast<void>(_declarations.ReadDimensions());
  if (IsBroken()) return kNoNode;
  if (!Is("(")) return StopHere();
  NodeList values;
  if (!_expressions.ReadArguments(values)) return kNoNode;
  return Add(NodeKind::kInitializerList, offset, "", values, kIsExtended);
}

NodeIndex ParseOperands::ReadCall() {
  const Token& name = Take();
  NodeList arguments;
  if (!_expressions.ReadArguments(arguments)) return kNoNode;
  // In C++ "not" is an operator, and what follows the parentheses is of its operand.
  if (name.Is("not") && (Is(".") || Is("["))) return StopHere();
  return Add(NodeKind::kCall, name.offset, name.text, arguments);
}

// Signs with which no operand begins, in no C++.
NodeIndex ParseOperands::FailOperand() {
  constexpr std::string_view kNoStart[] = {";",  ")", "]",  "}", ",", "/", "%", "<",  ">",  "<=", ">=", "==",
                                           "!=", "|", "||", "^", "=", "?", ":", "+=", "-=", "*=", "/="};
  const Token& token = Peek();
  for (const std::string_view sign : kNoStart) {
    if (!token.Is(sign)) continue;
    // An empty macro of the host may stand before a word, but not here.
    return Fail(token.offset, Join({"an expression is missing before this \"", sign, "\""}));
  }
  return StopHere();
}

}  // namespace ostra::kernellanguage
