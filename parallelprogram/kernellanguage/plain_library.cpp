// Calls of functions that are written in the language itself: their definitions are written at their first use.
#include <algorithm>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

std::string PlainPrinter::CallOfLibrary(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  const Overload& overload = GetOverloads(meaning.word)[meaning.overload];
  std::vector<std::string> arguments;
  for (std::size_t i = 0; i < _tree.GetChildren(node).size(); ++i) arguments.push_back(Argument(node, i));
  // Synonyms have the functions of the first word.
  return CallLibrary(GetWord(meaning.word).name, overload, arguments);
}

std::string PlainPrinter::CallLibrary(std::string_view word, const Overload& overload,
                                      const std::vector<std::string>& arguments) {
  std::string name = Join({"ostra_", word});
  std::vector<TypeIndex> parameters(overload.parameters, overload.parameters + overload.count);
  for (const TypeIndex type : parameters) name += Join({"_", HelperWord(type)});
  if (const LibraryFunction* function = FindLibraryFunction(name)) {
    if (!_helperNames.contains(name)) WriteParts(function->body);
    return CallHelper(name, overload.result, parameters, std::string(function->body), arguments, overload.changed);
  }
  const std::string body =
      IsMatrix(overload.result) ? MultiplyColumns(overload.result) : ApplyToComponents(word, overload);
  return CallHelper(name, overload.result, parameters, body, arguments, overload.changed);
}

// A function of vectors by that of numbers. What the latter sets goes through a variable, as no component does in
// every language.
std::string PlainPrinter::ApplyToComponents(std::string_view word, const Overload& overload) {
  Overload ofNumbers = overload;
  const auto getNumber = [this](TypeIndex type) {
    return _types.IsVector(type) ? GetScalarType(_types[type].scalar) : type;
  };
  ofNumbers.result = getNumber(overload.result);
  UInt32 count = 1;
  for (std::size_t i = 0; i < overload.count; ++i) {
    ofNumbers.parameters[i] = getNumber(overload.parameters[i]);
    count = std::max(count, _types[overload.parameters[i]].count);
  }
  std::string variables, calls;
  std::vector<std::string> components;
  for (UInt32 k = 0; k < count; ++k) {
    std::vector<std::string> numbers;
    for (std::size_t i = 0; i < overload.count; ++i) {
      const std::string value = Join({"v", std::to_string(i)});
      const TypeIndex type = overload.parameters[i];
      numbers.push_back(_types.IsVector(type) ? Join({value, ".", GetComponentName(k)}) : value);
      if (IsBoolVector(type)) numbers.back() += " != 0";
      if (!overload.Changes(i)) continue;
      numbers.back() = Join({value, GetComponentName(k)});
      variables += Join({"\t", TypeName(ofNumbers.parameters[i]), " ", numbers.back(), ";\n"});
    }
    const std::string component = CallLibrary(word, ofNumbers, numbers);
    components.push_back(IsBoolVector(overload.result) ? Join({"int(", component, ")"}) : component);
  }
  const std::string type = overload.result == kVoidType ? "" : TypeName(overload.result);
  if (overload.changed == 0) return Join({"\treturn ", type, "(", JoinList(components), ");\n"});
  for (UInt32 k = 0; k < count; ++k) {
    const std::string result = Join({"r", GetComponentName(k)});
    if (overload.result == kVoidType) {
      calls += Join({"\t", components[k], ";\n"});
    } else {
      calls += Join({"\t", TypeName(ofNumbers.result), " ", result, " = ", components[k], ";\n"});
      components[k] = result;
    }
  }
  for (std::size_t i = 0; i < overload.count; ++i) {
    if (!overload.Changes(i)) continue;
    const std::string value = Join({"v", std::to_string(i)});
    std::vector<std::string> parts;
    for (UInt32 k = 0; k < count; ++k) parts.push_back(Join({value, GetComponentName(k)}));
    calls += Join({"\t", value, " = ", TypeName(overload.parameters[i]), "(", JoinList(parts), ");\n"});
  }
  if (overload.result != kVoidType) calls += Join({"\treturn ", type, "(", JoinList(components), ");\n"});
  return variables + calls;
}

// matrixCompMult: columns have names that differ between CPU and GPU.
std::string PlainPrinter::MultiplyColumns(TypeIndex matrix) {
  const UInt32 count = _types[matrix].count;
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < count; ++i)
    columns.push_back(Join({MakeColumn("v0", count, i), " * ", MakeColumn("v1", count, i)}));
  return Join({"\treturn ", TypeName(matrix), "(", JoinList(columns), ");\n"});
}

// The functions of the library that a body calls.
void PlainPrinter::WriteParts(std::string_view body) {
  for (std::size_t at = body.find("ostra_"); at != std::string_view::npos; at = body.find("ostra_", at)) {
    std::size_t end = at;
    while (end < body.size() && IsWordCharacter(body[end])) ++end;
    const LibraryFunction* part = FindLibraryFunction(body.substr(at, end - at));
    at = end;
    if (!part || _helperNames.contains(std::string(part->name))) continue;
    WriteParts(part->body);
    const Overload overload = ReadForm(part->form, 1);
    CallHelper(std::string(part->name), overload.result, {overload.parameters, overload.parameters + overload.count},
               std::string(part->body), {}, overload.changed);
  }
}

}  // namespace ostra::kernellanguage
