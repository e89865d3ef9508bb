#include "parallelprogram/kernellanguage/plain_checks.h"

#include <algorithm>

namespace ostra::kernellanguage {

std::string PlainChecks::CheckIndex(NodeIndex node, const std::string& index) {
  const std::string size = _options.hasChecks ? _checkPlan.IndexSize(node) : "";
  if (size.empty()) return index;
  const NodeIndex container = Child(node, 0);
  const Bool isBuffer = KindOf(container) == NodeKind::kBuffer;
  const TypeIndex type = _resolved.converted[Child(node, 1)];
  const NodeKind kind = KindOf(container);
  const Bool isNamed = isBuffer || kind == NodeKind::kName || kind == NodeKind::kMemberOf || kind == NodeKind::kUniform;
  const Bool isMatrix = _kernel.IsMatrix(_resolved.converted[container]);
  const std::size_t site = _sites.AddCheck(node,
                                           isBuffer   ? "index"
                                           : isMatrix ? "column"
                                                      : "array",
                                           type == kIntType ? "i" : "u", isNamed ? _tree.GetName(container) : "");
  return CallIndexCheck(node, type, site, index, size);
}

std::string PlainChecks::CheckLayer(NodeIndex call, const std::string& layer) {
  const TypeIndex type = _resolved.converted[Child(call, 2)];
  if (!_checkPlan.NeedsCheck(call) || (type != kIntType && type != kUIntType)) return layer;
  const std::string_view name = _tree.GetName(Child(call, 0));
  const std::string size = _checkPlan.ReportedSize(name);
  if (size.empty()) return layer;
  const std::size_t site = _sites.AddCheck(call, "layer", type == kIntType ? "i" : "u", name);
  return CallIndexCheck(call, type, site, layer, size);
}

std::string PlainChecks::CheckDivisor(NodeIndex division, const std::string& divisor, const std::string& dividend) {
  if (!_options.hasChecks || !_kernel.IsDivision(division)) return divisor;
  const TypeIndex type = _resolved.converted[Child(division, 1)];
  const Bool isDivide = _tree.nodes[division].operation == Operation::kDivide;
  const std::size_t site = _sites.AddCheck(division, "division", "", isDivide ? "/" : "%");
  _reports.DefineFail();
  const std::string place = Join({"(ostraState, ", std::to_string(site), "u, "});
  if (_kernel.MayOverflow(division)) {
    const TypeIndex left = _kernel.GetDividendType(division);
    WriteDivisorCheck(left, type);
    return Join({DivisorCheckName(left, type), place, dividend, ", ", divisor, ")"});
  }
  const std::string name = Join({"ostra_divisor_", _names.HelperWord(type)});
  if (_helpers.Register(name)) {
    const Scalar scalar = _types[type].scalar;
    std::string tests;
    for (const std::string& component : _values.Components("value", type))
      tests += Join({"\tif (", component, " == ", WholeNumber("0", scalar),
                     ")\n\t{\n\t\tostra_fail(report, site, 0u, 0u);\n\t\t", component, " = ", WholeNumber("1", scalar),
                     ";\n\t}\n"});
    _helpers.Define(Join({MarkOf(division), "inline ", TypeName(type), " ", name,
                          "(INOUT OstraReport report, uint site, ", TypeName(type), " divisor)\n{\n\t", TypeName(type),
                          " value = divisor;\n", tests, "\treturn value;\n}\n\n"}));
  }
  return Join({name, place, divisor, ")"});
}

std::string PlainChecks::CallQuotient(NodeIndex division, const std::string& left, const std::string& right) {
  const TypeIndex result = _resolved.type[division], a = _kernel.GetDividendType(division);
  const TypeIndex b = _resolved.converted[Child(division, 1)];
  const Bool isDivide = _tree.nodes[division].operation == Operation::kDivide;
  const std::size_t site = _sites.AddCheck(division, "division", "", isDivide ? "/" : "%");
  _reports.DefineFail();
  WriteDivisorCheck(a, b);
  const std::string name =
      Join({isDivide ? "ostra_quotient_of_" : "ostra_remainder_of_", _names.HelperWord(a), "_", _names.HelperWord(b)});
  const std::string checked = Join({DivisorCheckName(a, b), "(report, site, dividend, divisor)"});
  const std::string value = _kernel.IsOpenRemainder(division) ? _values.CallRemainder(a, b, "dividend", checked)
                                                              : Join({"dividend ", isDivide ? "/ " : "% ", checked});
  if (_helpers.Register(name))
    _helpers.Define(Join({MakeMark(_out.GetPlace()), "inline ", TypeName(result), " ", name,
                          "(INOUT OstraReport report, uint site, ", TypeName(a), " dividend, ", TypeName(b),
                          " divisor)\n{\n\treturn ", value, ";\n}\n\n"}));
  return Join({name, "(ostraState, ", std::to_string(site), "u, ", left, ", ", right, ")"});
}

std::string PlainChecks::CheckStep(NodeIndex loop, const std::string& condition) {
  if (!_checkPlan.NeedsCheck(loop)) return condition;
  if (_checkPlan.NeedsRounds(loop))
    return Join({condition.empty() ? "" : Join({"(", condition, ") && "}), "ostraRounds <= ostraRoundLimit"});
  const std::size_t site = _sites.AddCheck(loop, "steps", "u", "");
  _reports.DefineFail();
  if (_helpers.Register("ostra_step"))
    _helpers.Define(Join({MarkOf(loop), "inline bool ostra_step(INOUT OstraReport report, uint site)\n{\n",
                          "\treport.steps += 1u;\n\tif (report.steps <= report.limit)\n\t{\n\t\treturn true;\n\t}\n",
                          "\tostra_fail(report, site, report.limit, 0u);\n\treturn false;\n}\n\n"}));
  const std::string before = condition.empty() ? "" : Join({"(", condition, ") && "});
  return Join({before, "ostra_step(ostraState, ", std::to_string(site), "u)"});
}

void PlainChecks::PrintLoopEnd(NodeIndex loop) {
  if (!_checkPlan.NeedsRounds(loop)) return;
  const std::size_t site = _sites.AddCheck(loop, "steps", "u", "");
  Line({"if (ostraRounds > ostraRoundLimit)"});
  Line({"{"});
  Line({"\t", _reports.CallFail(site, "ostraRoundLimit", "0u"), ";"});
  Line({"}"});
}

void PlainChecks::PrintRoundMemory() {
  if (_checkPlan.HasRounds(_tree.kernel)) Line({"GROUPSHAREDMEM(uint, ", kGroupArrayPrefix, "Limit, 1)"});
}

void PlainChecks::PrintRoundStart() {
  if (!_checkPlan.HasRounds(_tree.kernel)) return;
  const std::string limit = Join({kGroupArrayPrefix, "Limit"});
  Line({"if (", _groups.NumberInGroup(), " == 0u)"});
  Line({"{"});
  Line({"\t", limit, "[0] = ostraState.limit;"});
  Line({"}"});
  Line({"groupSharedBarrier;"});
  Line({"const uint ostraRoundLimit = ", limit, "[0];"});
  Line({"uint ostraRounds = 0u;"});
}

std::string PlainChecks::CallIndexCheck(NodeIndex node, TypeIndex type, std::size_t site, const std::string& index,
                                        const std::string& size) {
  _reports.DefineFail();  // its definition comes first
  const Bool isSigned = type == kIntType;
  const std::string_view name = isSigned ? "ostra_index_int" : "ostra_index_uint";
  const std::string_view word = isSigned ? "int" : "uint";
  if (_helpers.Register(std::string(name)))
    _helpers.Define(
        Join({MarkOf(node), "inline ", word, " ", name, "(INOUT OstraReport report, uint site, ", word,
              " index, uint size)\n{\n\tif (", isSigned ? "index >= 0 && uint(index)" : "index",
              " < size)\n\t{\n\t\treturn index;\n\t}\n\tostra_fail(report, site, ", isSigned ? "uint(index)" : "index",
              ", size);\n\treturn ", isSigned ? "0" : "0u", ";\n}\n\n"}));
  return Join({name, "(ostraState, ", std::to_string(site), "u, ", index, ", ", size, ")"});
}

std::string PlainChecks::WholeNumber(std::string_view digits, Scalar scalar) const {
  if (scalar == Scalar::kInt32) return std::string(digits);
  return scalar == Scalar::kUInt32 ? Join({digits, "u"}) : Join({TypeName(GetScalarType(scalar)), "(", digits, ")"});
}

std::string PlainChecks::DivisorCheckName(TypeIndex left, TypeIndex right) const {
  return Join({"ostra_divisor_of_", _names.HelperWord(left), "_", _names.HelperWord(right)});
}

void PlainChecks::WriteDivisorCheck(TypeIndex left, TypeIndex right) {
  const std::string name = DivisorCheckName(left, right);
  if (!_helpers.Register(name)) return;
  const Scalar scalar = _types[right].scalar;
  const std::string zero = WholeNumber("0", scalar), one = WholeNumber("1", scalar);
  const std::string least = scalar == Scalar::kInt32 ? "-2147483647 - 1" : Join({"(", one, " << 63)"});
  const auto dividends = _values.Components("dividend", left), divisors = _values.Components("value", right);
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
  _helpers.Define(Join({MakeMark(_out.GetPlace()), "inline ", TypeName(right), " ", name,
                        "(INOUT OstraReport report, uint site, ", TypeName(left), " dividend, ", TypeName(right),
                        " divisor)\n{\n\t", TypeName(right), " value = divisor;\n", tests, "\treturn value;\n}\n\n"}));
}

}  // namespace ostra::kernellanguage
