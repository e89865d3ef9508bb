#include "parallelprogram/kernellanguage/plain_form.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_marks.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

void PlainPrinter::Refuse(NodeIndex node, std::string reason) {
  if (!_refusal) _refusal = NotUnderstood{_tree.nodes[node].offset, std::move(reason)};
}

// Marks what `node` needs: functions, structs and constants, and what these need.
void PlainPrinter::FindUsed(NodeIndex node) {
  if (node == kNoNode) return;
  const NodeIndex target = _resolved.meaning[node].target;
  FindUsedType(_resolved.type[node]);
  FindUsedType(_resolved.converted[node]);
  if (target != kNoNode && !_isUsed[target]) {
    const NodeKind kind = KindOf(target);
    if (kind == NodeKind::kFunction || kind == NodeKind::kVariable) {
      _isUsed[target] = true;
      FindUsed(target);
    }
  }
  for (const NodeIndex child : _tree.GetChildren(node)) FindUsed(child);
}

void PlainPrinter::FindUsedType(TypeIndex type) {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kArray || kind.kind == TypeKind::kBuffer) return FindUsedType(kind.element);
  if (kind.kind != TypeKind::kStruct || _isUsed[kind.declaration]) return;
  _isUsed[kind.declaration] = true;
  for (const NodeIndex member : _tree.GetChildren(kind.declaration)) FindUsedType(_resolved.type[member]);
}

void PlainPrinter::PrintStruct(NodeIndex node) {
  Line({"struct ", MarkOf(node), NameOf(node)});
  Line({"{"});
  ++_depth;
  for (const NodeIndex member : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[member];
    TypeIndex number = type;
    while (_types[number].kind == TypeKind::kArray) number = _types[number].element;
    // Small integers have their own size in a struct that lies in a buffer.
    const Bool isStored = IsSmall(number) && _storedStructs.contains(node);
    Line({isStored ? _types.GetName(number) : TypeName(type), " ", MarkOf(member), NameOf(member),
          ArraySizes(_types, type), ";"});
  }
  --_depth;
  Line({"};"});
}

// The translator drops the line behind a directive.
void PlainPrinter::PrintDirective(NodeIndex node) {
  const Bool isGroupSize = KindOf(node) == NodeKind::kGroupSize;
  Line({MarkOf(node), isGroupSize ? "GROUPSIZE" : _tree.GetName(node), "(", List(node, 0), ")"});
  _text += '\n';
}

// As it is written: the words of parameters are those of the host, too.
std::string PlainPrinter::ParameterType(NodeIndex type) const {
  std::string name(_tree.GetName(type));
  TypeIndex value = _resolved.type[type];
  if (IsExtendedType(name) && IsBoolVector(value)) value = GetVectorType(Scalar::kInt32, _types[value].count);
  const Bool isWide = (_types.IsScalar(value) && GetSize(_types[value].scalar) == 8) || IsSmall(value);
  if (_options.isForGpu &&
      (value == kBoolType || isWide || (_types.IsVector(value) && IsInteger(_types[value].scalar))))
    return _types.GetName(value);
  const Type& kind = _types[value];
  if (IsExtendedType(name) && kind.kind == TypeKind::kScalar)
    name = GetCppName(kind.scalar);
  else if (IsExtendedType(name))
    name = Join({"Vec", std::to_string(kind.count), "<", GetCppName(kind.scalar), ">"});
  const auto arguments = _tree.GetChildren(type);
  for (std::size_t i = 0; i < arguments.size(); ++i) name += Join({i == 0 ? "<" : ", ", ParameterType(arguments[i])});
  if (!arguments.empty()) name += ">";
  return Join({_tree.HasFlag(type, kIsConst) ? "const " : "", name, _tree.HasFlag(type, kIsPointer) ? "*" : ""});
}

void PlainPrinter::PrintParameters() {
  if (_resolved.parameters.empty() && !_isReporting) return;
  Line({MarkOf(_tree.parameters), "#define KERNELINPUTS \\"});
  for (const NodeIndex parameter : _resolved.parameters) {
    const Bool isLast = parameter == _resolved.parameters.back();
    const TypeIndex value = _resolved.type[parameter];
    // The translator has no value code for half2 and half3, so they are declared as vectors of floats.
    const Bool isShortHalf = _options.isForGpu && IsWidenedUniform(value) && _types[value].count % 4 > 1;
    const std::string type = IsSmall(value) ? "int"
                             : isShortHalf  ? _types.GetName(GetVectorType(Scalar::kFloat32, _types[value].count))
                                            : ParameterType(Child(parameter, 0));
    Line({"(", type, ") ", MarkOf(parameter), _tree.GetName(parameter), isLast && !_isReporting ? "" : ", \\"});
  }
  if (_isReporting) Line({"(Block<UInt32>) ostraReport"});
  _text += '\n';
}

// For GPUs constants stand where they are used.
void PlainPrinter::PrintConstant(NodeIndex declaration) {
  for (const NodeIndex variable : _tree.GetChildren(declaration)) {
    _fileConstants.insert(variable);
    if (_isUsed[variable] && !_options.isForGpu) Line({"const ", VariableText(variable), ";"});
  }
}

void PlainPrinter::PrintFunction(NodeIndex node) {
  std::string parameters;
  const auto children = _tree.GetChildren(node);
  for (std::size_t i = 1; i + 1 < children.size(); ++i) {
    const NodeIndex parameter = children[i];
    const TypeIndex type = _resolved.type[parameter];
    const Bool isConst = _tree.HasFlag(parameter, kIsConst), isReference = _tree.HasFlag(parameter, kIsReference);
    const std::string name = TypeName(type);
    std::string written = name;
    if (isReference && isConst) written = Join({"CPU_CONSTREF(", name, ")"});
    if (_tree.HasFlag(parameter, kIsInOut) || (isReference && !isConst)) written = Join({"INOUT ", name});
    if (_tree.HasFlag(parameter, kIsOut)) written = Join({"out ", name});
    if (isConst && !isReference) written = Join({"const ", name});
    parameters +=
        Join({i == 1 ? "" : ", ", written, " ", MarkOf(parameter), NameOf(parameter), ArraySizes(_types, type)});
  }
  if (_reportingFunctions.contains(node))
    parameters += Join({parameters.empty() ? "" : ", ", "INOUT OstraReport ostraState"});
  Line({"inline ", TypeName(_resolved.type[children[0]]), " ", MarkOf(node), NameOf(node), "(", parameters, ")"});
  _function = node;
  if (_options.isTraced) {
    Line({"{"});
    ++_depth;
    TraceParameters(node);
    for (const NodeIndex statement : _tree.GetChildren(children.back())) Statement(statement);
    --_depth;
    Line({"}"});
  } else {
    Body(children.back());
  }
  _function = kNoNode;
  _text += '\n';
}

void PlainPrinter::PrintKernel() {
  Line({MarkOf(_tree.kernel), "OSTRA_PARALLEL_KERNEL(", _tree.GetName(_tree.kernel), ", KERNELINPUTS)"});
  const std::size_t begin = _text.size() + std::string_view("{\n").size();
  _isInKernel = true;
  if (_isReporting) {
    Line({"{"});
    ++_depth;
    PrintReportStart();
    for (const NodeIndex statement : _tree.GetChildren(Child(_tree.kernel, 0))) Statement(statement);
    PrintReportEnd();
    --_depth;
    Line({"}"});
  } else {
    Body(Child(_tree.kernel, 0));
  }
  _text.insert(begin, DeclareGroupArrays());
  Line({"OSTRA_PARALLEL_KERNEL_END"});
}

PlainForm PlainPrinter::Print() {
  _isUsed.assign(_tree.nodes.size(), false);
  FindUsed(_tree.kernel);
  FindUsed(_tree.parameters);
  FindNames();
  _storedStructs = FindStoredStructs(_tree, _resolved);
  FindHoists();
  FindReports();
  const auto items = _tree.GetChildren(_tree.root);
  const auto printAll = [&](std::initializer_list<NodeKind> kinds, auto&& print) {
    for (const NodeIndex item : items) {
      if (item != kNoNode && std::find(kinds.begin(), kinds.end(), KindOf(item)) != kinds.end()) print(item);
    }
  };
  printAll({NodeKind::kStruct}, [&](NodeIndex item) {
    if (_isUsed[item]) PrintStruct(item);
  });
  PrintReportStruct();
  const std::string structs = std::exchange(_text, {});
  printAll({NodeKind::kDeclaration}, [&](NodeIndex item) { PrintConstant(item); });
  const std::string constants = std::exchange(_text, {});
  for (const NodeIndex function : _resolved.functions) {
    if (_isUsed[function]) PrintFunction(function);
  }
  printAll({NodeKind::kNoiseMark}, [&](NodeIndex) { Line({"ADDNOISECALL"}); });
  PrintKernel();
  const std::string body = std::exchange(_text, {});
  printAll({NodeKind::kGroupSize, NodeKind::kTuning}, [&](NodeIndex item) { PrintDirective(item); });
  PrintParameters();
  PlainForm form;
  form.refusal = std::move(_refusal);
  if (form.refusal) return form;

  form.reportTable = MakeReportTable();
  TakeMarks(structs, form);
  form.headerSize = form.text.size();
  TakeMarks(Join({_text, constants, _helpers, body}), form);
  return form;
}

// 0.1 where a double belongs.
static Bool IsRoundedAsDouble(const AnalyzedKernel& kernel, NodeIndex node) {
  LiteralValue value;
  return kernel.tree.Is(node, NodeKind::kLiteral) && kernel.resolved.type[node] == kFloatType &&
         kernel.resolved.converted[node] == kDoubleType && ParseLiteral(kernel.tree.GetName(node), value) &&
         value.isRounded;
}

Bool IsOpenOnGpus(const AnalyzedKernel& kernel) {
  for (NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node)
    if (IsComparisonOfVectors(kernel.tree, kernel.resolved, node) || IsRoundedAsDouble(kernel, node)) return true;
  return !FindOpenRemainders(kernel.tree, kernel.resolved).empty() ||
         !FindEvaluationOrder(kernel.tree, kernel.resolved).valueFirst.empty();
}

PlainForm PrintPlainForm(const AnalyzedKernel& kernel, const PlainOptions& options) {
  return PlainPrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage
