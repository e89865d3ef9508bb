#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/group_printer.h"
#include "parallelprogram/kernellanguage/literal.h"

namespace ostra::kernellanguage {

std::string GroupPrinter::TypeName(TypeIndex type) const {
  const Type& kind = _types[type];
  switch (kind.kind) {
    case TypeKind::kStruct:
      return std::string(_tree.GetName(kind.declaration));
    case TypeKind::kArray:
      return TypeName(kind.element);
    default:
      return GetCppType(kind);
  }
}

std::string GroupPrinter::ArraySizes(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind != TypeKind::kArray) return "";
  return Join({"[", std::to_string(kind.count), "]", ArraySizes(kind.element)});
}

std::string GroupPrinter::UniqueName(NodeIndex variable) const {
  return Join({"ostra_", NameOf(variable), "_", std::to_string(variable)});
}

std::string GroupPrinter::VariableText(NodeIndex variable, std::string_view name) {
  const TypeIndex type = _resolved.type[variable];
  const NodeIndex value = Child(variable, 2);
  const std::string declared = Join({TypeName(type), " ", name, ArraySizes(type)});
  return value == kNoNode ? declared : Join({declared, " = ", Expression(value)});
}

void GroupPrinter::Statement(NodeIndex node) {
  if (node == kNoNode || _refusal) return;
  MarkLine(node);
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      Line({"{"});
      for (const NodeIndex statement : _tree.GetChildren(node)) Statement(statement);
      return Line({"}"});
    case NodeKind::kDeclaration:
      for (const NodeIndex variable : _tree.GetChildren(node)) {
        const TypeIndex type = _resolved.type[variable];
        if (TypeName(type).empty()) return Refuse(variable, Join({"a variable of type ", _types.GetName(type)}));
        const std::string_view qualifier = _tree.HasFlag(variable, kIsConst) ? "const " : "";
        Line({"[[maybe_unused]] ", qualifier, VariableText(variable, NameOf(variable)), ";"});
      }
      return;
    case NodeKind::kExpressionStatement:
      return Line({Expression(Child(node, 0)), ";"});
    case NodeKind::kIf:
      Line({"if (", Condition(Child(node, 0)), ") {"});
      Statement(Child(node, 1));
      if (Child(node, 2) != kNoNode) {
        Line({"} else {"});
        Statement(Child(node, 2));
      }
      return Line({"}"});
    case NodeKind::kFor: {
      Line({"{"});
      Statement(Child(node, 0));
      const NodeIndex condition = Child(node, 1), step = Child(node, 2);
      Line({"for (; ", condition == kNoNode ? "" : Expression(condition), "; ", step == kNoNode ? "" : Expression(step),
            ") {"});
      Statement(Child(node, 3));
      return Line({"} }"});
    }
    case NodeKind::kWhile:
      Line({"while (", Condition(Child(node, 0)), ") {"});
      Statement(Child(node, 1));
      return Line({"}"});
    case NodeKind::kDoWhile:
      Line({"do {"});
      Statement(Child(node, 0));
      return Line({"} while (", Condition(Child(node, 1)), ");"});
    case NodeKind::kSwitch:
      Line({"switch (", Expression(Child(node, 0)), ")"});
      return Statement(Child(node, 1));
    case NodeKind::kCase:
      return Line({"case ", Expression(Child(node, 0)), ":;"});
    case NodeKind::kDefault:
      return Line({"default:;"});
    case NodeKind::kBreak:
      return Line({"break;"});
    case NodeKind::kContinue:
      return Line({"continue;"});
    case NodeKind::kReturn:
      // Of the piece, behind which no barrier comes.
      return Line({_earlyReturn == kNoNode ? "" : "ostraMemory.ostraHasReturned[ostraNumber] = true; ", "return;"});
    case NodeKind::kEmpty:
    case NodeKind::kNoiseMark:
    case NodeKind::kSharedArray:
    case NodeKind::kMakeLocal:  // LOCALDATA reads the buffer itself
      return;
    default:
      return Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\""}));
  }
}

// Compilers warn of a comparison that stands in two pairs of parentheses.
std::string GroupPrinter::Condition(NodeIndex node) {
  const std::string text = Expression(node);
  return KindOf(node) == NodeKind::kBinary ? text.substr(1, text.size() - 2) : text;
}

std::string GroupPrinter::List(NodeIndex node, std::size_t first) {
  const auto children = _tree.GetChildren(node);
  std::string list;
  for (std::size_t i = first; i < children.size(); ++i) list += Join({i == first ? "" : ", ", Expression(children[i])});
  return list;
}

std::string GroupPrinter::Name(NodeIndex node) {
  const NodeIndex target = _resolved.meaning[node].target;
  if (_resolved.meaning[node].kind != MeaningKind::kVariable) return std::string(NameOf(node));
  if (KindOf(target) == NodeKind::kSharedArray) return Join({"ostraMemory.", UniqueName(target)});
  Use(target);
  const auto known = _variables.find(target);
  if (known == _variables.end()) return std::string(NameOf(node));
  if (known->second.place != Place::kKept) return UniqueName(target);
  return Join({"ostraMemory.", UniqueName(target), "[ostraNumber]"});
}

std::string GroupPrinter::Expression(NodeIndex node) {
  const auto child = [&](std::size_t i) { return Child(node, i); };
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  switch (KindOf(node)) {
    case NodeKind::kLiteral: {
      LiteralValue value;
      std::string text(NameOf(node));
      const Bool isFloat = ParseLiteral(text, value) && value.scalar == Scalar::kFloat32;
      return isFloat && text.back() != 'f' && text.back() != 'F' ? text + 'f' : text;
    }
    case NodeKind::kName:
      return Name(node);
    case NodeKind::kUniform:
      return Join({"UNIFORM(", NameOf(node), ")"});
    case NodeKind::kBuffer:
      return Join({"UNIFORM_BUFFER(", NameOf(node), ")"});
    case NodeKind::kLocalData:
      return Join({"UNIFORM_BUFFER(", NameOf(node), ")[", Expression(child(1)), "]"});
    case NodeKind::kUnary:
      return Join({"(", sign, Expression(child(0)), ")"});
    case NodeKind::kPostfix:
      return Join({"(", Expression(child(0)), sign, ")"});
    case NodeKind::kBinary:
      return Join({"(", Expression(child(0)), " ", sign, " ", Expression(child(1)), ")"});
    case NodeKind::kAssign:
      return Join({"(", Expression(child(0)), " ", sign, "= ", Expression(child(1)), ")"});
    case NodeKind::kConditional:
      return Join({"(", Expression(child(0)), " ? ", Expression(child(1)), " : ", Expression(child(2)), ")"});
    case NodeKind::kComma:
      return Join({"(", Expression(child(0)), ", ", Expression(child(1)), ")"});
    case NodeKind::kConstruct:
    case NodeKind::kCast: {
      const TypeIndex type = _resolved.type[node];
      const std::string name = TypeName(type);
      if (name.empty()) break;
      const Bool isConversion = _types.IsScalar(type) && _tree.GetChildren(node).size() == 2;
      return isConversion ? Join({"static_cast<", name, ">(", List(node, 1), ")"})
                          : Join({name, "(", List(node, 1), ")"});
    }
    case NodeKind::kMemberOf:
      return Join({Expression(child(0)), ".", NameOf(node)});
    case NodeKind::kIndex:
      if (_tree.Is(_resolved.meaning[child(0)].target, NodeKind::kSharedArray))
        return Join({"GetGroupElement(", Name(child(0)), ", ", Expression(child(1)), ", \"", NameOf(child(0)),
                     "\", __FILE__, __LINE__)"});
      return Join({Expression(child(0)), "[", Expression(child(1)), "]"});
    case NodeKind::kInitializerList:
      return Join({"{", List(node, 0), "}"});
    case NodeKind::kCall:
      return Call(node);
    default:
      break;
  }
  Refuse(node, Join({"this use of \"", NameOf(node), sign, "\""}));
  return "";
}

std::string GroupPrinter::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  const auto texture = [&](std::string_view function) {
    return Join({"ostraParameter_", NameOf(Child(node, 0)), ".", function, "(", List(node, 1), ")"});
  };
  if (meaning.kind != MeaningKind::kFunction) {
    switch (meaning.word) {
      case WordId::kLinearInvocation:
        return "ostraLinearInvocation";
      case WordId::kTextureSize:
        return texture("GetSize");
      case WordId::kSampleTexture:
      case WordId::kSampleTextureLayer:
        return texture("Sample");
      case WordId::kFetchTexture:
      case WordId::kFetchTextureLayer:
        return texture("Fetch");
      case WordId::kAtomicCounter:
      case WordId::kRenderNoise:
        break;
      default:
        if (!IsAtomic(meaning.word) && GetOverloads(meaning.word).empty())
          Refuse(node, Join({"\"", NameOf(node), "\""}));
        break;
    }
  }
  return Join({NameOf(node), "(", List(node, 0), ")"});
}

}  // namespace ostra::kernellanguage
