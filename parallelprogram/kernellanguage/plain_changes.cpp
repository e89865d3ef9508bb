#include "parallelprogram/kernellanguage/plain_changes.h"

#include <utility>

#include "parallelprogram/kernellanguage/plain_expressions.h"
#include "parallelprogram/kernellanguage/plain_matrices.h"

namespace ostra::kernellanguage {

NodeIndex PlainChanges::SetCopyingCall(NodeIndex call) { return std::exchange(_copyingCall, call); }

// v.xy = ..., v.xy += ...: the value first, then one component after the other.
Bool PlainChanges::WriteSwizzle(NodeIndex assignment) {
  if (_resolved.meaning[Child(assignment, 0)].kind != MeaningKind::kSwizzle) return false;
  _out.Open();
  ChangeSwizzle(assignment);
  _out.Close();
  return true;
}

// What is assigned in another way than it is written: m *= n, i *= 1.5, m[1] = v, b.x = true.
Bool PlainChanges::WriteChange(NodeIndex assignment) {
  if (!_uses.hoistPlan.NeedsHoist(assignment)) return false;
  _out.Open();
  ChangePlace(assignment);
  _out.Close();
  return true;
}

std::string PlainChanges::ChangeSwizzle(NodeIndex assignment) {
  const NodeIndex target = Child(assignment, 0), value = Child(assignment, 1);
  const Meaning& meaning = _resolved.meaning[target];
  const TypeIndex type = _resolved.type[target];
  std::string place = Place(Child(target, 0));
  const std::string name = NewName("Value");
  Line({"const ", TypeName(_resolved.converted[value]), " ", name, " = ",
        _uses.checks.CheckDivisor(assignment, _uses.expressions.Expression(value), _uses.values.PartOf(place, target)),
        ";"});
  const Bool isScalar = _types.IsScalar(_resolved.converted[value]);
  const std::string_view sign = GetSpelling(_tree.nodes[assignment].operation);
  for (UInt32 i = 0; i < _types[type].count; ++i) {
    const std::string component = Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))});
    const std::string part = isScalar ? name : Join({name, ".", GetComponentName(i)});
    // Components of bool vectors are ints already.
    const Scalar computed = _types[_resolved.converted[value]].scalar;
    const TypeIndex number = GetScalarType(computed);
    const std::string before = _types[type].scalar == Scalar::kHalf ? Join({"float(", component, ")"}) : component;
    const std::string changed = sign.empty() ? part
                                : _kernel.IsOpenRemainder(assignment)
                                    ? _uses.values.CallRemainder(number, number, component, part)
                                    : Join({before, " ", sign, " ", part});
    const Bool isStored = !isScalar && _kernel.IsBoolVector(_resolved.converted[value]);
    Line({MarkOf(assignment), component, " = ",
          isStored ? changed : _uses.values.StoredComponent(changed, computed, _types[type].scalar), ";"});
  }
  WriteBack();
  return place;
}

// The new value of the place with this text.
std::string PlainChanges::MakeChanged(NodeIndex assignment, const std::string& place) {
  const NodeIndex target = Child(assignment, 0), value = Child(assignment, 1);
  const TypeIndex type = _resolved.type[target], computed = _resolved.computed[assignment];
  const Operation operation = _tree.nodes[assignment].operation;
  const TypedNode right{value, _resolved.converted[value]};
  if (_kernel.IsBoolComponent(target)) return Join({"int(", _uses.expressions.Expression(value), ")"});
  if (_resolved.meaning[assignment].word == WordId::kMul)
    return _uses.matrices.MultiplyMatrix(type, {target, type}, right);
  if (operation == Operation::kNone) return _uses.expressions.Expression(value);
  if (_kernel.IsMatrix(type) && _types[type].count != 2)
    return _uses.matrices.ComputeMatrix(operation, type, {target, type}, right);
  const std::string left = _uses.values.ConvertText(place, type, computed);
  const std::string by =
      _uses.checks.CheckDivisor(assignment, _uses.expressions.Expression(value, Binding::kUnary), left);
  const std::string sum = _kernel.IsOpenRemainder(assignment)
                              ? _uses.values.CallRemainder(_kernel.GetDividendType(assignment), right.type, left, by)
                              : Join({left, " ", GetSpelling(operation), " ", by});
  return _uses.values.ConvertText(sum, computed, type);
}

std::string PlainChanges::ChangePlace(NodeIndex assignment) {
  const NodeIndex target = Child(assignment, 0);
  std::string place = Place(target);
  _uses.kept.Keep(target, place);  // computed once
  const std::string changed = MakeChanged(assignment, place);
  _uses.kept.Release(target);
  Line({MarkOf(assignment), place, " = ", _uses.values.StoredText(target, changed), ";"});
  WriteBack();
  return place;
}

std::string PlainChanges::MakeOne(TypeIndex type) const {
  const Scalar scalar = _types[type].scalar;
  if (scalar == Scalar::kHalf || scalar == Scalar::kFloat32) return "1.0";
  if (scalar == Scalar::kInt32 || _kernel.IsSmall(type)) return "1";
  return scalar == Scalar::kUInt32 ? "1u" : Join({TypeName(GetScalarType(scalar)), "(1)"});
}

void PlainChanges::ChangeByOne(NodeIndex node, Bool isValueUsed) {
  const NodeIndex target = Child(node, 0);
  const TypeIndex type = _resolved.type[target];
  const Meaning& meaning = _resolved.meaning[target];
  const Bool isSwizzle = meaning.kind == MeaningKind::kSwizzle;
  const std::string place = Place(isSwizzle ? Child(target, 0) : target);
  const Scalar scalar = _types[type].scalar;
  const Bool isHalf = scalar == Scalar::kHalf;
  const std::string_view sign = _tree.nodes[node].operation == Operation::kIncrement ? " + " : " - ";
  const std::string one = MakeOne(type);
  const Bool isBefore = KindOf(node) == NodeKind::kPostfix;
  if (isValueUsed && isBefore) KeepValue(node, type, _uses.values.PartOf(place, target));
  const auto change = [&](const std::string& part) {
    const TypeIndex own = isSwizzle ? GetScalarType(scalar) : type;
    const TypeIndex computed = isHalf ? GetVectorType(Scalar::kFloat32, _types[own].count) : own;
    const std::string changed =
        _kernel.IsSmall(type)
            ? _uses.values.StoredText(
                  target, _uses.values.CutInteger(Join({_uses.values.PartOf(part, target), sign, one}), scalar, scalar))
            : _uses.values.ConvertText(Join({_uses.values.ConvertText(part, own, computed), sign, one}), computed, own);
    Line({MarkOf(node), part, " = ", changed, ";"});
  };
  if (!isSwizzle) change(place);
  for (UInt32 i = 0; isSwizzle && i < GetSwizzleCount(meaning.number); ++i)
    change(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i))}));
  WriteBack();
  if (isValueUsed && !isBefore) KeepValue(node, type, _uses.values.PartOf(place, target));
}

std::string PlainChanges::CopyArgument(NodeIndex argument) {
  const Meaning& meaning = _resolved.meaning[argument];
  const TypeIndex type = _resolved.type[argument];
  const Bool isSwizzle = meaning.kind == MeaningKind::kSwizzle;
  const std::string place = Place(isSwizzle ? Child(argument, 0) : argument), name = NewName("Argument");
  Line({TypeName(type), " ", name, " = ", _uses.values.PartOf(place, argument), ";"});
  if (!isSwizzle)
    _writeBacks.push_back(
        Join({place, " = ",
              _kernel.IsBoolComponent(argument) ? Join({"int(", name, ")"}) : _uses.values.StoredText(argument, name),
              ";"}));
  for (UInt32 i = 0; isSwizzle && i < _types[type].count; ++i)
    _writeBacks.push_back(Join({place, ".", GetComponentName(GetSwizzleComponent(meaning.number, i)), " = ", name, ".",
                                GetComponentName(i), ";"}));
  return name;
}

void PlainChanges::WriteBack() {
  for (const std::string& text : std::exchange(_writeBacks, {})) Line({text});
  WriteColumns();
}

void PlainChanges::KeepValue(NodeIndex node, TypeIndex type, const std::string& value) {
  const std::string name = NewName("Value");
  Line({"const ", TypeName(type), " ", name, " = ", value, ";"});
  _uses.kept.Keep(node, name);
}

// The place with its indices in variables, so that naming it again reads and changes nothing more.
std::string PlainChanges::Place(NodeIndex node) {
  switch (KindOf(node)) {
    case NodeKind::kMemberOf:
      if (_resolved.meaning[node].kind == MeaningKind::kSwizzle) break;
      return Join({Place(Child(node, 0)), _uses.expressions.MemberText(node)});
    case NodeKind::kIndex: {
      if (_kernel.IsMatrix(_resolved.converted[Child(node, 0)])) return ColumnPlace(node);
      const std::string place = Place(Child(node, 0));
      const NodeIndex index = Child(node, 1);
      if (_uses.kept.IsSimple(index))
        return Join({place, "[",
                     _uses.checks.CheckIndex(node, _uses.expressions.Expression(index, Binding::kAssignment)), "]"});
      const std::string name = NewName("Index");
      Line({"const ", TypeName(_resolved.converted[index]), " ", name, " = ",
            _uses.checks.CheckIndex(node, _uses.expressions.Expression(index)), ";"});
      return Join({place, "[", name, "]"});
    }
    case NodeKind::kName:
    case NodeKind::kBuffer:
      return _uses.expressions.Value(node, Binding::kPostfix);
    default:
      break;
  }
  Refuse(node, "this place for components");
  return "";
}

// A column that has no place of its own is changed in a variable and written back (WriteColumns).
std::string PlainChanges::ColumnPlace(NodeIndex node) {
  const NodeIndex matrix = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = _resolved.converted[matrix];
  const UInt32 count = _types[type].count;
  const auto number = _kernel.FindNumber(index);
  const std::string place = Place(matrix);
  if (count != 2 && number && *number < count) return _uses.values.MakeColumn(place, count, *number);
  const Bool isChecked = _uses.checkPlan.NeedsCheck(node);
  std::string column = isChecked ? "" : number ? std::to_string(*number) : _uses.expressions.Expression(index);
  if (isChecked || (!number && !_uses.kept.IsSimple(index))) {
    column = NewName("Index");
    Line({"const int ", column, " = ", _uses.checks.CheckIndex(node, _uses.expressions.Expression(index)), ";"});
  }
  if (count != 2 && _options.isForGpu) return Join({place, "[", column, "]"});
  const std::string name = NewName("Column");
  Line({TypeName(_resolved.type[node]), " ", name, " = ", _uses.values.CallColumn(type, place, column), ";"});
  _changedColumns.push_back({place, column, name, count, number && *number < count ? number : std::nullopt});
  return name;
}

void PlainChanges::WriteColumn(const ChangedColumn& changed, UInt32 column) {
  if (changed.count != 2)
    return Line({_uses.values.MakeColumn(changed.matrix, changed.count, column), " = ", changed.name, ";"});
  for (UInt32 row = 0; row < 2; ++row)
    Line({_uses.values.MakeElement(changed.matrix, 2, column, row), " = ", changed.name, ".", GetComponentName(row),
          ";"});
}

void PlainChanges::WriteColumns() {
  for (const ChangedColumn& changed : _changedColumns) {
    if (changed.number) {
      WriteColumn(changed, *changed.number);
      continue;
    }
    for (UInt32 i = 0; i < changed.count; ++i) {
      const std::string_view chain = i == 0 ? "if (" : "else if (";
      if (i + 1 < changed.count)
        Line({chain, changed.index, " == ", std::to_string(i), ")"});
      else
        Line({"else"});
      _out.Open();
      WriteColumn(changed, i);
      _out.Close();
    }
  }
  _changedColumns.clear();
}

// Arrays go element by element: not every language assigns them.
void PlainChanges::KeepStruct(NodeIndex node) {
  const NodeIndex declaration = _types[_resolved.type[node]].declaration;
  const Bool isStored = _kernel.storedStructs.contains(declaration);
  const auto members = _tree.GetChildren(declaration);
  const std::string name = NewName("Struct");
  Line({TypeName(_resolved.type[node]), " ", name, ";"});
  for (std::size_t i = 0; i < members.size(); ++i) {
    const NodeIndex value = Child(node, i + 1);
    TypeIndex type = _resolved.type[members[i]];
    const Bool isArray = _types[type].kind == TypeKind::kArray;
    std::string target = Join({name, ".", NameOf(members[i])});
    const Bool isTable = isArray && _uses.expressions.IsTable(value);
    std::string given = isTable ? "" : isArray ? Place(value) : _uses.expressions.Expression(value);
    std::vector<std::string> indices;
    for (; _types[type].kind == TypeKind::kArray; type = _types[type].element) {
      const std::string& index = indices.emplace_back(NewName("Index"));
      Line({"for (int ", index, " = 0; ", index, " < ", std::to_string(_types[type].count), "; ++", index, ")"});
      _out.Open();
      for (std::string* text : {&target, &given}) *text += Join({"[", index, "]"});
    }
    if (isTable) given = _uses.expressions.CallTable(value, indices);
    const Bool isFromStored = isArray && KindOf(value) == NodeKind::kMemberOf &&
                              _kernel.storedStructs.contains(_types[_resolved.type[Child(value, 0)]].declaration);
    if (_kernel.IsSmall(type) && isFromStored) given = Join({"int(", given, ")"});
    if (_kernel.IsSmall(type) && isStored) given = Join({_types.GetName(type), "(", given, ")"});
    Line({target, " = ", given, ";"});
    for (std::size_t depth = indices.size(); depth > 0; --depth) _out.Close();
  }
  _uses.kept.Keep(node, name);
}

}  // namespace ostra::kernellanguage
