// Resolver: walks the tree in the order in which C++ declares things, the kernel last, and fills the tables.
//
// Functions that give a type give kUnknownType for an expression with a mistake, of which nothing more is said.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "parallelprogram/kernellanguage/resolve.h"

namespace ostra::kernellanguage {

class Resolver {
 public:
  explicit Resolver(const SyntaxTree& tree);
  Resolution Run();

 private:
  using Types = std::vector<TypeIndex>;

  Bool IsStopped() const { return _result.notUnderstood.has_value() || _result.errors.size() >= kMaxErrors; }
  TypeIndex Stop(NodeIndex node, std::string reason);
  TypeIndex Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes = {});
  // Notes a node that is not of the plain form; `isPrintable`: the C++ forms know it all the same.
  void Extend(NodeIndex node, Bool isPrintable = false);
  // Conversions that some shading languages make only if they are written.
  void ExtendConversions();
  void ExtendHalves(NodeIndex node);
  SourceOffset GetOffset(NodeIndex node) const { return _tree.nodes[node].offset; }
  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }
  std::string TypeName(TypeIndex type) const { return _resolved.types.GetName(type); }
  const Type& Get(TypeIndex type) const { return _resolved.types[type]; }
  Bool IsScalar(TypeIndex type) const { return _resolved.types.IsScalar(type); }
  Bool IsVector(TypeIndex type) const { return _resolved.types.IsVector(type); }
  Bool IsMatrix(TypeIndex type) const {
    return Get(type).kind == TypeKind::kMatrix || Get(type).kind == TypeKind::kAffineMatrix;
  }

  // Names.
  struct Scope {
    std::size_t undoCount;
  };
  void OpenScope() { _scopes.push_back({_undo.size()}); }
  void CloseScope();
  void Declare(NodeIndex node);
  void CheckName(NodeIndex node);
  NodeIndex FindVariable(NodeIndex name) const { return _visible[_tree.nodes[name].name]; }
  NodeIndex FindParameter(std::string_view name) const;
  TypeIndex FailUnknownName(NodeIndex node, Bool isCall);
  // The known name that is almost `name`; empty: none.
  std::string_view FindMeantName(std::string_view name, Bool isCall) const;
  NodeIndex FindVariableBelow(NodeIndex name) const;

  // Declarations (resolve.cpp).
  void ReadDirective(NodeIndex item);
  void ReadStruct(NodeIndex item);
  void ReadParameters(NodeIndex item);
  void ReadFunction(NodeIndex item);
  void ReadDefaultValues(std::span<const NodeIndex> parameters);
  void ReadKernel(NodeIndex item);
  TypeIndex ReadType(NodeIndex type);
  TypeIndex ReadParameterType(NodeIndex type);
  void CheckParameterType(NodeIndex type, Bool isElement = false);
  void ExtendParameterType(NodeIndex node, TypeIndex type);
  using FunctionsByName = std::unordered_map<NameIndex, std::vector<NodeIndex>>;
  void FindCalled(NodeIndex node, const FunctionsByName& functions, std::vector<NodeIndex>& called) const;
  std::vector<NodeIndex> OrderItems();
  void CheckSecondFunction(NodeIndex function);
  NodeIndex FindChanging(NodeIndex expression) const;
  // The type with the dimensions of an array; `list` gives the length of [].
  TypeIndex ReadArray(TypeIndex element, NodeIndex dimensions, NodeIndex list);
  void ReadDeclaration(NodeIndex statement);
  void ReadVariable(NodeIndex variable);
  void ReadList(NodeIndex list, TypeIndex type);
  void ReadListOfComponents(NodeIndex list, TypeIndex type);
  void ReadListElement(NodeIndex value, TypeIndex type);
  std::optional<Int64> Evaluate(NodeIndex expression) const;
  Bool IsComputed(NodeIndex expression) const;

  // Statements (resolve_statements.cpp).
  void Statement(NodeIndex node);
  void Statements(NodeIndex block);
  void Condition(NodeIndex expression);
  void For(NodeIndex node);
  void Switch(NodeIndex node);
  void Return(NodeIndex node);
  void SharedArray(NodeIndex node);
  void Print(NodeIndex node);
  void CheckReportText(NodeIndex node, std::size_t count);

  // Expressions (resolve_expressions.cpp).
  TypeIndex Expression(NodeIndex node);
  TypeIndex ExpressionItself(NodeIndex node);
  TypeIndex Literal(NodeIndex node);
  TypeIndex Name(NodeIndex node);
  TypeIndex ParameterWord(NodeIndex node);
  TypeIndex LocalData(NodeIndex node);
  TypeIndex MemberOf(NodeIndex node);
  TypeIndex Index(NodeIndex node);

  // Operators (resolve_operators.cpp).
  TypeIndex Unary(NodeIndex node);
  TypeIndex Step(NodeIndex node);  // ++ and --
  TypeIndex Binary(NodeIndex node);
  TypeIndex BinaryOfScalars(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex BinaryOfVectors(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex ComputeMatrices(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex MultiplyMatrices(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex ConvertOperands(NodeIndex node, Scalar scalar, UInt32 count);
  TypeIndex GetCommonVector(TypeIndex left, TypeIndex right) const;
  TypeIndex FailOperation(NodeIndex node, TypeIndex left, TypeIndex right, std::string_view hint = {});
  TypeIndex SetComputed(NodeIndex node, TypeIndex computed) { return SetComputed(node, computed, computed); }
  TypeIndex SetComputed(NodeIndex node, TypeIndex computed, TypeIndex result) {
    _resolved.computed[node] = computed;
    return result;
  }
  TypeIndex Assign(NodeIndex node);
  void AssignComputed(NodeIndex node, TypeIndex target, TypeIndex value);
  TypeIndex Conditional(NodeIndex node);

  // Calls (resolve_calls.cpp).
  TypeIndex Call(NodeIndex node);
  Bool IsDeclaredLater(std::string_view name) const;
  TypeIndex CallFunction(NodeIndex node, const std::vector<NodeIndex>& functions);
  TypeIndex CallWord(NodeIndex node, WordId word);
  Scalar GetCommonScalarOf(const Types& types) const;
  TypeIndex CallOfLongs(NodeIndex node, WordId word, const Types& types);
  Bool CheckGroupWord(NodeIndex call);
  void FindGroupCalls(NodeIndex node);
  Bool IsCut(const Overload& overload, const Types& types) const;
  Bool HasSeveralWidths(const Types& types) const;
  std::optional<std::size_t> FindMixedOverload(std::span<const Overload> overloads, const Types& types) const;
  TypeIndex FailOverload(NodeIndex node, std::span<const Overload> overloads, const Types& types);
  TypeIndex CallTexture(NodeIndex node, WordId word);
  TypeIndex CallAtomic(NodeIndex node, WordId word);
  TypeIndex CallNoise(NodeIndex node);
  Types ReadArguments(std::span<const NodeIndex> arguments, Bool& isKnown);
  std::string ListTypes(const Types& types) const;
  // The argument of a word that names a parameter, `image` or UNIFORM(image); kNoNode with an error.
  NodeIndex ReadParameterArgument(NodeIndex argument, WordId word);
  Bool CheckCount(NodeIndex call, std::size_t count, std::string_view form);

  // Values that are made of others (resolve_construct.cpp).
  using Arguments = std::span<const NodeIndex>;
  TypeIndex Construct(NodeIndex node);
  TypeIndex ConstructScalar(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructVector(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructMatrix(NodeIndex node, TypeIndex type, Arguments arguments);
  TypeIndex ConstructColumns(NodeIndex node, TypeIndex type, Arguments arguments, UInt32 count, UInt32 height);
  TypeIndex ConstructStruct(NodeIndex node, TypeIndex type, Arguments arguments);
  UInt32 CountComponents(TypeIndex type, Arguments arguments);
  void ConvertComponents(Arguments arguments, Scalar scalar);
  TypeIndex Cast(NodeIndex node);
  TypeIndex CastToVector(NodeIndex node, TypeIndex type);

  // Conversions.
  // Makes `node` be wanted as `type`; false with an error where C++ does not convert. `what` is the thing that gets it.
  Bool Convert(NodeIndex node, TypeIndex type, std::string_view what);
  TypeIndex FailConversion(NodeIndex node, TypeIndex type, std::string_view what);
  void SetConverted(NodeIndex node, TypeIndex type) { _resolved.converted[node] = type; }
  // Whether the expression may be changed; says why not.
  Bool CheckPlace(NodeIndex node, std::string_view what);
  // Empty: it may; else why it must not.
  std::string GetConstReason(NodeIndex node) const;

  const SyntaxTree& _tree;
  Resolution _result;
  ResolvedTree& _resolved = _result.resolved;
  std::vector<NodeIndex> _visible;  // per name: the declaration that it means here
  struct Undo {
    NameIndex name;
    NodeIndex before;
  };
  std::vector<Undo> _undo;
  std::vector<Scope> _scopes;
  std::vector<UInt32> _declaredIn;  // per node: number of scopes when it was declared
  std::unordered_map<std::string_view, std::vector<NodeIndex>> _functions;
  std::unordered_map<std::string_view, TypeIndex> _structs;
  std::unordered_map<std::string_view, NodeIndex> _parameters;
  std::unordered_map<NodeIndex, Int64> _constants;
  TypeIndex _returnType = kVoidType;
  Bool _isInKernel = false;
  std::unordered_set<NodeIndex> _groupCalls;  // that stand where they may
  Int _silence = 0;                           // mistakes are not said where C++ does not look
};

}  // namespace ostra::kernellanguage
