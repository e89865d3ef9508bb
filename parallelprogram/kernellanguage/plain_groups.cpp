// Words of a work group: what its invocations compute together, by an array in group memory and barriers. The order of
// all sums is that of the text, so CPU and GPUs give the same bits.
#include <bit>

#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

std::string PlainPrinter::GroupCount() const {
  return std::to_string(_resolved.groupSize[0] * _resolved.groupSize[1] * _resolved.groupSize[2]) + "u";
}

// The number of the invocation in its group, x first.
std::string PlainPrinter::NumberInGroup() const {
  const UInt32* size = _resolved.groupSize;
  std::string number = "InLocalInvocationID.x";
  if (size[1] > 1) number += Join({" + InLocalInvocationID.y * ", std::to_string(size[0]), "u"});
  if (size[2] > 1) number += Join({" + InLocalInvocationID.z * ", std::to_string(size[0] * size[1]), "u"});
  return number;
}

// Words of one type share an array: each ends with a barrier behind the last time that it is read.
std::string PlainPrinter::GroupArray(TypeIndex type) {
  std::string name = Join({kGroupArrayPrefix, HelperWord(type)});
  _groupArrays.emplace(name, type);
  return name;
}

std::string PlainPrinter::DeclareGroupArrays() const {
  std::string text;
  std::string count = GroupCount();
  count.pop_back();
  for (const auto& [name, type] : _groupArrays)
    text += Join({Mark(_tree.nodes[_tree.kernel].offset), "\tGROUPSHAREDMEM(", _types.GetName(type), ", ", name, ", ",
                  count, ")\n"});
  return text;
}

std::string PlainPrinter::CombineInGroup(WordId word, const std::string& a, const std::string& b) const {
  switch (word) {
    case WordId::kGroupReduceMin:
      return Join({"min(", a, ", ", b, ")"});
    case WordId::kGroupReduceMax:
      return Join({"max(", a, ", ", b, ")"});
    case WordId::kGroupReduceAnd:
    case WordId::kGroupAll:
      return Join({a, " & ", b});
    case WordId::kGroupReduceOr:
    case WordId::kGroupAny:
      return Join({a, " | ", b});
    case WordId::kGroupReduceXor:
      return Join({a, " ^ ", b});
    default:
      return Join({a, " + ", b});
  }
}

// Halves of the group onto each other, until the first element holds all.
std::string PlainPrinter::ReduceGroup(WordId word, TypeIndex type, const std::string& array,
                                      const std::string& number) {
  const UInt32 count = _resolved.groupSize[0] * _resolved.groupSize[1] * _resolved.groupSize[2];
  const std::string reach = NewName("Reach"), result = NewName("Value");
  const std::string own = Join({array, "[", number, "]"}), other = Join({array, "[", number, " + ", reach, "]"});
  Line({"for (uint ", reach, " = ", std::to_string(std::bit_ceil(count) / 2), "u; ", reach, " > 0u; ", reach, " = ",
        reach, " / 2u)"});
  Line({"{"});
  Line({"\tif (", number, " < ", reach, " && ", number, " + ", reach, " < ", GroupCount(), ")"});
  Line({"\t{"});
  Line({"\t\t", own, " = ", CombineInGroup(word, own, other), ";"});
  Line({"\t}"});
  Line({"\tgroupSharedBarrier;"});
  Line({"}"});
  Line({"const ", TypeName(type), " ", result, " = ", array, "[0];"});
  Line({"groupSharedBarrier;"});
  return result;
}

// Sums of 1, 2, 4, ... invocations up to this one.
std::string PlainPrinter::ScanGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number) {
  const std::string sum = NewName("Value"), reach = NewName("Reach");
  Line({TypeName(type), " ", sum, " = ", array, "[", number, "];"});
  Line({"for (uint ", reach, " = 1u; ", reach, " < ", GroupCount(), "; ", reach, " = ", reach, " * 2u)"});
  Line({"{"});
  Line({"\tif (", number, " >= ", reach, ")"});
  Line({"\t{"});
  Line({"\t\t", sum, " = ", sum, " + ", array, "[", number, " - ", reach, "];"});
  Line({"\t}"});
  Line({"\tgroupSharedBarrier;"});
  Line({"\t", array, "[", number, "] = ", sum, ";"});
  Line({"\tgroupSharedBarrier;"});
  Line({"}"});
  if (word == WordId::kGroupScanInclusiveAdd) return sum;
  const std::string before = NewName("Value");
  const std::string_view zero = _types[type].scalar == Scalar::kFloat32 ? "0.0"
                                : _types[type].scalar == Scalar::kInt32 ? "0"
                                                                        : "0u";
  const std::vector<std::string> zeros(_types[type].count, std::string(zero));
  Line({TypeName(type), " ", before, " = ",
        _types.IsVector(type) ? Join({TypeName(type), "(", JoinList(zeros), ")"}) : zeros[0], ";"});
  Line({"if (", number, " > 0u)"});
  Line({"{"});
  Line({"\t", before, " = ", array, "[", number, " - 1u];"});
  Line({"}"});
  Line({"groupSharedBarrier;"});
  return before;
}

// The value of one invocation, or the bits of 32.
std::string PlainPrinter::GatherGroup(WordId word, TypeIndex type, const std::string& array, const std::string& index) {
  const std::string result = NewName("Value");
  if (word == WordId::kGroupBroadcast) {
    Line({"const ", TypeName(type), " ", result, " = ", array, "[", index, "];"});
  } else {
    const std::string bit = NewName("Bit"), place = Join({index, " * 32u + ", bit});
    Line({"uint ", result, " = 0u;"});
    Line({"for (uint ", bit, " = 0u; ", bit, " < 32u; ++", bit, ")"});
    Line({"{"});
    Line({"\tif (", place, " < ", GroupCount(), ")"});
    Line({"\t{"});
    Line({"\t\t", result, " = ", result, " | (", array, "[", place, "] << (", bit, " & 31u));"});
    Line({"\t}"});
    Line({"}"});
  }
  Line({"groupSharedBarrier;"});
  return result;
}

std::string PlainPrinter::CallOfGroup(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  const auto arguments = _tree.GetChildren(node);
  const Overload& overload = GetOverloads(meaning.word)[meaning.overload];
  const Bool isBool = overload.parameters[0] == kBoolType;
  const TypeIndex type = isBool ? kUIntType : overload.parameters[0];
  const std::string value = Expression(arguments[0], isBool ? Binding::kComma : Binding::kAssignment);
  std::string index;
  if (arguments.size() == 2) {
    index = NewName("Index");
    const std::string given = Expression(arguments[1]);
    Line({MarkOf(node), "const uint ", index, " = ", given, ";"});
  }
  const std::string array = GroupArray(type), number = NewName("Invocation");
  Line({MarkOf(node), "const uint ", number, " = ", NumberInGroup(), ";"});
  Line({array, "[", number, "] = ", isBool ? Join({"uint(", value, ")"}) : value, ";"});
  Line({"groupSharedBarrier;"});
  const Bool isScan = meaning.word == WordId::kGroupScanInclusiveAdd || meaning.word == WordId::kGroupScanExclusiveAdd;
  const std::string result = arguments.size() == 2 ? GatherGroup(meaning.word, type, array, index)
                             : isScan              ? ScanGroup(meaning.word, type, array, number)
                                                   : ReduceGroup(meaning.word, type, array, number);
  if (overload.result != kBoolType) return result;
  const std::string condition = NewName("Value");
  Line({"const bool ", condition, " = ", result, " != 0u;"});
  return condition;
}

}  // namespace ostra::kernellanguage
