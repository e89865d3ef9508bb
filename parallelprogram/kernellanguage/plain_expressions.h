// Expressions as text. An expression gives its value as the type that it is wanted as, or as its own.
#pragma once

#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_checks.h"
#include "parallelprogram/kernellanguage/plain_kept_values.h"

namespace ostra::kernellanguage {

class PlainBools;
class PlainCalls;
class PlainConstruction;
class PlainMatrices;

class PlainExpressions : PlainPart {
 public:
  struct Uses {
    const KeptValues& kept;
    PlainValues& values;
    PlainChecks& checks;
    PlainBools& bools;
    PlainCalls& calls;
    PlainConstruction& construction;
    PlainMatrices& matrices;
  };

  PlainExpressions(const PlainBasis& basis, const Uses& uses) : PlainPart(basis), _uses(uses) {}

  // As the type that it is wanted as; in parentheses if it is bound less tightly than `lowest`.
  std::string Expression(NodeIndex node, Binding lowest = Binding::kAssignment);
  // As its own type.
  std::string Value(NodeIndex node, Binding lowest);
  // As the type that the part has.
  std::string PartText(const TypedNode& part, Binding lowest);
  // The children from `first` on, separated by commas.
  std::string List(NodeIndex node, std::size_t first);
  // An integer is written as the number that it is wanted as; 1 becomes 1.0 or 1u.
  std::string Literal(NodeIndex node, TypeIndex wanted) const;
  std::string MemberText(NodeIndex node) const;  // ".x"
  // Whether it is a table outside of functions, or a row of one, which GPUs have as a function.
  Bool IsTable(NodeIndex node) const;
  // The number behind the indices of `node` and these more, which have the type int.
  std::string CallTable(NodeIndex node, const std::vector<std::string>& more = {});
  // The initial value of a constant of the file.
  std::string ConstantText(NodeIndex variable);
  // Refuses a place that is computed before the statement: it is a value there.
  void CheckPlainPlace(NodeIndex place);

 private:
  std::string ValueItself(NodeIndex node, Binding& binding);
  std::string Operator(NodeIndex node, Binding& binding);
  std::string LiteralItself(NodeIndex node, Binding& binding) const;
  std::string Uniform(NodeIndex node) const;
  std::string Unary(NodeIndex node);
  std::string Binary(NodeIndex node, Binding& binding);
  std::string Assign(NodeIndex node);
  std::string Member(NodeIndex node);
  std::string Index(NodeIndex node);
  std::string Operand(NodeIndex node, Operation operation, Bool isRight);
  std::string Name(NodeIndex node, Binding& binding);
  static std::string WideLiteral(const LiteralValue& value);
  Bool IsElementOfTable(NodeIndex node) const;
  std::string CallConstant(NodeIndex variable);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
