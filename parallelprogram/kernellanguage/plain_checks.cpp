// Checked kernels: what would leave a buffer, an array or a texture, divide by zero or not end becomes a failure of the
// report (plain_reports.cpp), and something harmless is done in its place.
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

Bool PlainPrinter::HasBarrier(NodeIndex node) const {
  if (node == kNoNode) return false;
  if (KindOf(node) == NodeKind::kBarrier || IsGroupWord(_resolved.meaning[node].word)) return true;
  for (const NodeIndex child : _tree.GetChildren(node))
    if (HasBarrier(child)) return true;
  return false;
}

Bool PlainPrinter::IsDivision(NodeIndex node) const {
  const Operation operation = _tree.nodes[node].operation;
  const NodeKind kind = KindOf(node);
  if ((kind != NodeKind::kBinary && kind != NodeKind::kAssign) ||
      (operation != Operation::kDivide && operation != Operation::kRemainder))
    return false;
  const NodeIndex divisor = Child(node, 1);
  const TypeIndex type = _resolved.converted[divisor];
  const Scalar scalar = _types[type].scalar;
  if (!(_types.IsScalar(type) || _types.IsVector(type)) || (scalar != Scalar::kInt32 && scalar != Scalar::kUInt32))
    return false;
  return FindNumber(divisor).value_or(0) == 0;
}

// Loops with barriers are left alone: how often they run must not depend on what an invocation does.
Bool PlainPrinter::NeedsCheck(NodeIndex node) const {
  if (!_options.hasChecks) return false;
  switch (KindOf(node)) {
    case NodeKind::kIndex:
      return !IndexSize(node).empty();
    case NodeKind::kBinary:
    case NodeKind::kAssign:
      return IsDivision(node);
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return !HasBarrier(node);
    case NodeKind::kCall:
      return _resolved.meaning[node].word == WordId::kSampleTextureLayer ||
             _resolved.meaning[node].word == WordId::kFetchTextureLayer;
    default:
      return false;
  }
}

// A place that is written several times is one.
std::size_t PlainPrinter::AddCheck(NodeIndex node, std::string_view kind, std::string_view types,
                                   std::string_view text) {
  const auto known = _checkSites.find(node);
  if (known != _checkSites.end()) return known->second;
  const std::size_t site = AddSite(node, kind, types, text);
  _checkSites.emplace(node, site);
  return site;
}

// The word that has the size of a parameter; empty for another name.
std::string PlainPrinter::ReportedSize(std::string_view parameter) const {
  for (std::size_t i = 0; i < _resolved.parameters.size(); ++i)
    if (_tree.GetName(_resolved.parameters[i]) == parameter)
      return Join({"UNIFORM_BUFFER(ostraReport)[", std::to_string(kFirstReportedSize + i), "]"});
  return "";
}

// How many elements may be named; empty for an index that is not checked.
std::string PlainPrinter::IndexSize(NodeIndex node) const {
  const NodeIndex container = Child(node, 0), index = Child(node, 1);
  const TypeIndex indexType = _resolved.converted[index];
  if (indexType != kIntType && indexType != kUIntType) return "";
  if (KindOf(container) == NodeKind::kBuffer) return ReportedSize(_tree.GetName(container));
  const Type& type = _types[_resolved.converted[container]];
  const Bool isRow = type.kind == TypeKind::kArray || type.kind == TypeKind::kVector;
  if (!isRow || FindNumber(index).value_or(type.count) < type.count) return "";
  return Join({std::to_string(type.count), "u"});
}

std::string PlainPrinter::CallIndexCheck(NodeIndex node, TypeIndex type, std::size_t site, const std::string& index,
                                         const std::string& size) {
  static_cast<void>(CallFail(0, "", ""));  // its definition comes first
  const Bool isSigned = type == kIntType;
  const std::string_view name = isSigned ? "ostra_index_int" : "ostra_index_uint";
  const std::string_view word = isSigned ? "int" : "uint";
  if (_helperNames.insert(std::string(name)).second)
    _helpers += Join({MarkOf(node), "inline ", word, " ", name, "(INOUT OstraReport report, uint site, ", word,
                      " index, uint size)\n{\n\tif (", isSigned ? "index >= 0 && uint(index)" : "index",
                      " < size)\n\t{\n\t\treturn index;\n\t}\n\tostra_fail(report, site, ",
                      isSigned ? "uint(index)" : "index", ", size);\n\treturn ", isSigned ? "0" : "0u", ";\n}\n\n"});
  return Join({name, "(ostraState, ", std::to_string(site), "u, ", index, ", ", size, ")"});
}

std::string PlainPrinter::CheckIndex(NodeIndex node, const std::string& index) {
  const std::string size = _options.hasChecks ? IndexSize(node) : "";
  if (size.empty()) return index;
  const NodeIndex container = Child(node, 0);
  const Bool isBuffer = KindOf(container) == NodeKind::kBuffer;
  const TypeIndex type = _resolved.converted[Child(node, 1)];
  const Bool isNamed = isBuffer || KindOf(container) == NodeKind::kName || KindOf(container) == NodeKind::kMemberOf;
  const std::size_t site = AddCheck(node, isBuffer ? "index" : "array", type == kIntType ? "i" : "u",
                                    isNamed ? _tree.GetName(container) : "");
  return CallIndexCheck(node, type, site, index, size);
}

std::string PlainPrinter::CheckLayer(NodeIndex call, const std::string& layer) {
  const TypeIndex type = _resolved.converted[Child(call, 2)];
  if (!NeedsCheck(call) || (type != kIntType && type != kUIntType)) return layer;
  const std::string_view name = _tree.GetName(Child(call, 0));
  const std::string size = ReportedSize(name);
  if (size.empty()) return layer;
  const std::size_t site = AddCheck(call, "layer", type == kIntType ? "i" : "u", name);
  return CallIndexCheck(call, type, site, layer, size);
}

// The divisor, with 1 in the place of 0.
std::string PlainPrinter::CheckDivisor(NodeIndex division, const std::string& divisor) {
  if (!_options.hasChecks || !IsDivision(division)) return divisor;
  const TypeIndex type = _resolved.converted[Child(division, 1)];
  const Bool isDivide = _tree.nodes[division].operation == Operation::kDivide;
  const std::size_t site = AddCheck(division, "division", "", isDivide ? "/" : "%");
  static_cast<void>(CallFail(0, "", ""));
  const std::string name = Join({"ostra_divisor_", HelperWord(type)});
  if (_helperNames.insert(name).second) {
    const Bool isSigned = _types[type].scalar == Scalar::kInt32;
    std::string tests;
    for (const std::string& component : Components("value", type))
      tests += Join({"\tif (", component, isSigned ? " == 0" : " == 0u",
                     ")\n\t{\n\t\tostra_fail(report, site, 0u, 0u);\n\t\t", component, isSigned ? " = 1" : " = 1u",
                     ";\n\t}\n"});
    _helpers += Join({MarkOf(division), "inline ", TypeName(type), " ", name, "(INOUT OstraReport report, uint site, ",
                      TypeName(type), " divisor)\n{\n\t", TypeName(type), " value = divisor;\n", tests,
                      "\treturn value;\n}\n\n"});
  }
  return Join({name, "(ostraState, ", std::to_string(site), "u, ", divisor, ")"});
}

// The condition of a loop, which ends when its invocation has taken too many steps.
std::string PlainPrinter::CheckStep(NodeIndex loop, const std::string& condition) {
  if (!NeedsCheck(loop)) return condition;
  const std::size_t site = AddCheck(loop, "steps", "u", "");
  static_cast<void>(CallFail(0, "", ""));
  if (_helperNames.insert("ostra_step").second)
    _helpers += Join({MarkOf(loop), "inline bool ostra_step(INOUT OstraReport report, uint site)\n{\n",
                      "\treport.steps += 1u;\n\tif (report.steps <= report.limit)\n\t{\n\t\treturn true;\n\t}\n",
                      "\tostra_fail(report, site, report.limit, 0u);\n\treturn false;\n}\n\n"});
  const std::string before = condition.empty() ? "" : Join({"(", condition, ") && "});
  return Join({before, "ostra_step(ostraState, ", std::to_string(site), "u)"});
}

}  // namespace ostra::kernellanguage
