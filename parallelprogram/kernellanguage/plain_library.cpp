#include "parallelprogram/kernellanguage/plain_library.h"

#include <algorithm>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernellanguage/library_words.h"

namespace ostra::kernellanguage {

std::string PlainLibrary::CallLibrary(std::string_view word, const Overload& overload,
                                      const std::vector<std::string>& arguments) {
  std::string name = Join({"ostra_", word});
  std::vector<TypeIndex> parameters(overload.parameters, overload.parameters + overload.count);
  for (const TypeIndex type : parameters) name += Join({"_", _names.HelperWord(type)});
  if (const LibraryFunction* function = FindLibraryFunction(name)) {
    if (!_helpers.IsDefined(name)) WriteParts(function->body);
    return _helpers.Call(name, overload.result, parameters, std::string(function->body), arguments, overload.changed);
  }
  const std::string body =
      _kernel.IsMatrix(overload.result) ? MultiplyColumns(overload.result) : ApplyToComponents(word, overload);
  return _helpers.Call(name, overload.result, parameters, body, arguments, overload.changed);
}

// matrixCompMult: columns have names that differ between CPU and GPU.
std::string PlainLibrary::MultiplyColumns(TypeIndex matrix) {
  const UInt32 count = _types[matrix].count;
  std::vector<std::string> columns;
  for (UInt32 i = 0; i < count; ++i)
    columns.push_back(Join({_values.MakeColumn("v0", count, i), " * ", _values.MakeColumn("v1", count, i)}));
  return Join({"\treturn ", TypeName(matrix), "(", JoinList(columns), ");\n"});
}

// A function of vectors by that of numbers. What the latter sets goes through a variable, as no component does in
// every language.
std::string PlainLibrary::ApplyToComponents(std::string_view word, const Overload& overload) {
  UInt32 count = 1;
  for (std::size_t i = 0; i < overload.count; ++i) count = std::max(count, _types[overload.parameters[i]].count);
  std::string variables, calls;
  std::vector<std::string> components;
  for (UInt32 k = 0; k < count; ++k) components.push_back(CallOfComponent(word, overload, k, variables));
  const std::string type = overload.result == kVoidType ? "" : TypeName(overload.result);
  const auto makeResult = [&] { return Join({"\treturn ", type, "(", JoinList(components), ");\n"}); };
  if (overload.changed == 0) return makeResult();
  for (UInt32 k = 0; k < count; ++k) {
    const std::string result = Join({"r", GetComponentName(k)});
    if (overload.result == kVoidType) {
      calls += Join({"\t", components[k], ";\n"});
    } else {
      calls += Join({"\t", TypeName(GetNumber(overload.result)), " ", result, " = ", components[k], ";\n"});
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
  return Join({variables, calls, overload.result == kVoidType ? "" : makeResult()});
}

// The call for component `k`; declares the variables of what it sets.
std::string PlainLibrary::CallOfComponent(std::string_view word, const Overload& overload, UInt32 k,
                                          std::string& variables) {
  Overload ofNumbers = overload;
  ofNumbers.result = GetNumber(overload.result);
  std::vector<std::string> numbers;
  for (std::size_t i = 0; i < overload.count; ++i) {
    const std::string value = Join({"v", std::to_string(i)});
    const TypeIndex type = overload.parameters[i];
    ofNumbers.parameters[i] = GetNumber(type);
    numbers.push_back(_types.IsVector(type) ? Join({value, ".", GetComponentName(k)}) : value);
    if (_kernel.IsBoolVector(type)) numbers.back() += " != 0";
    if (!overload.Changes(i)) continue;
    numbers.back() = Join({value, GetComponentName(k)});
    variables += Join({"\t", TypeName(ofNumbers.parameters[i]), " ", numbers.back(), ";\n"});
  }
  const std::string component = CallLibrary(word, ofNumbers, numbers);
  return _kernel.IsBoolVector(overload.result) ? Join({"int(", component, ")"}) : component;
}

TypeIndex PlainLibrary::GetNumber(TypeIndex type) const {
  return _types.IsVector(type) ? GetScalarType(_types[type].scalar) : type;
}

// The functions of the library that a body calls.
void PlainLibrary::WriteParts(std::string_view body) {
  for (std::size_t at = body.find("ostra_"); at != std::string_view::npos; at = body.find("ostra_", at)) {
    std::size_t end = at;
    while (end < body.size() && IsWordCharacter(body[end])) ++end;
    const LibraryFunction* part = FindLibraryFunction(body.substr(at, end - at));
    at = end;
    if (!part || _helpers.IsDefined(std::string(part->name))) continue;
    WriteParts(part->body);
    const Overload overload = ReadForm(part->form, 1);
    _helpers.Call(std::string(part->name), overload.result, {overload.parameters, overload.parameters + overload.count},
                  std::string(part->body), {}, overload.changed);
  }
}

}  // namespace ostra::kernellanguage
