#include "parallelprogram/kernellanguage/plain_groups.h"

#include <bit>

namespace ostra::kernellanguage {

std::string PlainGroups::NumberInGroup() const {
  const UInt32* size = _resolved.groupSize;
  std::string number = "InLocalInvocationID.x";
  if (size[1] > 1) number += Join({" + InLocalInvocationID.y * ", std::to_string(size[0]), "u"});
  if (size[2] > 1) number += Join({" + InLocalInvocationID.z * ", std::to_string(size[0] * size[1]), "u"});
  return number;
}

std::string PlainGroups::DeclareGroupArrays() const {
  std::string text;
  std::string count = GroupCount();
  count.pop_back();
  for (const auto& [name, type] : _groupArrays)
    text += Join({MakeMark(_tree.nodes[_tree.kernel].offset), "\tGROUPSHAREDMEM(", _types.GetName(type), ", ", name,
                  ", ", count, ")\n"});
  return text;
}

// Halves of the group onto each other, until the first element holds all.
std::string PlainGroups::ReduceGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number) {
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
std::string PlainGroups::ScanGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number) {
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
std::string PlainGroups::GatherGroup(WordId word, TypeIndex type, const std::string& array, const std::string& index) {
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

std::string PlainGroups::CombineInGroup(WordId word, const std::string& a, const std::string& b) const {
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

// Words of one type share an array: each ends with a barrier behind the last time that it is read.
std::string PlainGroups::GroupArray(TypeIndex type) {
  std::string name = Join({kGroupArrayPrefix, _names.HelperWord(type)});
  _groupArrays.emplace(name, type);
  return name;
}

std::string PlainGroups::GroupCount() const {
  return std::to_string(_resolved.groupSize[0] * _resolved.groupSize[1] * _resolved.groupSize[2]) + "u";
}

std::string PlainGroups::CallGroup(NodeIndex call, const std::string& value, const std::string& index) {
  const Meaning& meaning = _resolved.meaning[call];
  const Overload& overload = GetOverloads(meaning.word)[meaning.overload];
  const Bool isBool = overload.parameters[0] == kBoolType;
  const TypeIndex type = isBool ? kUIntType : overload.parameters[0];
  const std::string array = GroupArray(type), number = NewName("Invocation");
  Line({MarkOf(call), "const uint ", number, " = ", NumberInGroup(), ";"});
  Line({array, "[", number, "] = ", isBool ? Join({"uint(", value, ")"}) : value, ";"});
  Line({"groupSharedBarrier;"});
  const Bool isScan = meaning.word == WordId::kGroupScanInclusiveAdd || meaning.word == WordId::kGroupScanExclusiveAdd;
  const std::string result = !index.empty() ? GatherGroup(meaning.word, type, array, index)
                             : isScan       ? ScanGroup(meaning.word, type, array, number)
                                            : ReduceGroup(meaning.word, type, array, number);
  if (overload.result != kBoolType) return result;
  const std::string condition = NewName("Value");
  Line({"const bool ", condition, " = ", result, " != 0u;"});
  return condition;
}

}  // namespace ostra::kernellanguage
