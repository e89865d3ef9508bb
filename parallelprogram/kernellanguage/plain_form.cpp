#include "parallelprogram/kernellanguage/plain_form.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_printer.h"
#include "parallelprogram/kernellanguage/remainders.h"

namespace ostra::kernellanguage {

// Types at or below the node that GPUs lack.
void PlainPrinter::RefuseCpuVectors(NodeIndex node) {
  if (node == kNoNode) return;
  const Type& type = _types[_resolved.type[node]];
  if (KindOf(node) == NodeKind::kType && IsCpuVector(type))
    Refuse(node, Join({"GPUs have no ", _types.GetName(_resolved.type[node]), ": use several ",
                       _types.GetName(GetScalarType(type.scalar))}));
  for (const NodeIndex child : _tree.GetChildren(node)) RefuseCpuVectors(child);
}

void PlainPrinter::PrintStruct(NodeIndex node) {
  if (_options.isForGpu) RefuseCpuVectors(node);
  Line({"struct ", MarkOf(node), NameOf(node)});
  _out.Open();
  for (const NodeIndex member : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[member];
    TypeIndex number = type;
    while (_types[number].kind == TypeKind::kArray) number = _types[number].element;
    // Small integers have their own size in a struct that lies in a buffer.
    const Bool isStored = _kernel.IsSmall(number) && _kernel.storedStructs.contains(node);
    Line({isStored ? _types.GetName(number) : TypeName(type), " ", MarkOf(member), NameOf(member),
          _names.ArraySizes(type), ";"});
  }
  _out.Outdent();
  Line({"};"});
}

// The translator drops the line behind a directive.
void PlainPrinter::PrintDirective(NodeIndex node) {
  const Bool isGroupSize = KindOf(node) == NodeKind::kGroupSize;
  Line({MarkOf(node), isGroupSize ? "GROUPSIZE" : _tree.GetName(node), "(", _expressions.List(node, 0), ")"});
  _out.EmptyLine();
}

void PlainPrinter::PrintParameters() {
  if (_options.isForGpu) RefuseCpuVectors(_tree.parameters);
  if (_resolved.parameters.empty() && !reportPlan.IsReporting()) return;
  Line({MarkOf(_tree.parameters != kNoNode ? _tree.parameters : _tree.kernel), "#define KERNELINPUTS \\"});
  for (const NodeIndex parameter : _resolved.parameters) {
    const Bool isLast = parameter == _resolved.parameters.back();
    const TypeIndex value = _resolved.type[parameter];
    // The translator has no value code for half2 and half3, so they are declared as vectors of floats.
    const Bool isShortHalf = _options.isForGpu && IsWidenedUniform(value) && _types[value].count % 4 > 1;
    const std::string type = _kernel.IsSmall(value) ? "int"
                             : isShortHalf ? _types.GetName(GetVectorType(Scalar::kFloat32, _types[value].count))
                                           : _names.ParameterType(Child(parameter, 0));
    const Bool isForCpu = _tree.HasFlag(Child(parameter, 0), kIsForCpu);
    Line({isForCpu ? "(IGNORE_VARIABLE_GPU " : "(", type, ") ", MarkOf(parameter), _tree.GetName(parameter),
          isLast && !reportPlan.IsReporting() ? "" : ", \\"});
  }
  if (reportPlan.IsReporting()) Line({"(Block<UInt32>) ", kReportParameter});
  _out.EmptyLine();
}

// For GPUs constants stand where they are used.
void PlainPrinter::PrintConstant(NodeIndex declaration) {
  for (const NodeIndex variable : _tree.GetChildren(declaration)) {
    if (!_kernel.isUsed[variable]) continue;
    if (_options.isForGpu)
      RefuseCpuVectors(variable);
    else
      Line({"const ", _statements.VariableText(variable), ";"});
  }
}

std::string PlainPrinter::PrintFunctionParameters(NodeIndex function) const {
  std::string parameters;
  const auto children = _tree.GetChildren(function);
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
        Join({i == 1 ? "" : ", ", written, " ", MarkOf(parameter), NameOf(parameter), _names.ArraySizes(type)});
  }
  if (reportPlan.IsReportingFunction(function))
    parameters += Join({parameters.empty() ? "" : ", ", "INOUT ", kReportStruct, " ostraState"});
  return parameters;
}

void PlainPrinter::PrintFunction(NodeIndex node) {
  if (_options.isForGpu) RefuseCpuVectors(node);
  const auto children = _tree.GetChildren(node);
  Line({"inline ", TypeName(_resolved.type[children[0]]), " ", MarkOf(node), NameOf(node), "(",
        PrintFunctionParameters(node), ")"});
  _out.SetFunction(node);
  if (_options.isTraced) {
    _out.Open();
    _traces.TraceParameters(node);
    for (const NodeIndex statement : _tree.GetChildren(children.back())) _statements.Statement(statement);
    _out.Close();
  } else {
    _statements.Body(children.back());
  }
  _out.SetFunction(kNoNode);
  _out.EmptyLine();
}

void PlainPrinter::PrintKernel() {
  if (_options.isForGpu) RefuseCpuVectors(_tree.kernel);
  Line({MarkOf(_tree.kernel), "OSTRA_PARALLEL_KERNEL(", _tree.GetName(_tree.kernel), ", KERNELINPUTS)"});
  const std::size_t begin = _out.GetSize() + std::string_view("{\n").size();
  _out.EnterKernel();
  if (reportPlan.IsReporting()) {
    _out.Open();
    _checks.PrintRoundMemory();
    _reports.PrintReportStart();
    _checks.PrintRoundStart();
    for (const NodeIndex statement : _tree.GetChildren(Child(_tree.kernel, 0))) _statements.Statement(statement);
    _reports.PrintReportEnd();
    _out.Close();
  } else {
    _statements.Body(Child(_tree.kernel, 0));
  }
  _out.Insert(begin, _groups.DeclareGroupArrays());
  Line({"OSTRA_PARALLEL_KERNEL_END"});
}

PlainForm PlainPrinter::Print() {
  const auto items = _tree.GetChildren(_tree.root);
  const auto printAll = [&](std::initializer_list<NodeKind> kinds, auto&& print) {
    for (const NodeIndex item : items) {
      if (item != kNoNode && std::find(kinds.begin(), kinds.end(), KindOf(item)) != kinds.end()) print(item);
    }
  };
  printAll({NodeKind::kStruct}, [&](NodeIndex item) {
    if (_kernel.isUsed[item]) PrintStruct(item);
  });
  _reports.PrintReportStruct();
  const std::string structs = _out.TakeText();
  printAll({NodeKind::kDeclaration}, [&](NodeIndex item) { PrintConstant(item); });
  const std::string constants = _out.TakeText(), helpersOfConstants = _helpers.GetText();
  for (const NodeIndex function : _resolved.functions) {
    if (_kernel.isUsed[function]) PrintFunction(function);
  }
  printAll({NodeKind::kNoiseMark}, [&](NodeIndex) { Line({"ADDNOISECALL"}); });
  PrintKernel();
  const std::string body = _out.TakeText();
  printAll({NodeKind::kGroupSize, NodeKind::kTuning}, [&](NodeIndex item) { PrintDirective(item); });
  PrintParameters();
  PlainForm form;
  form.refusal = _out.TakeRefusal();
  if (form.refusal) return form;

  form.reportTable = sites.MakeReportTable();
  TakeMarks(structs, form);
  form.headerSize = form.text.size();
  const std::string_view helpers = std::string_view(_helpers.GetText()).substr(helpersOfConstants.size());
  TakeMarks(Join({_out.TakeText(), helpersOfConstants, constants, helpers, body}), form);
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
    if (IsComparisonOfVectors(kernel.tree, kernel.resolved, node) || IsRoundedAsDouble(kernel, node) ||
        IsTruncOfDouble(kernel.resolved, node))
      return true;
  return !FindOpenRemainders(kernel.tree, kernel.resolved).empty() ||
         !FindEvaluationOrder(kernel.tree, kernel.resolved).valueFirst.empty();
}

PlainForm PrintPlainForm(const AnalyzedKernel& kernel, const PlainOptions& options) {
  return PlainPrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage
