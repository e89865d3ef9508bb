#include <iterator>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parser_state.h"
#include "parallelprogram/kernellanguage/types.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {
namespace {

struct BinaryOperator {
  std::string_view sign;
  Int precedence;
  Operation operation;
};
constexpr BinaryOperator kBinaryOperators[] = {
    {"||", 1, Operation::kLogicalOr},      {"&&", 2, Operation::kLogicalAnd},
    {"|", 3, Operation::kBitOr},           {"^", 4, Operation::kBitXor},
    {"&", 5, Operation::kBitAnd},          {"==", 6, Operation::kEqual},
    {"!=", 6, Operation::kNotEqual},       {"<", 7, Operation::kLess},
    {">", 7, Operation::kGreater},         {"<=", 7, Operation::kLessOrEqual},
    {">=", 7, Operation::kGreaterOrEqual}, {"<<", 8, Operation::kShiftLeft},
    {">>", 8, Operation::kShiftRight},     {"+", 9, Operation::kAdd},
    {"-", 9, Operation::kSubtract},        {"*", 10, Operation::kMultiply},
    {"/", 10, Operation::kDivide},         {"%", 10, Operation::kRemainder},
};

struct SignOperator {
  std::string_view sign;
  Operation operation;
};
constexpr SignOperator kAssignments[] = {
    {"=", Operation::kNone},        {"+=", Operation::kAdd},         {"-=", Operation::kSubtract},
    {"*=", Operation::kMultiply},   {"/=", Operation::kDivide},      {"%=", Operation::kRemainder},
    {"<<=", Operation::kShiftLeft}, {">>=", Operation::kShiftRight}, {"&=", Operation::kBitAnd},
    {"|=", Operation::kBitOr},      {"^=", Operation::kBitXor},
};
constexpr SignOperator kUnaryOperators[] = {
    {"+", Operation::kPlus},       {"-", Operation::kMinus},      {"!", Operation::kNot},
    {"~", Operation::kComplement}, {"++", Operation::kIncrement}, {"--", Operation::kDecrement},
};

const SignOperator* Find(const SignOperator* begin, const SignOperator* end, const Token& token) {
  for (; begin != end && token.kind == TokenKind::kSign; ++begin) {
    if (token.text == begin->sign) return begin;
  }
  return nullptr;
}

const BinaryOperator* FindBinary(const Token& token) {
  for (const BinaryOperator& entry : kBinaryOperators) {
    if (token.kind == TokenKind::kSign && token.text == entry.sign) return &entry;
  }
  return nullptr;
}

}  // namespace

NodeIndex Parser::ReadExpression() {
  NodeIndex left = ReadAssignment();
  while (!IsBroken() && Is(",")) {
    const SourceOffset offset = Take().offset;
    const NodeIndex right = ReadAssignment();
    if (IsBroken()) return kNoNode;
    left = Add(NodeKind::kComma, offset, "", {left, right});
  }
  return IsBroken() ? kNoNode : left;
}

NodeIndex Parser::ReadAssignment() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const NodeIndex target = ReadConditional();
  if (IsBroken()) return kNoNode;
  const SignOperator* found = Find(std::begin(kAssignments), std::end(kAssignments), Peek());
  if (!found) return target;
  const SourceOffset offset = Take().offset;
  if (Is("{")) return Stop(Peek().offset, "a value in braces");
  const NodeIndex value = ReadAssignment();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kAssign, offset, "", {target, value}, 0, found->operation);
}

NodeIndex Parser::ReadConditional() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const NodeIndex condition = ReadBinary(0);
  if (IsBroken() || !Is("?")) return condition;
  const SourceOffset offset = Take().offset;
  const NodeIndex value = ReadExpression();
  if (IsBroken()) return kNoNode;
  if (!Is(":")) {
    if (Is(";") || Is(")")) return Fail(Peek().offset, "the \":\" of this \"?\" is missing here", {{offset, "\"?\""}});
    return StopAt(Peek());
  }
  Take();
  const NodeIndex other = ReadAssignment();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kConditional, offset, "", {condition, value, other});
}

NodeIndex Parser::ReadBinary(Int lowest) {
  NodeIndex left = ReadUnary();
  while (!IsBroken()) {
    const BinaryOperator* found = FindBinary(Peek());
    if (!found || found->precedence <= lowest) break;
    const SourceOffset offset = Take().offset;
    const NodeIndex right = ReadBinary(found->precedence);
    if (IsBroken()) return kNoNode;
    left = Add(NodeKind::kBinary, offset, "", {left, right}, 0, found->operation);
  }
  return IsBroken() ? kNoNode : left;
}

NodeIndex Parser::ReadUnary() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const SignOperator* found = Find(std::begin(kUnaryOperators), std::end(kUnaryOperators), Peek());
  if (found) {
    const SourceOffset offset = Take().offset;
    const NodeIndex operand = ReadUnary();
    if (IsBroken()) return kNoNode;
    return Add(NodeKind::kUnary, offset, "", {operand}, 0, found->operation);
  }
  if (Is("*") || Is("&")) return Stop(Peek().offset, "a pointer");
  return ReadPostfix();
}

NodeIndex Parser::ReadPostfix() { return ReadPostfixOf(ReadPrimary()); }

NodeIndex Parser::ReadPostfixOf(NodeIndex operand) {
  while (!IsBroken()) {
    const Token& sign = Peek();
    if (TakeIf("[")) {
      const NodeIndex index = ReadExpression();
      if (!ExpectClosing("]", sign)) return kNoNode;
      operand = Add(NodeKind::kIndex, sign.offset, "", {operand, index});
    } else if (TakeIf(".")) {
      const Token& name = Peek();
      if (!IsWord()) return StopAt(name);
      Take();
      if (Is("(")) return Stop(name.offset, "the call of a method");
      operand = Add(NodeKind::kMemberOf, name.offset, name.text, {operand});
    } else if (TakeIf("++") || TakeIf("--")) {
      operand = Add(NodeKind::kPostfix, sign.offset, "", {operand}, 0,
                    sign.Is("++") ? Operation::kIncrement : Operation::kDecrement);
    } else if (Is("(") || Is("->") || Is("::") || Is("{")) {
      return StopAt(sign);
    } else {
      break;
    }
  }
  return IsBroken() ? kNoNode : operand;
}

// Signs with which no operand begins, in no C++.
NodeIndex Parser::FailOperand() {
  constexpr std::string_view kNoStart[] = {";",  ")", "]",  "}", ",", "/", "%", "<",  ">",  "<=", ">=", "==",
                                           "!=", "|", "||", "^", "=", "?", ":", "+=", "-=", "*=", "/="};
  const Token& token = Peek();
  for (const std::string_view sign : kNoStart) {
    if (!token.Is(sign)) continue;
    // An empty macro of the host may stand before a word, but not here.
    return Fail(token.offset, Join({"an expression is missing before this \"", sign, "\""}));
  }
  return StopAt(token);
}

NodeIndex Parser::ReadPrimary() {
  const Token& token = Peek();
  if (token.kind == TokenKind::kNumber) {
    Take();
    return Add(NodeKind::kLiteral, token.offset, token.text, {});
  }
  if (Is("(")) return ReadParentheses();
  if (token.kind == TokenKind::kWord) return ReadWord();
  return FailOperand();
}

NodeIndex Parser::ReadParentheses() {
  const Level level(*this);
  if (!CheckDepth()) return kNoNode;
  const Token& open = Take();
  if (IsTypeStart() && (Is(")", 1) || Is("<", 1) || Is("const"))) return ReadCast(open);
  const NodeIndex expression = ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  _file.tree.nodes[expression].flags |= kIsParenthesized;
  return expression;
}

// (type)operand; (float3)(1, 2, 3) is a vector of these values, as if the first parentheses were none.
NodeIndex Parser::ReadCast(const Token& open) {
  const NodeIndex type = ReadType();
  if (!Expect(")")) return kNoNode;
  const Token& values = Peek();
  const Bool isVector = FindTypeWord(_file.tree.GetName(type)) >= kFirstVectorType;
  if (!isVector || !Is("(") || (IsTypeStart(1) && Is(")", 2))) {
    const NodeIndex operand = ReadUnary();
    if (IsBroken()) return kNoNode;
    return Add(NodeKind::kCast, open.offset, "", {type, operand});
  }
  Nodes children{type};
  if (!ReadArguments(children)) return kNoNode;
  if (children.size() > 2) return Add(NodeKind::kConstruct, open.offset, "", children, kIsExtended);
  if (children.size() < 2) return Fail(values.offset, "an expression is missing between these parentheses");
  _file.tree.nodes[children[1]].flags |= kIsParenthesized;
  const NodeIndex operand = ReadPostfixOf(children[1]);
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kCast, open.offset, "", {type, operand});
}

NodeIndex Parser::ReadWord() {
  const Token& token = Peek();
  if (Is("UNIFORM")) return ReadParameterWord(NodeKind::kUniform);
  if (Is("UNIFORM_BUFFER")) return ReadParameterWord(NodeKind::kBuffer);
  if (Is("LOCALDATA")) return ReadLocalData();
  if (Is("static_cast")) return ReadStaticCast();
  if (Is("true") || Is("false")) {
    Take();
    return Add(NodeKind::kLiteral, token.offset, token.text, {});
  }
  if (IsTypeStart()) return ReadConstruct();
  const Word* word = FindWord(token.text);
  if (word && word->kind == WordKind::kStage)
    return Stop(token.offset, Join({"\"", token.text, "\" is a word of graphics stages"}));
  if (word && word->kind == WordKind::kReserved)
    return Stop(token.offset, Join({"\"", token.text, "\" is C++ beyond the language of kernels"}));
  if (word &&
      (word->kind == WordKind::kStatement || word->kind == WordKind::kQualifier || word->kind == WordKind::kKeyword))
    return StopAt(token);
  if (Is("(", 1)) return ReadCall();
  if (Is("not")) return StopAt(token);  // the operator of C++
  Take();
  if (Is("<") && IsTypeStart(1) && !Is("(", 2)) return Stop(token.offset, "a template");
  return Add(NodeKind::kName, token.offset, token.text, {});
}

// UNIFORM(name), UNIFORM_BUFFER(name).
NodeIndex Parser::ReadParameterWord(NodeKind kind) {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  if (!IsWord()) return StopAt(Peek());
  const std::string_view name = Take().text;
  if (!Expect(")")) return kNoNode;
  return Add(kind, start.offset, name, {});
}

NodeIndex Parser::ReadLocalData() {
  const Token& start = Take();
  if (!Expect("(")) return kNoNode;
  if (!IsWord()) return StopAt(Peek());
  const std::string_view name = Take().text;
  if (!Expect(",")) return kNoNode;
  const NodeIndex index = ReadAssignment();
  if (!Expect(",")) return kNoNode;
  const NodeIndex x = ReadAssignment();
  if (!Expect(")")) return kNoNode;
  return Add(NodeKind::kLocalData, start.offset, name, {index, x});
}

NodeIndex Parser::ReadStaticCast() {
  const Token& start = Take();
  if (!Expect("<")) return kNoNode;
  const NodeIndex type = ReadType();
  if (IsBroken() || !TakeAngle()) return kNoNode;
  const Token& open = Peek();
  if (!Expect("(")) return kNoNode;
  const NodeIndex operand = ReadExpression();
  if (!ExpectClosing(")", open)) return kNoNode;
  return Add(NodeKind::kCast, start.offset, "", {type, operand});
}

NodeIndex Parser::ReadConstruct() {
  const SourceOffset offset = Peek().offset;
  const NodeIndex type = ReadType();
  if (IsBroken()) return kNoNode;
  if (Is("[")) return ReadArrayConstruct(offset);
  if (!Is("(")) return StopAt(Peek());
  Nodes children{type};
  if (!ReadArguments(children)) return kNoNode;
  return Add(NodeKind::kConstruct, offset, "", children);
}

// float[2](1, 2): the values of an array. The type and length are those of the variable that gets them.
NodeIndex Parser::ReadArrayConstruct(SourceOffset offset) {
  static_cast<void>(ReadDimensions());
  if (IsBroken()) return kNoNode;
  if (!Is("(")) return StopAt(Peek());
  Nodes values;
  if (!ReadArguments(values)) return kNoNode;
  return Add(NodeKind::kInitializerList, offset, "", values, kIsExtended);
}

NodeIndex Parser::ReadCall() {
  const Token& name = Take();
  Nodes arguments;
  if (!ReadArguments(arguments)) return kNoNode;
  // In C++ "not" is an operator, and what follows the parentheses is of its operand.
  if (name.Is("not") && (Is(".") || Is("["))) return StopAt(Peek());
  return Add(NodeKind::kCall, name.offset, name.text, arguments);
}

// ( argument, ... ); false when it is broken.
Bool Parser::ReadArguments(Nodes& arguments) {
  const Level level(*this);
  if (!CheckDepth()) return false;
  const Token& open = Take();
  if (TakeIf(")")) return true;
  do {
    arguments.push_back(ReadAssignment());
    if (IsBroken()) return false;
  } while (TakeIf(","));
  return ExpectClosing(")", open);
}

}  // namespace ostra::kernellanguage
