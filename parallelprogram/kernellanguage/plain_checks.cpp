// Checked kernels: what would leave a buffer, an array or a texture, divide by zero or not end becomes a failure of the
// report (plain_reports.cpp), and something harmless is done in its place.
#include <algorithm>

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
  const Bool isWide = scalar == Scalar::kInt64 || scalar == Scalar::kUInt64;
  const Bool isWhole = isWide || scalar == Scalar::kInt32 || scalar == Scalar::kUInt32;
  if (!(_types.IsScalar(type) || _types.IsVector(type)) || !isWhole) return false;
  return FindNumber(divisor).value_or(0) == 0;
}

// Loops with barriers count in steps of the group (CheckStep): how often they run must not depend on what one
// invocation does.
Bool PlainPrinter::NeedsRounds(NodeIndex node) const {
  const NodeKind kind = KindOf(node);
  const Bool isLoop = kind == NodeKind::kFor || kind == NodeKind::kWhile || kind == NodeKind::kDoWhile;
  return _options.hasChecks && isLoop && HasBarrier(node);
}

Bool PlainPrinter::HasRounds(NodeIndex node) const {
  if (node == kNoNode || IsExpression(KindOf(node))) return false;
  if (NeedsRounds(node)) return true;
  for (const NodeIndex child : _tree.GetChildren(node))
    if (HasRounds(child)) return true;
  return false;
}

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
      return true;
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
  const Bool isRow = type.kind == TypeKind::kArray || type.kind == TypeKind::kVector || type.kind == TypeKind::kMatrix;
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
  const NodeKind kind = KindOf(container);
  const Bool isNamed = isBuffer || kind == NodeKind::kName || kind == NodeKind::kMemberOf || kind == NodeKind::kUniform;
  const Bool isMatrix = IsMatrix(_resolved.converted[container]);
  const std::size_t site = AddCheck(node,
                                    isBuffer   ? "index"
                                    : isMatrix ? "column"
                                               : "array",
                                    type == kIntType ? "i" : "u", isNamed ? _tree.GetName(container) : "");
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

std::string PlainPrinter::WholeNumber(std::string_view digits, Scalar scalar) {
  if (scalar == Scalar::kInt32) return std::string(digits);
  return scalar == Scalar::kUInt32 ? Join({digits, "u"}) : Join({TypeName(GetScalarType(scalar)), "(", digits, ")"});
}

// Whether the quotient of the least number and -1 may be asked for, which no integer holds.
Bool PlainPrinter::MayOverflow(NodeIndex division) const {
  const NodeIndex left = Child(division, 0);
  return IsDivision(division) && IsSignedInteger(_types[_resolved.converted[Child(division, 1)]].scalar) &&
         KindOf(left) != NodeKind::kLiteral;
}

// The divisor, with 1 in the place of 0, and of -1 for the least number. `dividend` is written twice.
std::string PlainPrinter::CheckDivisor(NodeIndex division, const std::string& divisor, const std::string& dividend) {
  if (!_options.hasChecks || !IsDivision(division)) return divisor;
  const TypeIndex type = _resolved.converted[Child(division, 1)];
  const Bool isDivide = _tree.nodes[division].operation == Operation::kDivide;
  const std::size_t site = AddCheck(division, "division", "", isDivide ? "/" : "%");
  static_cast<void>(CallFail(0, "", ""));
  const std::string place = Join({"(ostraState, ", std::to_string(site), "u, "});
  if (MayOverflow(division)) {
    const TypeIndex left = GetDividendType(division);
    WriteDivisorCheck(left, type);
    return Join({DivisorCheckName(left, type), place, dividend, ", ", divisor, ")"});
  }
  const std::string name = Join({"ostra_divisor_", HelperWord(type)});
  if (_helperNames.insert(name).second) {
    const Scalar scalar = _types[type].scalar;
    std::string tests;
    for (const std::string& component : Components("value", type))
      tests += Join({"\tif (", component, " == ", WholeNumber("0", scalar),
                     ")\n\t{\n\t\tostra_fail(report, site, 0u, 0u);\n\t\t", component, " = ", WholeNumber("1", scalar),
                     ";\n\t}\n"});
    _helpers += Join({MarkOf(division), "inline ", TypeName(type), " ", name, "(INOUT OstraReport report, uint site, ",
                      TypeName(type), " divisor)\n{\n\t", TypeName(type), " value = divisor;\n", tests,
                      "\treturn value;\n}\n\n"});
  }
  return Join({name, place, divisor, ")"});
}

// The type that the dividend has when it meets the divisor.
TypeIndex PlainPrinter::GetDividendType(NodeIndex division) const {
  const NodeIndex left = Child(division, 0);
  return KindOf(division) == NodeKind::kBinary || _resolved.computed[division] == kUnknownType
             ? _resolved.converted[left]
             : _resolved.computed[division];
}

std::string PlainPrinter::DivisorCheckName(TypeIndex left, TypeIndex right) const {
  return Join({"ostra_divisor_of_", HelperWord(left), "_", HelperWord(right)});
}

void PlainPrinter::WriteDivisorCheck(TypeIndex left, TypeIndex right) {
  const std::string name = DivisorCheckName(left, right);
  if (!_helperNames.insert(name).second) return;
  const Scalar scalar = _types[right].scalar;
  const std::string zero = WholeNumber("0", scalar), one = WholeNumber("1", scalar);
  const std::string least = scalar == Scalar::kInt32 ? "-2147483647 - 1" : Join({"(", one, " << 63)"});
  const auto dividends = Components("dividend", left), divisors = Components("value", right);
  std::string tests;
  for (std::size_t i = 0; i < std::max(dividends.size(), divisors.size()); ++i) {
    const std::string& divisor = divisors[std::min(i, divisors.size() - 1)];
    const std::string& dividend = dividends[std::min(i, dividends.size() - 1)];
    if (i < divisors.size())
      tests += Join({"\tif (", divisor, " == ", zero, ")\n\t{\n\t\tostra_fail(report, site, 0u, 0u);\n\t\t", divisor,
                     " = ", one, ";\n\t}\n"});
    tests += Join({"\tif (", divisor, " == -", one, " && ", dividend, " == ", least,
                   ")\n\t{\n\t\tostra_fail(report, site, 0u, 1u);\n\t\t", divisor, " = ", one, ";\n\t}\n"});
  }
  _helpers += Join({Mark(_place), "inline ", TypeName(right), " ", name, "(INOUT OstraReport report, uint site, ",
                    TypeName(left), " dividend, ", TypeName(right), " divisor)\n{\n\t", TypeName(right),
                    " value = divisor;\n", tests, "\treturn value;\n}\n\n"});
}

// A division whose dividend cannot be written twice is a function.
std::string PlainPrinter::CallQuotient(NodeIndex division, const std::string& left, const std::string& right) {
  const TypeIndex result = _resolved.type[division], a = GetDividendType(division);
  const TypeIndex b = _resolved.converted[Child(division, 1)];
  const Bool isDivide = _tree.nodes[division].operation == Operation::kDivide;
  const std::size_t site = AddCheck(division, "division", "", isDivide ? "/" : "%");
  static_cast<void>(CallFail(0, "", ""));
  WriteDivisorCheck(a, b);
  const std::string name =
      Join({isDivide ? "ostra_quotient_of_" : "ostra_remainder_of_", HelperWord(a), "_", HelperWord(b)});
  const std::string checked = Join({DivisorCheckName(a, b), "(report, site, dividend, divisor)"});
  const std::string value = IsOpenRemainder(division) ? CallRemainder(a, b, "dividend", checked)
                                                      : Join({"dividend ", isDivide ? "/ " : "% ", checked});
  if (_helperNames.insert(name).second)
    _helpers += Join({Mark(_place), "inline ", TypeName(result), " ", name, "(INOUT OstraReport report, uint site, ",
                      TypeName(a), " dividend, ", TypeName(b), " divisor)\n{\n\treturn ", value, ";\n}\n\n"});
  return Join({name, "(ostraState, ", std::to_string(site), "u, ", left, ", ", right, ")"});
}

// The condition of a loop, which ends when its invocation has taken too many steps.
std::string PlainPrinter::CheckStep(NodeIndex loop, const std::string& condition) {
  if (!NeedsCheck(loop)) return condition;
  if (NeedsRounds(loop))
    return Join({condition.empty() ? "" : Join({"(", condition, ") && "}), "ostraRounds <= ostraRoundLimit"});
  const std::size_t site = AddCheck(loop, "steps", "u", "");
  static_cast<void>(CallFail(0, "", ""));
  if (_helperNames.insert("ostra_step").second)
    _helpers += Join({MarkOf(loop), "inline bool ostra_step(INOUT OstraReport report, uint site)\n{\n",
                      "\treport.steps += 1u;\n\tif (report.steps <= report.limit)\n\t{\n\t\treturn true;\n\t}\n",
                      "\tostra_fail(report, site, report.limit, 0u);\n\treturn false;\n}\n\n"});
  const std::string before = condition.empty() ? "" : Join({"(", condition, ") && "});
  return Join({before, "ostra_step(ostraState, ", std::to_string(site), "u)"});
}

// The body of a loop, and what is behind a loop.
void PlainPrinter::LoopBody(NodeIndex loop, NodeIndex body) {
  if (!NeedsRounds(loop)) return Body(body, ListLoopVariables(loop), CountTracedCalls(loop) > CountTracedCalls(body));
  Line({"{"});
  ++_depth;
  Line({"ostraRounds += 1u;"});
  Statement(body);
  --_depth;
  Line({"}"});
}

void PlainPrinter::LoopEnd(NodeIndex loop) {
  if (!NeedsRounds(loop)) return;
  const std::size_t site = AddCheck(loop, "steps", "u", "");
  Line({"if (ostraRounds > ostraRoundLimit)"});
  Line({"{"});
  Line({"\t", CallFail(site, "ostraRoundLimit", "0u"), ";"});
  Line({"}"});
}

// Steps of loops with barriers, and how many there may be: the same number for all of the group.
void PlainPrinter::PrintRoundStart() {
  const std::string limit = Join({kGroupArrayPrefix, "Limit"});
  Line({"if (", NumberInGroup(), " == 0u)"});
  Line({"{"});
  Line({"\t", limit, "[0] = ostraState.limit;"});
  Line({"}"});
  Line({"groupSharedBarrier;"});
  Line({"const uint ostraRoundLimit = ", limit, "[0];"});
  Line({"uint ostraRounds = 0u;"});
}

}  // namespace ostra::kernellanguage
