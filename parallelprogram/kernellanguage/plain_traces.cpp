#include "parallelprogram/kernellanguage/plain_traces.h"

#include <utility>

#include "parallelprogram/kernellanguage/plain_expressions.h"

namespace ostra::kernellanguage {
namespace {

constexpr UInt32 kMaxElements = 16;  // that are shown of an array
constexpr std::size_t kMaxTracedWords = 48;

}  // namespace

void PlainTraces::TraceVariable(NodeIndex variable) {
  if (!_options.isTraced || Child(variable, 2) == kNoNode) return;
  std::vector<NodeIndex> changed;
  _tracePlan.FindChanged(Child(variable, 2), changed);
  if (_out.IsInKernel() && _tracePlan.CountTracedCalls(Child(variable, 2)) > 0) _reports.PrintRecords();
  for (const NodeIndex place : changed) TracePlace(place, changed);
  TraceValue(variable, std::string(_tree.GetName(variable)), {}, NameOf(variable), _resolved.type[variable]);
}

void PlainTraces::TraceChanged(NodeIndex expression) {
  if (!_options.isTraced) return;
  std::vector<NodeIndex> changed;
  _tracePlan.FindChanged(expression, changed);
  // What functions have recorded comes first.
  if (_out.IsInKernel() && _tracePlan.CountTracedCalls(expression) > 0) _reports.PrintRecords();
  for (const NodeIndex place : changed) TracePlace(place, changed);
  std::vector<NodeIndex> counted;
  _tracePlan.FindCounted(expression, counted);
  for (const NodeIndex atomic : counted) TraceCounted(atomic, changed);
}

void PlainTraces::TraceParameters(NodeIndex function) {
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

void PlainTraces::TraceReturned(NodeIndex node, const std::string& name, TypeIndex type) {
  TraceValue(node, "return", {}, name, type);
}

void PlainTraces::TraceAll(const std::vector<NodeIndex>& traced) {
  if (!_options.isTraced) return;
  for (const NodeIndex node : traced) {
    if (KindOf(node) == NodeKind::kVariable)
      TraceValue(node, std::string(_tree.GetName(node)), {}, NameOf(node), _resolved.type[node]);
    else
      TracePlace(node, traced);
  }
}

// The text and the words of a value: numbers, vectors and matrices as PRINT has them, "{a = 1, b = (2, 3)}" for
// structs.
void PlainTraces::AddTraced(const std::string& value, TypeIndex type, TracedValue& traced) {
  const Type& kind = _types[type];
  const Bool isNumber = _types.IsScalar(type) || _types.IsVector(type) || _kernel.IsMatrix(type);
  if (isNumber) {
    if (traced.words.size() >= kMaxTracedWords) {
      traced.format += "...";
      return;
    }
    for (std::string& word : _words.MakeWords(value, type)) traced.words.push_back(std::move(word));
    traced.types += Join({traced.types.empty() ? "" : ",", _words.MakeTypeCode(type)});
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
std::string PlainTraces::NamePlace(NodeIndex place, TracedValue& indices) {
  if (KindOf(place) == NodeKind::kMemberOf)
    return Join({NamePlace(Child(place, 0), indices), ".", _tree.GetName(place)});
  if (KindOf(place) != NodeKind::kIndex) return std::string(_tree.GetName(place));
  const std::string whole = NamePlace(Child(place, 0), indices);
  const NodeIndex index = Child(place, 1);
  if (const auto number = _kernel.FindNumber(index)) return Join({whole, "[", std::to_string(*number), "]"});
  const std::string text = _expressions.Expression(index, Binding::kAssignment);
  AddTraced(Join({"(", text, ")"}), _resolved.converted[index], indices);
  return Join({whole, "[%v]"});
}

// What holds in invocations that store into the watched element; empty for no element of a buffer.
std::string PlainTraces::MakeWatchCondition(NodeIndex place) {
  const NodeIndex root = _tracePlan.FindTracedRoot(place);
  if (root == kNoNode || KindOf(root) != NodeKind::kBuffer || !_out.IsInKernel()) return "";
  while (Child(place, 0) != root) place = Child(place, 0);
  const std::string index = _expressions.Expression(Child(place, 1), Binding::kAssignment);
  return MakeWatchTest(_tree.GetName(root), Join({"uint(", index, ")"}));
}

// Whether this element of the parameter is the watched one.
std::string PlainTraces::MakeWatchTest(std::string_view parameter, const std::string& element) const {
  for (std::size_t i = 0; i < _resolved.parameters.size(); ++i)
    if (_tree.GetName(_resolved.parameters[i]) == parameter)
      return Join({element, " == ", kReportBuffer, "[", std::to_string(kTracedInvocation + 1 + i), "]"});
  return "";
}

std::string PlainTraces::PrefixOfTrace() const {
  return _out.GetFunction() == kNoNode ? "" : Join({_tree.GetName(_out.GetFunction()), ": "});
}

void PlainTraces::TraceValue(NodeIndex node, const std::string& name, TracedValue indices, const std::string& value,
                             TypeIndex type, const std::string& watched) {
  TracedValue traced = std::move(indices);
  traced.format = Join({PrefixOfTrace(), name, " = "});
  OpenRecord(node, watched);
  AddTraced(value, type, traced);
  CloseRecord(node, traced);
}

// `watched`: another condition under which it is recorded.
void PlainTraces::OpenRecord(NodeIndex node, const std::string& watched) {
  const std::string other = watched.empty() ? "" : Join({" || ", watched});
  Line({MarkOf(node), "if (ostraState.traced != 0u", other, ")"});
  _out.Open();
}

void PlainTraces::CloseRecord(NodeIndex node, const TracedValue& traced) {
  const std::size_t site = _sites.AddSite(node, "print", traced.types, traced.format);
  if (_out.IsInKernel())
    _reports.PrintRecord(site, traced.words);
  else
    _reports.AppendRecord(site, traced.words);
  _out.Close();
}

void PlainTraces::TracePlace(NodeIndex place, const std::vector<NodeIndex>& changed) {
  const NodeIndex root = _tracePlan.FindTracedRoot(place);
  if (root == kNoNode) return;
  if (!_tracePlan.AreIndicesFixed(place, changed)) {
    if (KindOf(root) == NodeKind::kBuffer)
      Refuse(place, "a store whose index is changed by its own statement cannot be followed");
    return;
  }
  place = _tracePlan.WidenPlace(place);
  TracedValue indices;
  const std::string name = NamePlace(place, indices);
  // An element of a buffer that is changed as a whole is one of several words.
  TraceValue(place, name, std::move(indices), _expressions.Value(place, Binding::kPostfix), _resolved.type[place],
             MakeWatchCondition(place));
}

// What an invocation does to a counter: the value that it gives, because the one that it finds there depends on which
// invocation comes first.
void PlainTraces::TraceCounted(NodeIndex atomic, const std::vector<NodeIndex>& changed) {
  const std::string_view counter = _tree.GetName(Child(Child(atomic, 0), 0));
  TracedValue traced;
  traced.format = Join({PrefixOfTrace(), _tree.GetName(atomic), "(", counter, ") = "});
  const auto children = _tree.GetChildren(atomic);
  const Bool isKnown = _tracePlan.IsValueFixed(atomic, changed);
  OpenRecord(atomic, MakeWatchTest(counter, "0u"));
  for (std::size_t i = 1; i + 1 < children.size(); ++i) {
    if (i > 1) traced.format += ", ";
    if (!isKnown)
      traced.format += "...";
    else
      AddTraced(Join({"(", _expressions.Expression(children[i], Binding::kAssignment), ")"}),
                _resolved.converted[children[i]], traced);
  }
  CloseRecord(atomic, traced);
}

}  // namespace ostra::kernellanguage
