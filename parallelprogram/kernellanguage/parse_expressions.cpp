#include "parallelprogram/kernellanguage/parse_expressions.h"

#include <iterator>

#include "parallelprogram/kernellanguage/parse_operands.h"

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

NodeIndex ParseExpressions::ReadExpression() {
  NodeIndex left = ReadAssignment();
  while (!IsBroken() && Is(",")) {
    const SourceOffset offset = Take().offset;
    const NodeIndex right = ReadAssignment();
    if (IsBroken()) return kNoNode;
    left = Add(NodeKind::kComma, offset, "", {left, right});
  }
  return IsBroken() ? kNoNode : left;
}

NodeIndex ParseExpressions::ReadAssignment() {
  const Level level(_nodes);
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

NodeIndex ParseExpressions::ReadConditional() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const NodeIndex condition = ReadBinary(0);
  if (IsBroken() || !Is("?")) return condition;
  const SourceOffset offset = Take().offset;
  const NodeIndex value = ReadExpression();
  if (IsBroken()) return kNoNode;
  if (!Is(":")) {
    if (Is(";") || Is(")")) return Fail(Peek().offset, "the \":\" of this \"?\" is missing here", {{offset, "\"?\""}});
    return StopHere();
  }
  Take();
  const NodeIndex other = ReadAssignment();
  if (IsBroken()) return kNoNode;
  return Add(NodeKind::kConditional, offset, "", {condition, value, other});
}

NodeIndex ParseExpressions::ReadBinary(Int lowest) {
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

NodeIndex ParseExpressions::ReadUnary() {
  const Level level(_nodes);
  if (!CheckDepth()) return kNoNode;
  const SignOperator* found = Find(std::begin(kUnaryOperators), std::end(kUnaryOperators), Peek());
  if (found) {
    const SourceOffset offset = Take().offset;
    const NodeIndex operand = ReadUnary();
    if (IsBroken()) return kNoNode;
    return Add(NodeKind::kUnary, offset, "", {operand}, 0, found->operation);
  }
  if (Is("*") || Is("&")) return Stop(Peek().offset, "a pointer");
  return ReadPostfixOf(_operands.ReadOperand());
}

NodeIndex ParseExpressions::ReadPostfixOf(NodeIndex operand) {
  while (!IsBroken()) {
    const Token& sign = Peek();
    if (TakeIf("[")) {
      const NodeIndex index = ReadExpression();
      if (!ExpectClosing("]", sign)) return kNoNode;
      operand = Add(NodeKind::kIndex, sign.offset, "", {operand, index});
    } else if (TakeIf(".")) {
      const Token& name = Peek();
      if (!IsWord()) return StopHere();
      Take();
      if (Is("(")) return Stop(name.offset, "the call of a method");
      operand = Add(NodeKind::kMemberOf, name.offset, name.text, {operand});
    } else if (TakeIf("++") || TakeIf("--")) {
      operand = Add(NodeKind::kPostfix, sign.offset, "", {operand}, 0,
                    sign.Is("++") ? Operation::kIncrement : Operation::kDecrement);
    } else if (Is("(") || Is("->") || Is("::") || Is("{")) {
      return StopHere();
    } else {
      break;
    }
  }
  return IsBroken() ? kNoNode : operand;
}

// ( argument, ... ); false when it is broken.
Bool ParseExpressions::ReadArguments(NodeList& arguments) {
  const Level level(_nodes);
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
