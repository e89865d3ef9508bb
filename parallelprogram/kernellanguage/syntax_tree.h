// SyntaxTree: a kernel file as the parser understood it. Plain data: an arena of nodes that name each other by index.
//
//   for (const NodeIndex item : tree.GetChildren(tree.root)) {
//     if (tree.nodes[item].kind == NodeKind::kFunction) Use(tree.GetName(item), tree.GetChild(item, 0));
//   }
//
// Nothing of it changes once it is parsed; what later passes find out lies in tables of their own, one entry per node.
// A child that is optional and absent is kNoNode.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "parallelprogram/kernellanguage/source_map.h"

namespace ostra::kernellanguage {

using NodeIndex = UInt32;
using NameIndex = UInt32;
inline constexpr NodeIndex kNoNode = 0xffffffffu;

// Children are listed in [brackets], "..." for any number, "?" for optional ones; `name` is what GetName gives.
enum class NodeKind : UInt8 {
  // The file and what stands in it outside of functions.
  kFile,               // [item...]
  kGroupSize,          // [literal, literal, literal]
  kTuning,             // name: CPU_GRANULARITY or CPU_SINGLETHREADEDTHRESHOLD; [literal, perhaps negated]
  kParameters,         // [kParameter...]; kIsStructForm
  kParameter,          // name; [type]
  kStruct,             // name; [kMember...]
  kMember,             // name; [type, kDimensions?]
  kFunction,           // name; [type of the result, kFunctionParameter..., kBlock]
  kFunctionParameter,  // name; [type, kDimensions?, default value?]; kIsOut, kIsInOut, kIsReference, kIsConst
  kKernel,             // name; [kBlock]; kIsMethodForm
  kNoiseMark,          // ADDNOISECALL; in bodies, too
  kPrototype,          // name: of a function whose body follows; kIsCppOnly

  // Types. The name is the word, an unsigned int is "uint".
  kType,        // name; [kType...] in angle brackets; kIsConst, kIsReference, kIsPointer
  kDimensions,  // of an array: [expression...], kNoNode for []

  // Statements.
  kBlock,        // [statement...]
  kDeclaration,  // [kVariable...]
  kVariable,     // name; [type, kDimensions?, initial value?]; kIsConst; the value may be a kInitializerList or a
                 // kConstruct with kIsDirect, for T x(1, 2)
  kExpressionStatement,  // [expression]
  kIf,                   // [condition, statement, else?]
  kFor,                  // [kDeclaration or kExpressionStatement?, condition?, expression?, statement]
  kWhile,                // [condition, statement]
  kDoWhile,              // [statement, condition]
  kSwitch,               // [value, kBlock]
  kCase,                 // [value]; a label: what follows it are its siblings
  kDefault,              // a label
  kBreak,
  kContinue,
  kReturn,  // [value?]; kIsKernelReturn for KERNEL_RETURN
  kEmpty,
  kSharedArray,  // GROUPSHAREDMEM(type, name, size): name; [type, size]
  kMakeLocal,    // MAKELOCAL(name, count, function): name; [count, kName]
  kPrint,        // PRINT("text", value...): name: the text with its quotes; [value...]
  kAssert,       // ASSERT(condition, "text"): name: the text with its quotes, or ""; [condition]
  kBarrier,      // groupSharedBarrier

  // Expressions.
  kLiteral,          // name: as written; its value is in literal.h
  kName,             // name
  kUniform,          // UNIFORM(name)
  kBuffer,           // UNIFORM_BUFFER(name); elements are a kIndex of it
  kLocalData,        // LOCALDATA(name, index, x): name; [index, x]
  kUnary,            // operation; [operand]
  kPostfix,          // operation kIncrement or kDecrement; [operand]
  kBinary,           // operation; [left, right]
  kAssign,           // operation kNone for =, else that of +=, ...; [target, value]
  kConditional,      // [condition, value, other value]
  kComma,            // [left, right]
  kCall,             // name; [argument...]: a function of the file or a word with arguments (words.h)
  kConstruct,        // [type, argument...]: float(x), vec3(x, y, z); kIsDirect in a declaration
  kCast,             // [type, operand]: (float)x, static_cast<float>(x)
  kMemberOf,         // name; [operand]: v.x, s.field
  kIndex,            // [operand, index]
  kInitializerList,  // [value...]: { 1, 2 }, float[2](1, 2)
};

// Operators of kUnary, kPostfix, kBinary and kAssign.
enum class Operation : UInt8 {
  kNone,
  kPlus,
  kMinus,
  kNot,
  kComplement,
  kIncrement,
  kDecrement,  // one operand
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kRemainder,  // two
  kShiftLeft,
  kShiftRight,
  kBitAnd,
  kBitOr,
  kBitXor,
  kLess,
  kLessOrEqual,
  kGreater,
  kGreaterOrEqual,
  kEqual,
  kNotEqual,
  kLogicalAnd,
  kLogicalOr,
};
std::string_view GetSpelling(Operation operation);

enum NodeFlag : UInt16 {
  kIsConst = 1,
  kIsReference = 2,  // written with &
  kIsPointer = 4,    // AtomicUInt32*
  kIsOut = 8,
  kIsInOut = 16,
  kIsStructForm = 32,
  kIsMethodForm = 64,
  kIsKernelReturn = 128,
  kIsDirect = 256,
  kIsParenthesized = 512,
  kIsAtomic = 1024,    // ATOMIC before a declaration
  kIsExtended = 2048,  // written in a way that is not of the plain form and not C++
  kIsCppOnly = 4096,   // written in a way that is not of the plain form, but C++
  kIsForCpu = 8192,    // a type behind IGNORE_VARIABLE_GPU
};

// Whether a function may set what is given for a parameter with these flags.
constexpr Bool SetsArgument(UInt16 flags) {
  return (flags & (kIsOut | kIsInOut)) != 0 || ((flags & kIsReference) != 0 && (flags & kIsConst) == 0);
}

struct Node {
  NodeKind kind = NodeKind::kFile;
  Operation operation = Operation::kNone;
  UInt16 flags = 0;
  SourceOffset offset = kNoOffset;  // of the word or sign that a message points to
  NameIndex name = 0;               // 0: ""
  UInt32 firstChild = 0, childCount = 0;
};

class SyntaxTree {
 public:
  SyntaxTree() { AddName(""); }
  SyntaxTree(SyntaxTree&&) = default;
  SyntaxTree& operator=(SyntaxTree&&) = default;
  SyntaxTree(const SyntaxTree&) = delete;  // names are referred to from within

  // The children come before their parents in the arena, the root is the last node.
  NodeIndex Add(const Node& node, std::span<const NodeIndex> nodeChildren);
  NameIndex AddName(std::string_view name);

  std::string_view GetText(NameIndex name) const { return *names[name]; }
  std::string_view GetName(NodeIndex node) const { return GetText(nodes[node].name); }
  std::span<const NodeIndex> GetChildren(NodeIndex node) const {
    return {children.data() + nodes[node].firstChild, nodes[node].childCount};
  }
  // The child number `index`, kNoNode when the node has fewer.
  NodeIndex GetChild(NodeIndex node, std::size_t index) const {
    return index < nodes[node].childCount ? children[nodes[node].firstChild + index] : kNoNode;
  }
  Bool Is(NodeIndex node, NodeKind kind) const { return node != kNoNode && nodes[node].kind == kind; }
  // A kBinary of that operation.
  Bool IsBinary(NodeIndex node, Operation operation) const {
    return Is(node, NodeKind::kBinary) && nodes[node].operation == operation;
  }
  Bool HasFlag(NodeIndex node, NodeFlag flag) const { return nodes[node].flags & flag; }

  // The same nodes, names and flags in the same order; where they stand in the source does not matter.
  Bool IsSame(const SyntaxTree& other) const;

  NodeIndex root = kNoNode;
  std::vector<Node> nodes;
  std::vector<NodeIndex> children;  // of all nodes
  std::vector<std::unique_ptr<std::string>> names;

  // Found while parsing; kNoNode without one.
  NodeIndex kernel = kNoNode;
  NodeIndex parameters = kNoNode;

 private:
  std::unordered_map<std::string_view, NameIndex> _indices;
};

Bool IsExpression(NodeKind kind);
Bool IsStatement(NodeKind kind);
constexpr Bool IsLoop(NodeKind kind) {
  return kind == NodeKind::kFor || kind == NodeKind::kWhile || kind == NodeKind::kDoWhile;
}

// The parts of a loop; kNoNode where it has none.
struct LoopParts {
  NodeIndex start = kNoNode, condition = kNoNode, step = kNoNode, body = kNoNode;
};
LoopParts GetLoopParts(const SyntaxTree& tree, NodeIndex loop);

// Whether a statement has a `continue` of a loop around it.
Bool HasContinue(const SyntaxTree& tree, NodeIndex statement);

std::string_view GetKindName(NodeKind kind);

}  // namespace ostra::kernellanguage
