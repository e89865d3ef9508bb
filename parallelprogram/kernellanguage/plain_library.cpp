// Calls of functions that are written in the language itself: their definitions are written at their first use.
#include <algorithm>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

std::string PlainPrinter::CallOfLibrary(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  std::vector<std::string> arguments;
  for (const NodeIndex operand : _tree.GetChildren(node)) arguments.push_back(Expression(operand));
  // Synonyms have the functions of the first word.
  return CallLibrary(GetWord(meaning.word).name, GetOverloads(meaning.word)[meaning.overload], arguments);
}

std::string PlainPrinter::CallLibrary(std::string_view word, const Overload& overload,
                                      const std::vector<std::string>& arguments) {
  std::string name = Join({"ostra_", word});
  std::vector<TypeIndex> parameters(overload.parameters, overload.parameters + overload.count);
  for (const TypeIndex type : parameters) name += Join({"_", HelperWord(type)});
  if (const LibraryFunction* function = FindLibraryFunction(name)) {
    if (!_helperNames.contains(name)) WriteParts(function->body);
    return CallHelper(name, overload.result, parameters, std::string(function->body), arguments);
  }
  if (IsMatrix(overload.result))
    return CallHelper(name, overload.result, parameters, MultiplyColumns(overload.result), arguments);
  Overload ofNumbers{.result = GetScalarType(_types[overload.result].scalar), .count = overload.count};
  for (std::size_t i = 0; i < parameters.size(); ++i)
    ofNumbers.parameters[i] = GetScalarType(_types[parameters[i]].scalar);
  std::vector<std::string> components;
  for (UInt32 k = 0; k < _types[overload.result].count; ++k) {
    std::vector<std::string> numbers;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      const std::string value = Join({"v", std::to_string(i)});
      const Bool isVector = _types.IsVector(parameters[i]);
      numbers.push_back(isVector ? Join({value, ".", GetComponentName(k)}) : value);
      if (IsBoolVector(parameters[i])) numbers.back() += " != 0";
    }
    const std::string component = CallLibrary(word, ofNumbers, numbers);
    components.push_back(IsBoolVector(overload.result) ? Join({"int(", component, ")"}) : component);
  }
  return CallHelper(name, overload.result, parameters,
                    Join({"\treturn ", TypeName(overload.result), "(", JoinList(components), ");\n"}), arguments);
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
               std::string(part->body), {});
  }
}

}  // namespace ostra::kernellanguage
