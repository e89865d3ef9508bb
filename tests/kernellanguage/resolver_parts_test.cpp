// Parts of the resolver alone: names and scopes, constants, messages, the order of functions, overloads, texts.
#include <gtest/gtest.h>

#include <limits>

#include "kernel_text.h"

#include "parallelprogram/kernellanguage/item_order.h"
#include "parallelprogram/kernellanguage/overloads.h"
#include "parallelprogram/kernellanguage/report_text.h"
#include "parallelprogram/kernellanguage/resolve_constants.h"

namespace ostra::kernellanguage {
namespace {

// A tree that a test puts together, with the parts that stand on it.
class ResolverPartsTest : public testing::Test {
 protected:
  NodeIndex Add(NodeKind kind, std::string_view name = {}, std::initializer_list<NodeIndex> children = {}) {
    return tree.Add({.kind = kind, .name = tree.AddName(name)}, {children.begin(), children.size()});
  }
  NodeIndex AddBinary(Operation operation, NodeIndex left, NodeIndex right) {
    const NodeIndex node = Add(NodeKind::kBinary, {}, {left, right});
    tree.nodes[node].operation = operation;
    return node;
  }

  SyntaxTree tree;
  ResolvedTree resolved;
  ResolveMessages messages{tree};
  const ResolveBasis basis{tree, resolved, messages};
};

TEST_F(ResolverPartsTest, ANameMeansTheDeclarationOfTheInnermostScope) {
  const NodeIndex outer = Add(NodeKind::kVariable, "a"), inner = Add(NodeKind::kVariable, "a");
  const NodeIndex use = Add(NodeKind::kName, "a");
  ResolveNames names(basis);
  names.OpenScope();
  EXPECT_EQ(names.FindVariable(use), kNoNode);
  names.Declare(outer);
  names.OpenScope();
  EXPECT_EQ(names.FindVariable(use), outer);
  names.Declare(inner);
  EXPECT_EQ(names.FindVariable(use), inner);
  names.CloseScope();
  EXPECT_EQ(names.FindVariable(use), outer);
  names.CloseScope();
  EXPECT_EQ(names.FindVariable(use), kNoNode);
  EXPECT_TRUE(messages.GetErrors().empty());
}

TEST_F(ResolverPartsTest, AScopeHasOneDeclarationOfAName) {
  const NodeIndex first = Add(NodeKind::kVariable, "a"), second = Add(NodeKind::kVariable, "a");
  const NodeIndex other = Add(NodeKind::kVariable, "b"), use = Add(NodeKind::kName, "a");
  ResolveNames names(basis);
  names.OpenScope();
  names.Declare(first);
  names.Declare(second);
  names.Declare(other);
  ASSERT_EQ(messages.GetErrors().size(), 1u);
  EXPECT_EQ(messages.GetErrors()[0].text, "\"a\" is declared a second time");
  EXPECT_EQ(names.FindVariable(use), first);
  EXPECT_EQ(names.ListVariables(), (std::vector<std::string_view>{"a", "b"}));
}

TEST_F(ResolverPartsTest, FunctionsStructsAndParametersHaveTablesOfTheirOwn) {
  const NodeIndex function = Add(NodeKind::kFunction, "a"), overload = Add(NodeKind::kFunction, "a");
  const NodeIndex structure = Add(NodeKind::kStruct, "a"), parameter = Add(NodeKind::kParameter, "a");
  ResolveNames names(basis);
  EXPECT_TRUE(names.FindFunctions("a").empty());
  names.AddFunction(function);
  names.AddFunction(overload);
  EXPECT_TRUE(names.AddStruct(structure, kFloatType));
  EXPECT_FALSE(names.AddStruct(structure, kIntType));
  EXPECT_TRUE(names.AddParameter(parameter));
  EXPECT_FALSE(names.AddParameter(parameter));
  ASSERT_EQ(names.FindFunctions("a").size(), 2u);
  EXPECT_EQ(names.FindFunctions("a")[1], overload);
  EXPECT_EQ(names.FindStruct("a"), kFloatType);
  EXPECT_EQ(names.FindParameter("a"), parameter);
  EXPECT_EQ(names.FindStruct("b"), kUnknownType);
  EXPECT_EQ(names.FindParameter("b"), kNoNode);
}

TEST_F(ResolverPartsTest, ConstantsAreComputedAsInts) {
  const NodeIndex variable = Add(NodeKind::kVariable, "a"), use = Add(NodeKind::kName, "a");
  const NodeIndex most = Add(NodeKind::kLiteral, "2147483647"), zero = Add(NodeKind::kLiteral, "0");
  const NodeIndex sum = AddBinary(Operation::kAdd, use, use), tooMuch = AddBinary(Operation::kAdd, most, use);
  const NodeIndex quotient = AddBinary(Operation::kDivide, use, zero);
  const NodeIndex rest = AddBinary(Operation::kRemainder, most, sum), real = Add(NodeKind::kLiteral, "1.0");
  ResolveNames names(basis);
  ResolveConstants constants(tree, names);
  names.OpenScope();
  names.Declare(variable);
  EXPECT_EQ(constants.Evaluate(sum), std::nullopt);
  constants.Add(variable, 5);
  EXPECT_EQ(constants.Evaluate(sum), 10);
  EXPECT_EQ(constants.Evaluate(rest), 7);
  EXPECT_EQ(constants.Evaluate(most), std::numeric_limits<Int32>::max());
  for (const NodeIndex unknown : {tooMuch, quotient, real}) EXPECT_EQ(constants.Evaluate(unknown), std::nullopt);
}

TEST_F(ResolverPartsTest, WhatReadsAVariableIsNoConstant) {
  const NodeIndex variable = Add(NodeKind::kVariable, "a"), use = Add(NodeKind::kName, "a");
  const NodeIndex one = Add(NodeKind::kLiteral, "1"), sum = AddBinary(Operation::kAdd, one, use);
  ResolveNames names(basis);
  const ResolveConstants constants(tree, names);
  names.OpenScope();
  EXPECT_FALSE(constants.IsComputed(sum));
  names.Declare(variable);
  EXPECT_TRUE(constants.IsComputed(sum));
  EXPECT_FALSE(constants.IsComputed(one));
  tree.nodes[variable].flags |= kIsConst;
  EXPECT_FALSE(constants.IsComputed(sum));
}

TEST_F(ResolverPartsTest, MessagesEndWithWhatIsNotUnderstoodOrTheLastError) {
  const NodeIndex node = Add(NodeKind::kName, "a");
  messages.BeginSilence();
  messages.Fail(node, "silent");
  messages.Stop(node, "silent");
  messages.EndSilence();
  EXPECT_FALSE(messages.IsStopped());
  EXPECT_TRUE(messages.GetErrors().empty());
  for (std::size_t i = 0; i <= kMaxErrors; ++i) messages.Fail(node, "an error");
  EXPECT_EQ(messages.GetErrors().size(), kMaxErrors);
  EXPECT_TRUE(messages.IsStopped());
  messages.Stop(node, "late");
  EXPECT_FALSE(messages.GetNotUnderstood());
  ResolveMessages others(tree);
  others.Stop(node, "first");
  others.Stop(node, "second");
  others.Fail(node, "an error");
  EXPECT_EQ(others.GetNotUnderstood()->reason, "first");
  EXPECT_TRUE(others.GetErrors().empty());
}

std::string ListFunctions(const SyntaxTree& tree, const ItemOrder& order) {
  std::string names;
  for (const NodeIndex item : order.items)
    if (tree.Is(item, NodeKind::kFunction)) names += tree.GetName(item);
  return names;
}

TEST(ItemOrderTest, FunctionsStandBehindThoseThatTheyCall) {
  const auto kernel = AnalyzeBody("float r = A(1.0);",
                                  "float A(float x)\n{\n  return B(x) + C(x);\n}\n"
                                  "float B(float x)\n{\n  return C(x);\n}\nfloat C(float x)\n{\n  return x;\n}\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const ItemOrder order = OrderItems(kernel.tree);
  EXPECT_EQ(ListFunctions(kernel.tree, order), "CBA");
  EXPECT_EQ(order.items.size(), kernel.tree.GetChildren(kernel.tree.root).size());
  ASSERT_NE(order.firstMoved, kNoNode);
  EXPECT_EQ(kernel.tree.GetName(order.firstMoved), "C");
}

TEST(ItemOrderTest, FunctionsInOrderStayWhereTheyAre) {
  const auto kernel =
      AnalyzeBody("float r = B(1.0);", "float A(float x)\n{\n  return x;\n}\nfloat B(float x)\n{\n  return A(x);\n}\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const ItemOrder order = OrderItems(kernel.tree);
  const auto items = kernel.tree.GetChildren(kernel.tree.root);
  EXPECT_EQ(order.items, std::vector<NodeIndex>(items.begin(), items.end()));
  EXPECT_EQ(order.firstMoved, kNoNode);
}

TEST(OverloadsTest, ArgumentsOfSeveralTypesBecomeThatOfTheirSum) {
  const TypeTable types;
  const TypeIndex vec3 = GetVectorType(Scalar::kFloat32, 3);
  const auto find = [&](WordId word, TypeList arguments) {
    const auto found = FindMixedOverload(types, GetOverloads(word), arguments);
    return found ? GetOverloads(word)[*found].result : kUnknownType;
  };
  EXPECT_EQ(find(WordId::kMax, {kIntType, kFloatType}), kFloatType);
  EXPECT_EQ(find(WordId::kMax, {kIntType, kUIntType}), kUIntType);
  EXPECT_EQ(find(WordId::kMax, {vec3, kIntType}), vec3);
  EXPECT_EQ(find(WordId::kMax, {vec3, GetVectorType(Scalar::kFloat32, 2)}), kUnknownType);
  EXPECT_EQ(find(WordId::kMax, {vec3, kMatrix3Type}), kUnknownType);
  EXPECT_EQ(find(WordId::kSin, {kIntType}), kFloatType);
  EXPECT_EQ(find(WordId::kSin, {kIntType, kIntType}), kUnknownType);
}

TEST(OverloadsTest, NumbersHaveACommonScalarAndOthersNone) {
  const TypeTable types;
  const TypeIndex vec3 = GetVectorType(Scalar::kFloat32, 3), vec2 = GetVectorType(Scalar::kFloat32, 2);
  EXPECT_EQ(GetCommonScalarOf(types, TypeList{kIntType, vec3}), Scalar::kFloat32);
  EXPECT_EQ(GetCommonScalarOf(types, TypeList{kIntType, kDoubleType}), Scalar::kFloat64);
  EXPECT_EQ(GetCommonScalarOf(types, TypeList{kFloatType, kMatrix3Type}), Scalar::kBool);
  EXPECT_TRUE(HasSeveralWidths(types, TypeList{vec3, kFloatType, vec2}));
  EXPECT_FALSE(HasSeveralWidths(types, TypeList{vec3, kFloatType, vec3}));
  const Overload overload{.result = vec2, .count = 1, .parameters = {vec2}};
  EXPECT_TRUE(IsCut(types, overload, TypeList{vec3}));
  EXPECT_FALSE(IsCut(types, overload, TypeList{vec2}));
}

TEST(ReportTextTest, TextsShowAsManyValuesAsThereAre) {
  EXPECT_EQ(FindReportTextMistake("", "ASSERT", 0), "");
  EXPECT_EQ(FindReportTextMistake("\"%v of %v, 100%%\"", "PRINT", 2), "");
  EXPECT_EQ(FindReportTextMistake("\"%v\"", "PRINT", 2),
            "the text of PRINT shows 1 value (%v), and there are 2 values");
  EXPECT_EQ(FindReportTextMistake("\"50%\"", "PRINT", 0), "\"%\" in a text: every value is %v, and %% a percent sign");
  EXPECT_EQ(FindReportTextMistake("\"%%%d\"", "PRINT", 0),
            "\"%d\" in a text: every value is %v, and %% a percent sign");
  for (const std::string_view text : {"\"", "'x'", "\"x"})
    EXPECT_EQ(FindReportTextMistake(text, "ASSERT", 0), "the text of ASSERT stands in double quotes, on one line");
}

}  // namespace
}  // namespace ostra::kernellanguage
