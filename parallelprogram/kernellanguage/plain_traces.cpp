// Traced kernels: one invocation records the values that it writes, line by line, and every invocation that stores into
// one watched element of a buffer records that. The records are those of PRINT (plain_reports.cpp), with the text
// "name = %v"; in functions "Function: name = %v".
//
// Words in front of the records say what is traced: at kTracedInvocation the number of the invocation, behind it, for
// each parameter, the watched element; 0xffffffff for none.
#include <algorithm>
#include <utility>

#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {
namespace {

constexpr UInt32 kMaxElements = 16;  // that are shown of an array
constexpr std::size_t kMaxTracedWords = 48;

}  // namespace

Int PlainPrinter::CountTraceWords() const {
  return _options.isTraced ? 1 + static_cast<Int>(_resolved.parameters.size()) : 0;
}

// "@", then "@target" for the watched element of the buffer "target".
std::string PlainPrinter::MakeTraceNames() const {
  if (!_options.isTraced) return "";
  std::string names = "\t@";
  for (const NodeIndex parameter : _resolved.parameters) names += Join({"\t@", _tree.GetName(parameter)});
  return names;
}

void PlainPrinter::PrintTraceStart() {
  if (!_options.isTraced) return;
  Line({"if (ostraState.invocation == UNIFORM_BUFFER(ostraReport)[", std::to_string(kTracedInvocation), "])"});
  Line({"{"});
  Line({"\tostraState.traced = 1u;"});
  Line({"}"});
}

// Places that the expression changes, in the order in which they stand.
void PlainPrinter::FindChanged(NodeIndex node, std::vector<NodeIndex>& places) const {
  if (node == kNoNode) return;
  const auto children = _tree.GetChildren(node);
  for (const NodeIndex child : children) FindChanged(child, places);
  const Operation operation = _tree.nodes[node].operation;
  const Bool isStep = operation == Operation::kIncrement || operation == Operation::kDecrement;
  if (KindOf(node) == NodeKind::kAssign || (isStep && !children.empty())) places.push_back(children[0]);
  if (KindOf(node) != NodeKind::kCall) return;
  const Meaning& meaning = _resolved.meaning[node];
  const Bool isAtomic = meaning.kind == MeaningKind::kWord && GetWord(meaning.word).kind == WordKind::kAtomic;
  for (std::size_t i = 0; i < children.size(); ++i) {
    Bool isChanged = isAtomic && (i == 0 || i + 1 == children.size());
    if (meaning.kind == MeaningKind::kFunction) {
      const auto parameters = _tree.GetChildren(meaning.target);
      isChanged = i + 2 < parameters.size() && IsChanged(parameters[i + 1]);
    } else if (meaning.kind == MeaningKind::kWord && meaning.overload < GetOverloads(meaning.word).size()) {
      isChanged = GetOverloads(meaning.word)[meaning.overload].Changes(i);
    }
    if (isChanged) places.push_back(children[i]);
  }
}

// Whether computing the value again changes nothing and gives the same.
Bool PlainPrinter::IsRepeatable(NodeIndex node) const {
  if (node == kNoNode) return true;
  std::vector<NodeIndex> changed;
  FindChanged(node, changed);
  if (!changed.empty()) return false;
  if (KindOf(node) == NodeKind::kCall &&
      (_resolved.meaning[node].kind == MeaningKind::kFunction || IsGroupWord(_resolved.meaning[node].word)))
    return false;
  for (const NodeIndex child : _tree.GetChildren(node))
    if (!IsRepeatable(child)) return false;
  return true;
}

// Whether the expression reads one of the variables, or the buffer.
Bool PlainPrinter::Mentions(NodeIndex node, const std::set<NodeIndex>& variables, std::string_view buffer) const {
  if (node == kNoNode) return false;
  if (KindOf(node) == NodeKind::kName && variables.contains(_resolved.meaning[node].target)) return true;
  if (KindOf(node) == NodeKind::kBuffer && _tree.GetName(node) == buffer) return true;
  for (const NodeIndex child : _tree.GetChildren(node))
    if (Mentions(child, variables, buffer)) return true;
  return false;
}

// The variable or buffer that the place is a part of; kNoNode for another place.
NodeIndex PlainPrinter::FindTracedRoot(NodeIndex place) const {
  while (KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex) place = Child(place, 0);
  const Bool isVariable = KindOf(place) == NodeKind::kName && _resolved.meaning[place].kind == MeaningKind::kVariable;
  return isVariable || KindOf(place) == NodeKind::kBuffer ? place : kNoNode;
}

// The whole vector or matrix of a component that is changed. Elements of buffers keep their components: others may be
// changed by other invocations.
NodeIndex PlainPrinter::WidenPlace(NodeIndex place) const {
  const NodeIndex root = FindTracedRoot(place);
  const Bool isOfBuffer = root != kNoNode && KindOf(root) == NodeKind::kBuffer;
  while (KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex) {
    const NodeIndex whole = Child(place, 0);
    const TypeIndex type = _resolved.type[whole];
    if (!_types.IsVector(type) && !IsMatrix(type)) break;
    const Bool isSimplePart = KindOf(place) == NodeKind::kMemberOf && _types.IsScalar(_resolved.type[place]);
    if (isOfBuffer && isSimplePart && _types.IsVector(type)) break;
    place = whole;
  }
  return place;
}

// Whether the place is the same behind the statement that changes `changed`.
Bool PlainPrinter::AreIndicesFixed(NodeIndex place, const std::vector<NodeIndex>& changed) const {
  std::set<NodeIndex> variables;
  std::string_view buffer;
  for (const NodeIndex other : changed) {
    const NodeIndex root = FindTracedRoot(other);
    if (root == kNoNode) continue;
    if (KindOf(root) == NodeKind::kBuffer)
      buffer = _tree.GetName(root);
    else
      variables.insert(_resolved.meaning[root].target);
  }
  for (; KindOf(place) == NodeKind::kMemberOf || KindOf(place) == NodeKind::kIndex; place = Child(place, 0)) {
    if (KindOf(place) != NodeKind::kIndex) continue;
    if (!IsRepeatable(Child(place, 1)) || Mentions(Child(place, 1), variables, buffer)) return false;
  }
  return true;
}

// The text and the words of a value: numbers, vectors and matrices as PRINT has them, "{a = 1, b = (2, 3)}" for
// structs.
void PlainPrinter::AddTraced(const std::string& value, TypeIndex type, TracedValue& traced) {
  const Type& kind = _types[type];
  const Bool isNumber = _types.IsScalar(type) || _types.IsVector(type) || IsMatrix(type);
  if (isNumber) {
    if (traced.words.size() >= kMaxTracedWords) {
      traced.format += "...";
      return;
    }
    for (std::string& word : MakeWords(value, type)) traced.words.push_back(std::move(word));
    traced.types += Join({traced.types.empty() ? "" : ",", MakeTypeCode(type)});
    traced.format += "%v";
    return;
  }
  if (kind.kind == TypeKind::kArray) {
    traced.format += "{";
    for (UInt32 i = 0; i < kind.count && i < kMaxElements; ++i) {
      if (i > 0) traced.format += ", ";
      AddTraced(Join({value, "[", std::to_string(i), "]"}), kind.element, traced);
    }
    traced.format += kind.count > kMaxElements ? ", ...}" : "}";
  } else if (kind.kind == TypeKind::kStruct) {
    traced.format += "{";
    std::string_view comma;
    for (const NodeIndex member : _tree.GetChildren(kind.declaration)) {
      traced.format += Join({std::exchange(comma, ", "), _tree.GetName(member), " = "});
      AddTraced(Join({value, ".", NameOf(member)}), _resolved.type[member], traced);
    }
    traced.format += "}";
  } else {
    traced.format += "...";
  }
}

// "a[%v].x", with the indices as values.
std::string PlainPrinter::NamePlace(NodeIndex place, TracedValue& indices) {
  if (KindOf(place) == NodeKind::kMemberOf)
    return Join({NamePlace(Child(place, 0), indices), ".", _tree.GetName(place)});
  if (KindOf(place) != NodeKind::kIndex) return std::string(_tree.GetName(place));
  const std::string whole = NamePlace(Child(place, 0), indices);
  const NodeIndex index = Child(place, 1);
  if (const auto number = FindNumber(index)) return Join({whole, "[", std::to_string(*number), "]"});
  const std::string text = Expression(index, Binding::kAssignment);
  AddTraced(Join({"(", text, ")"}), _resolved.converted[index], indices);
  return Join({whole, "[%v]"});
}

// What holds in invocations that store into the watched element; empty for no element of a buffer.
std::string PlainPrinter::MakeWatchCondition(NodeIndex place) {
  const NodeIndex root = FindTracedRoot(place);
  if (root == kNoNode || KindOf(root) != NodeKind::kBuffer || !_isInKernel) return "";
  while (Child(place, 0) != root) place = Child(place, 0);
  for (std::size_t i = 0; i < _resolved.parameters.size(); ++i)
    if (_tree.GetName(_resolved.parameters[i]) == _tree.GetName(root))
      return Join({"uint(", Expression(Child(place, 1), Binding::kComma), ") == UNIFORM_BUFFER(ostraReport)[",
                   std::to_string(kTracedInvocation + 1 + i), "]"});
  return "";
}

std::string PlainPrinter::PrefixOfTrace() const {
  return _function == kNoNode ? "" : Join({_tree.GetName(_function), ": "});
}

// `watched`: another condition under which it is recorded.
void PlainPrinter::TraceValue(NodeIndex node, const std::string& name, TracedValue indices, const std::string& value,
                              TypeIndex type, const std::string& watched) {
  TracedValue traced = std::move(indices);
  traced.format = Join({PrefixOfTrace(), name, " = "});
  const std::string other = watched.empty() ? "" : Join({" || ", watched});
  Line({MarkOf(node), "if (ostraState.traced != 0u", other, ")"});
  Line({"{"});
  ++_depth;
  AddTraced(value, type, traced);
  const std::size_t site = AddSite(node, "print", traced.types, traced.format);
  if (_isInKernel)
    PrintRecord(site, traced.words);
  else
    AppendRecord(site, traced.words);
  --_depth;
  Line({"}"});
}

void PlainPrinter::TraceVariable(NodeIndex variable) {
  if (!_options.isTraced || Child(variable, 2) == kNoNode) return;
  std::vector<NodeIndex> changed;
  FindChanged(Child(variable, 2), changed);
  if (_isInKernel && CountTracedCalls(Child(variable, 2)) > 0) PrintRecords();
  for (const NodeIndex place : changed) TracePlace(place, changed);
  TraceValue(variable, std::string(_tree.GetName(variable)), {}, NameOf(variable), _resolved.type[variable]);
}

void PlainPrinter::TracePlace(NodeIndex place, const std::vector<NodeIndex>& changed) {
  const NodeIndex root = FindTracedRoot(place);
  if (root == kNoNode) return;
  if (!AreIndicesFixed(place, changed)) {
    if (KindOf(root) == NodeKind::kBuffer)
      Refuse(place, "a store whose index is changed by its own statement cannot be followed");
    return;
  }
  place = WidenPlace(place);
  TracedValue indices;
  const std::string name = NamePlace(place, indices);
  // An element of a buffer that is changed as a whole is one of several words.
  TraceValue(place, name, std::move(indices), Value(place, Binding::kPostfix), _resolved.type[place],
             MakeWatchCondition(place));
}

void PlainPrinter::TraceChanged(NodeIndex expression) {
  if (!_options.isTraced) return;
  std::vector<NodeIndex> changed;
  FindChanged(expression, changed);
  // What functions have recorded comes first.
  if (_isInKernel && CountTracedCalls(expression) > 0) PrintRecords();
  for (const NodeIndex place : changed) TracePlace(place, changed);
}

void PlainPrinter::TraceParameters(NodeIndex function) {
  const auto children = _tree.GetChildren(function);
  for (std::size_t i = 1; i + 1 < children.size(); ++i) {
    const NodeIndex parameter = children[i];
    const TypeKind kind = _types[_resolved.type[parameter]].kind;
    const Bool hasValue = kind == TypeKind::kScalar || kind == TypeKind::kVector || kind == TypeKind::kMatrix ||
                          kind == TypeKind::kStruct || kind == TypeKind::kArray;
    if (hasValue && !_tree.HasFlag(parameter, kIsOut))
      TraceValue(parameter, std::string(_tree.GetName(parameter)), {}, NameOf(parameter), _resolved.type[parameter]);
  }
}

void PlainPrinter::TraceAll(const std::vector<NodeIndex>& traced) {
  if (!_options.isTraced) return;
  for (const NodeIndex node : traced) {
    if (KindOf(node) == NodeKind::kVariable)
      TraceValue(node, std::string(_tree.GetName(node)), {}, NameOf(node), _resolved.type[node]);
    else
      TracePlace(node, traced);
  }
}

// What changes from round to round: recorded where the body begins.
std::vector<NodeIndex> PlainPrinter::ListLoopVariables(NodeIndex loop) const {
  std::vector<NodeIndex> traced, changed;
  if (!_options.isTraced) return traced;
  if (KindOf(loop) == NodeKind::kWhile) {
    FindChanged(Child(loop, 0), traced);
    return traced;
  }
  if (KindOf(loop) != NodeKind::kFor) return traced;
  std::set<NodeIndex> known;
  const NodeIndex start = Child(loop, 0);
  if (start != kNoNode && KindOf(start) == NodeKind::kDeclaration)
    for (const NodeIndex variable : _tree.GetChildren(start)) {
      known.insert(variable);
      traced.push_back(variable);
    }
  for (const NodeIndex part : {start, Child(loop, 1), Child(loop, 2)}) FindChanged(part, changed);
  for (const NodeIndex place : changed) {
    const NodeIndex root = FindTracedRoot(place);
    if (root == kNoNode || KindOf(root) == NodeKind::kBuffer) continue;
    if (known.insert(_resolved.meaning[root].target).second) traced.push_back(place);
  }
  return traced;
}

void PlainPrinter::TracedReturn(NodeIndex node) {
  const NodeIndex value = Child(node, 0);
  const TypeIndex type = _resolved.converted[value];
  Line({"{"});
  ++_depth;
  const Bool isOpen = OpenHoists(value);
  const std::string text = Expression(value), name = NewName("Value");
  Line({MarkOf(node), "const ", TypeName(type), " ", name, " = ", text, ";"});
  TraceChanged(value);
  TraceValue(node, "return", {}, name, type);
  Line({MarkOf(node), "return ", name, ";"});
  CloseHoists(isOpen);
  --_depth;
  Line({"}"});
}

std::size_t PlainPrinter::CountTracedCalls(NodeIndex node) const {
  if (!_options.isTraced || node == kNoNode) return 0;
  std::size_t count = KindOf(node) == NodeKind::kCall && _resolved.meaning[node].kind == MeaningKind::kFunction;
  for (const NodeIndex child : _tree.GetChildren(node)) count += CountTracedCalls(child);
  return count;
}

// C++ says nothing about the order of calls in an expression: as statements of their own (plain_hoists.cpp) each
// records in the order in which they stand, on all devices.
void PlainPrinter::FindUnorderedCalls() {
  if (!_options.isTraced) return;
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    const Bool isBranch = KindOf(node) == NodeKind::kConditional || KindOf(node) == NodeKind::kComma;
    const Operation operation = _tree.nodes[node].operation;
    if (!IsExpression(KindOf(node)) || isBranch || operation == Operation::kLogicalAnd ||
        operation == Operation::kLogicalOr)
      continue;
    const auto children = _tree.GetChildren(node);
    const auto count = std::count_if(children.begin(), children.end(),
                                     [this](NodeIndex child) { return CountTracedCalls(child) > 0; });
    if (count < 2) continue;
    for (const NodeIndex child : children) AddCalls(child);
  }
}

void PlainPrinter::AddCalls(NodeIndex node) {
  if (node == kNoNode) return;
  if (KindOf(node) == NodeKind::kCall && _resolved.meaning[node].kind == MeaningKind::kFunction)
    _unorderedCalls.insert(node);
  for (const NodeIndex child : _tree.GetChildren(node)) AddCalls(child);
}

}  // namespace ostra::kernellanguage
