#include <algorithm>
#include <array>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/host_names.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {

Resolver::Types Resolver::ReadArguments(std::span<const NodeIndex> arguments, Bool& isKnown) {
  Types types;
  isKnown = true;
  for (const NodeIndex argument : arguments) {
    types.push_back(Expression(argument));
    isKnown = isKnown && types.back() != kUnknownType && !IsStopped();
  }
  return types;
}

std::string Resolver::ListTypes(const Types& types) const {
  std::string list;
  for (const TypeIndex type : types) list += Join({list.empty() ? "" : ", ", TypeName(type)});
  return list;
}

Bool Resolver::CheckCount(NodeIndex call, std::size_t count, std::string_view form) {
  if (_tree.GetChildren(call).size() == count) return true;
  Fail(call, Join({NameOf(call), " has the form ", form}));
  return false;
}

TypeIndex Resolver::Call(NodeIndex node) {
  const std::string_view name = NameOf(node);
  const Word* word = FindWord(name);
  // Words that are macros of the CPU form come before all names.
  const Bool isMacro = word && (word->kind == WordKind::kTexture || word->id == WordId::kLinearInvocation);
  if (!isMacro) {
    if (const NodeIndex variable = FindVariable(node); variable != kNoNode) {
      return Fail(node, Join({"\"", name, "\" is a variable here and cannot be called"}),
                  {{GetOffset(variable), "it is declared here"}});
    }
    const auto functions = _functions.find(name);
    if (functions != _functions.end()) return CallFunction(node, functions->second);
  }
  if (!word || (IsLibraryWord(word->id) && IsDeclaredLater(name))) return FailUnknownName(node, true);
  switch (word->kind) {
    case WordKind::kTexture:
      return CallTexture(node, word->id);
    case WordKind::kAtomic:
      return CallAtomic(node, word->id);
    case WordKind::kFunction:
      return CallWord(node, word->id);
    default:
      break;
  }
  if (word->id == WordId::kRenderNoise) return CallNoise(node);
  if (word->id == WordId::kLinearInvocation) {
    if (!_isInKernel) return Stop(node, "LinearInvocation outside of the kernel's body");
    if (!CheckCount(node, 0, "LinearInvocation()")) return kUnknownType;
    _resolved.usesLinearInvocation = true;
    _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word->id};
    return kUIntType;
  }
  if (word->id == WordId::kSampleGradient) {
    Bool isKnown = false;
    const auto arguments = _tree.GetChildren(node);
    const Types types = ReadArguments(arguments, isKnown);
    if (!CheckCount(node, 2, "SampleGradient(UNIFORM(gradient), position)") || !isKnown) return kUnknownType;
    if (types[0] != kGradientType) return Stop(arguments[0], "a gradient of this kind");
    if (!Convert(arguments[1], kFloatType, "the position")) return kUnknownType;
    _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word->id};
    return GetVectorType(Scalar::kFloat32, 3);
  }
  return Stop(node, Join({"this use of \"", name, "\""}));
}

// A function of the file by this name, before which the word of the language must not step in.
Bool Resolver::IsDeclaredLater(std::string_view name) const {
  const auto items = _tree.GetChildren(_tree.root);
  return std::any_of(items.begin(), items.end(), [&](NodeIndex item) {
    return (_tree.Is(item, NodeKind::kPrototype) || _tree.Is(item, NodeKind::kFunction)) && NameOf(item) == name;
  });
}

TypeIndex Resolver::CallFunction(NodeIndex node, const std::vector<NodeIndex>& functions) {
  Bool isKnown = false;
  const auto arguments = _tree.GetChildren(node);
  const Types types = ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  if (!_isInKernel && std::find(functions.begin(), functions.end(), _resolved.functions.back()) != functions.end())
    return Stop(node, "a function that calls itself");
  struct Form {
    Types parameters;
    std::vector<char> exact;
    std::size_t needed = 0;  // arguments without a default value
  };
  std::vector<Form> forms;
  for (const NodeIndex function : functions) {
    Form& form = forms.emplace_back();
    const auto children = _tree.GetChildren(function);
    for (const NodeIndex parameter : children.subspan(1, children.size() - 2)) {
      const UInt16 flags = _tree.nodes[parameter].flags;
      form.parameters.push_back(_resolved.type[parameter]);
      if (_tree.GetChild(parameter, 2) == kNoNode) ++form.needed;
      form.exact.push_back(SetsArgument(flags));
    }
  }
  std::size_t chosen = 0;
  if (functions.size() > 1) {
    std::vector<Candidate> candidates;
    for (const Form& form : forms) {
      const Bool isEnough = types.size() >= form.needed && types.size() <= form.parameters.size();
      const std::size_t count = isEnough ? types.size() : form.parameters.size();
      candidates.push_back(
          {std::span(form.parameters).first(count), {reinterpret_cast<const Bool*>(form.exact.data()), count}});
    }
    const Choice choice = ChooseOverload(_resolved.types, candidates, types, chosen);
    if (choice != Choice::kFound)
      return Stop(node, Join({"the choice between functions \"", NameOf(node), "\" for ", ListTypes(types)}));
  }
  const NodeIndex function = functions[chosen];
  const Form& form = forms[chosen];
  std::vector<DiagnosticNote> notes = {{GetOffset(function), "it is declared here"}};
  const std::size_t most = form.parameters.size();
  if (arguments.size() < form.needed || arguments.size() > most) {
    const std::string least = form.needed == most ? "" : Join({std::to_string(form.needed), " to "});
    return Fail(node,
                Join({"\"", NameOf(node), "\" takes ", least, std::to_string(most),
                      most == 1 ? " argument, not " : " arguments, not ", std::to_string(arguments.size())}),
                std::move(notes));
  }
  if (arguments.size() < most) Extend(node);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const NodeIndex parameter = _tree.GetChild(function, i + 1);
    const std::string what = Join({"the argument \"", NameOf(parameter), "\""});
    if (form.exact[i]) {
      if (types[i] != form.parameters[i]) {
        return Fail(arguments[i],
                    Join({what, " is changed by the function: it needs a variable of type ",
                          TypeName(form.parameters[i]), ", this is a ", TypeName(types[i])}),
                    std::move(notes));
      }
      if (!CheckPlace(arguments[i], what)) return kUnknownType;
    } else if (!Convert(arguments[i], form.parameters[i], what)) {
      return kUnknownType;
    }
  }
  _resolved.meaning[node] = {.kind = MeaningKind::kFunction, .target = function};
  return _resolved.type[function];
}

// Whether an argument is a vector longer than what the overload takes.
Bool Resolver::IsCut(const Overload& overload, const Types& types) const {
  for (std::size_t i = 0; i < types.size(); ++i) {
    if (GetConversion(_resolved.types, types[i], overload.parameters[i]) == ConversionRank::kCut) return true;
  }
  return false;
}

// The overload for arguments of several types: all numbers become those of the type that C++ would compute with, and a
// scalar becomes a vector where there is no other way.
std::optional<std::size_t> Resolver::FindMixedOverload(std::span<const Overload> overloads, const Types& types) const {
  Scalar common = Scalar::kBool;
  UInt32 width = 1;
  for (const TypeIndex index : types) {
    const Type& type = Get(index);
    if (!IsScalar(index) && !IsVector(index)) return std::nullopt;
    if (width > 1 && type.count > 1 && type.count != width) return std::nullopt;
    width = std::max(width, type.count);
    common = GetCommonScalar(common, type.scalar);
  }
  const auto isOfIntegers = [this](const Overload& overload) {
    return Get(overload.parameters[0]).scalar == Scalar::kInt32;
  };
  if (std::none_of(overloads.begin(), overloads.end(), isOfIntegers)) common = Scalar::kFloat32;
  std::optional<std::size_t> best;
  std::size_t fewest = types.size() + 1;
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const Overload& overload = overloads[i];
    std::size_t spread = 0;
    Bool fits = overload.count == types.size();
    for (std::size_t k = 0; fits && k < types.size(); ++k) {
      const Type &parameter = Get(overload.parameters[k]), &given = Get(types[k]);
      const Bool isVector = parameter.kind == TypeKind::kVector;
      fits = (isVector ? parameter.count == width : parameter.kind == TypeKind::kScalar && given.count == 1) &&
             (overload.Changes(k) ? overload.parameters[k] == types[k] : parameter.scalar == common);
      if (isVector && given.count == 1) ++spread;
    }
    if (!fits || spread >= fewest) continue;
    best = i;
    fewest = spread;
  }
  return best;
}

// Whether there are vectors with different numbers of components.
Bool Resolver::HasSeveralWidths(const Types& types) const {
  UInt32 width = 1;
  for (const TypeIndex type : types) {
    if (!IsVector(type)) continue;
    if (width != 1 && width != Get(type).count) return true;
    width = Get(type).count;
  }
  return false;
}

TypeIndex Resolver::FailOverload(NodeIndex node, std::span<const Overload> overloads, const Types& types) {
  constexpr int kMaxListed = 6;
  std::string forms;
  int count = 0;
  for (const Overload& overload : overloads) {
    if (overload.count != types.size() || ++count > kMaxListed) continue;
    const Types parameters(overload.parameters, overload.parameters + overload.count);
    forms += Join({forms.empty() ? "(" : ", (", ListTypes(parameters), ")"});
  }
  if (count > kMaxListed) forms += ", ...";
  if (count == 0) {
    return Fail(node, Join({NameOf(node), " does not take ", std::to_string(types.size()),
                            types.size() == 1 ? " argument" : " arguments"}));
  }
  return Fail(node, Join({"there is no ", NameOf(node), " of ", ListTypes(types), "; it takes ", forms}));
}

// The type in which C++ computes with all the numbers; Bool: there are others than numbers.
Scalar Resolver::GetCommonScalarOf(const Types& types) const {
  Scalar common = Scalar::kBool;
  for (const TypeIndex type : types) {
    if (!IsScalar(type) && !IsVector(type)) return Scalar::kBool;
    common = GetCommonScalar(common, Get(type).scalar);
  }
  return common;
}

// min, max, clamp, abs and sign of 64-bit integers.
TypeIndex Resolver::CallOfLongs(NodeIndex node, WordId word, const Types& types) {
  const TypeIndex wanted = GetScalarType(GetCommonScalarOf(types));
  const Bool areScalars = std::all_of(types.begin(), types.end(), [this](TypeIndex type) { return IsScalar(type); });
  const auto overloads = GetLongOverloads(word);
  const auto fits = [&](const Overload& overload) {
    return areScalars && overload.count == types.size() && overload.parameters[0] == wanted;
  };
  const auto found = std::find_if(overloads.begin(), overloads.end(), fits);
  if (found == overloads.end()) return FailOverload(node, overloads, types);
  for (const NodeIndex argument : _tree.GetChildren(node)) SetConverted(argument, wanted);
  Extend(node);
  _resolved.meaning[node] = {
      .kind = MeaningKind::kWord, .word = word, .overload = static_cast<UInt16>(found - overloads.begin())};
  return found->result;
}

TypeIndex Resolver::CallWord(NodeIndex node, WordId word) {
  Bool isKnown = false;
  const auto arguments = _tree.GetChildren(node);
  const Types types = ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Scalar common = GetCommonScalarOf(types);
  if (IsLongInteger(common) && !GetLongOverloads(word).empty()) return CallOfLongs(node, word, types);
  const Bool hasDouble = std::find(types.begin(), types.end(), kDoubleType) != types.end();
  const auto overloads = hasDouble ? GetDoubleOverloads(word) : GetOverloads(word);
  for (const TypeIndex type : types) {
    const Bool isNumber = IsScalar(type) || IsVector(type);
    const Bool isDouble = type == kDoubleType && !overloads.empty();
    // Beside a float it becomes one.
    const Bool isConverted = IsScalar(type) && IsLongInteger(Get(type).scalar) && IsFloating(common);
    if (isNumber && !isDouble && !isConverted && (GetSize(Get(type).scalar) == 8 || (hasDouble && !IsScalar(type))))
      return Stop(node, Join({NameOf(node), " of numbers of 64 bits"}));
  }
  std::vector<Candidate> candidates;
  // Arguments that the function sets are variables of just that type.
  std::vector<std::array<Bool, std::size(Overload{}.parameters)>> exact(overloads.size());
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const Overload& overload = overloads[i];
    for (std::size_t k = 0; k < overload.count; ++k) exact[i][k] = overload.Changes(k);
    candidates.push_back({{overload.parameters, overload.count}, {exact[i].data(), overload.count}});
  }
  std::size_t chosen = 0;
  const Choice choice = ChooseOverload(_resolved.types, candidates, types, chosen);
  const Bool isPlain = choice == Choice::kFound && !IsCut(overloads[chosen], types);
  if (!isPlain) {
    const auto mixed = FindMixedOverload(overloads, types);
    if (!mixed && choice == Choice::kUncertain && !HasSeveralWidths(types))
      return Stop(node, Join({"the choice of ", NameOf(node), " for ", ListTypes(types)}));
    // C++ has functions by some of these names, too.
    const Bool setsArguments = overloads[0].changed != 0;
    if (!mixed && !setsArguments && IsLibraryWord(word) && MayBeHostName(NameOf(node)))
      return Stop(node, Join({NameOf(node), " of ", ListTypes(types)}));
    if (!mixed) return FailOverload(node, overloads, types);
    chosen = *mixed;
    Extend(node);
  }
  const Overload& overload = overloads[chosen];
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!Convert(arguments[i], overload.parameters[i], "an argument")) return kUnknownType;
    if (overload.Changes(i) && !CheckPlace(arguments[i], Join({"an argument that ", NameOf(node), " sets"})))
      return kUnknownType;
  }
  if (IsGroupWord(word) && !CheckGroupWord(node)) return kUnknownType;
  if (GetWord(word).isExtension && isPlain) Extend(node);
  _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word, .overload = static_cast<UInt16>(chosen)};
  return overload.result;
}

// The group computes it before the statement: it stands where every invocation comes to it.
Bool Resolver::CheckGroupWord(NodeIndex node) {
  if (!_isInKernel) {
    Fail(node, Join({NameOf(node), " stands in a function: it belongs into the kernel"}));
    return false;
  }
  if (_groupCalls.contains(node)) return true;
  Fail(node, Join({NameOf(node), " needs a statement of its own here: assign its value to a variable before"}));
  return false;
}

// Calls of group words in a statement that it comes to whatever its values are.
void Resolver::FindGroupCalls(NodeIndex node) {
  if (node == kNoNode) return;
  if (_tree.Is(node, NodeKind::kCall)) {
    const Word* word = FindWord(NameOf(node));
    if (word && IsGroupWord(word->id)) _groupCalls.insert(node);
  }
  const Operation operation = _tree.nodes[node].operation;
  const Bool isChoice = _tree.Is(node, NodeKind::kConditional) ||
                        (_tree.Is(node, NodeKind::kBinary) &&
                         (operation == Operation::kLogicalAnd || operation == Operation::kLogicalOr));
  for (const NodeIndex child : _tree.GetChildren(node)) {
    FindGroupCalls(child);
    if (isChoice) return;
  }
}

NodeIndex Resolver::ReadParameterArgument(NodeIndex argument, WordId word) {
  const Bool isName = _tree.Is(argument, NodeKind::kName) || _tree.Is(argument, NodeKind::kUniform);
  if (!isName || _tree.HasFlag(argument, kIsParenthesized)) {
    Stop(argument, Join({GetWord(word).name, " of this"}));
    return kNoNode;
  }
  const NodeIndex parameter = FindParameter(NameOf(argument));
  if (parameter == kNoNode) {
    FailUnknownName(argument, false);
    return kNoNode;
  }
  _resolved.meaning[argument] = {.kind = MeaningKind::kParameter, .target = parameter};
  _resolved.type[argument] = _resolved.converted[argument] = _resolved.type[parameter];
  return parameter;
}

TypeIndex Resolver::CallTexture(NodeIndex node, WordId word) {
  const auto arguments = _tree.GetChildren(node);
  const std::string_view name = NameOf(node);
  if (word == WordId::kStoreImage) return Stop(node, "StoreImage, which the CPU does not have");
  if (!_isInKernel) return Stop(node, Join({name, " outside of the kernel's body"}));
  const Bool hasLayer = word == WordId::kSampleTextureLayer || word == WordId::kFetchTextureLayer;
  const Bool isSize = word == WordId::kTextureSize;
  const std::size_t count = isSize ? 1 : hasLayer ? 3 : 2;
  const std::string_view form = isSize     ? "(texture)"
                                : hasLayer ? "(texture, coordinates, layer)"
                                           : "(texture, coordinates)";
  if (!CheckCount(node, count, Join({name, form}))) return kUnknownType;
  const NodeIndex parameter = ReadParameterArgument(arguments[0], word);
  if (parameter == kNoNode) return kUnknownType;
  const Type texture = Get(_resolved.type[parameter]);
  if (texture.kind != TypeKind::kTexture)
    return Fail(arguments[0],
                Join({"\"", NameOf(arguments[0]), "\" is no texture but a ", TypeName(_resolved.type[parameter])}));
  _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word};
  if (isSize) return GetVectorType(Scalar::kInt32, texture.dimensions);
  const Bool isSample = word == WordId::kSampleTexture || word == WordId::kSampleTextureLayer;
  if (isSample && !texture.isLinear)
    return Fail(node, "a POINT texture has no filtered value: read it with FetchTexture, or declare it LINEAR");
  const TypeIndex coordinates = Expression(arguments[1]);
  if (coordinates == kUnknownType || IsStopped()) return kUnknownType;
  // Others are refused by the textures themselves.
  const Bool isNumber = IsScalar(coordinates) || IsVector(coordinates);
  const Scalar component = Get(coordinates).scalar;
  if (isNumber && (isSample ? GetSize(component) == 8 : component != Scalar::kInt32))
    return Stop(arguments[1], Join({name, " at ", TypeName(coordinates)}));
  const TypeIndex wanted = GetVectorType(isSample ? Scalar::kFloat32 : Scalar::kInt32, texture.dimensions);
  const std::string what = Join({"the place in a texture of ", std::to_string(texture.dimensions), " dimensions"});
  if (IsScalar(coordinates) && IsVector(wanted)) return FailConversion(arguments[1], wanted, what);
  if (!Convert(arguments[1], wanted, what)) return kUnknownType;
  if (hasLayer) {
    const TypeIndex layer = Expression(arguments[2]);
    if (layer == kUnknownType || !Convert(arguments[2], kUIntType, "the layer")) return kUnknownType;
  }
  if (texture.scalar == Scalar::kFloat32) return GetVectorType(Scalar::kFloat32, texture.count);
  return texture.scalar == Scalar::kInt32 ? kIntType : kUIntType;
}

// AtomicAdd(place, value, old) and its relatives.
TypeIndex Resolver::CallAtomic(NodeIndex node, WordId word) {
  const auto arguments = _tree.GetChildren(node);
  const Bool isCompare = word == WordId::kAtomicCompareExchange;
  const std::string form = Join({NameOf(node), isCompare ? "(place, expected, value, old)" : "(place, value, old)"});
  if (!CheckCount(node, isCompare ? 4 : 3, form)) return kUnknownType;
  const NodeIndex place = arguments[0];
  TypeIndex placeType = kUnknownType;
  if (_tree.Is(place, NodeKind::kCall) && NameOf(place) == GetWord(WordId::kAtomicCounter).name) {
    const auto names = _tree.GetChildren(place);
    if (!CheckCount(place, 1, "GetAtomicCounter(counter)")) return kUnknownType;
    if (!_isInKernel) return Stop(place, "a counter outside of the kernel's body");
    const NodeIndex parameter = ReadParameterArgument(names[0], WordId::kAtomicCounter);
    if (parameter == kNoNode) return kUnknownType;
    if (_resolved.type[parameter] != kCounterType || !_tree.Is(names[0], NodeKind::kName))
      return Stop(place, "this counter");
    _resolved.meaning[place] = {.kind = MeaningKind::kWord, .word = WordId::kAtomicCounter};
    _resolved.type[place] = _resolved.converted[place] = placeType = kUIntType;
    _resolved.isPlace[place] = true;
  } else {
    placeType = Expression(place);
    if (placeType == kUnknownType || IsStopped()) return kUnknownType;
    if (placeType != kUIntType && placeType != kIntType)
      return Fail(place, Join({"atomic operations are of uint and int, this is a ", TypeName(placeType)}));
    if (!CheckPlace(place, "an atomic operation")) return kUnknownType;
  }
  Bool isKnown = false;
  const Types types = ReadArguments(arguments.subspan(1), isKnown);
  if (!isKnown) return kUnknownType;
  for (std::size_t i = 0; i + 1 < types.size(); ++i) {
    if (types[i] == types.back()) continue;
    // AtomicAdd(place, 1, old)
    const Bool isNumber = _tree.Is(arguments[i + 1], NodeKind::kLiteral);
    if (isNumber && types[i] == kIntType && types.back() == kUIntType) {
      Extend(arguments[i + 1]);
      SetConverted(arguments[i + 1], kUIntType);
      continue;
    }
    return Fail(arguments[i + 1], Join({"the value is a ", TypeName(types[i]), " and the value before a ",
                                        TypeName(types.back()), ": both must have one type"}));
  }
  if (types.back() != placeType && (isCompare || (types.back() != kUIntType && types.back() != kIntType)))
    return Stop(node, "an atomic operation with values of this type");
  if (!CheckPlace(arguments.back(), "the value before")) return kUnknownType;
  _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = word};
  return kVoidType;
}

TypeIndex Resolver::CallNoise(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  if (!_isInKernel) return Stop(node, "RenderNoise outside of the kernel's body");
  if (!CheckCount(node, 3, "RenderNoise(number, position, time)")) return kUnknownType;
  Bool isKnown = false;
  const Types types = ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Bool isPosition = types[1] == kFloatType || (IsVector(types[1]) && Get(types[1]).scalar == Scalar::kFloat32);
  if (!IsScalar(types[0]) || !isPosition) return Stop(node, Join({"RenderNoise of ", ListTypes(types)}));
  SetConverted(arguments[0], GetScalarType(Scalar::kInt64));
  if (!Convert(arguments[2], kFloatType, "the time")) return kUnknownType;
  _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = WordId::kRenderNoise};
  return kFloatType;
}

// A name of which nothing is known: a misspelt one, or one of the host's headers.
TypeIndex Resolver::FailUnknownName(NodeIndex node, Bool isCall) {
  const std::string_view name = NameOf(node);
  const NodeKind kind = _tree.nodes[node].kind;
  const Bool isParameterOnly = kind == NodeKind::kUniform || kind == NodeKind::kBuffer || kind == NodeKind::kLocalData;
  NearestWord nearest(name, name.size() < 4 ? 2 : name.size() < 8 ? 3 : 4);
  for (const NodeIndex parameter : _resolved.parameters) nearest.Try(NameOf(parameter));
  if (isParameterOnly) {
    if (_resolved.parameters.empty()) return Stop(node, Join({"\"", name, "\" of a kernel without parameters"}));
    // Macros could put the name of a parameter together, but those are expanded here.
    const std::string_view meant = nearest.Get();
    return Fail(node, meant.empty() ? Join({"there is no parameter \"", name, "\""})
                                    : Join({"there is no parameter \"", name, "\"; did you mean \"", meant, "\"?"}));
  }
  for (const NodeIndex item : _tree.GetChildren(_tree.root)) {
    if (!isCall || NameOf(item) != name) continue;
    if (_tree.Is(item, NodeKind::kFunction)) return Stop(node, "functions that call each other");
    if (_tree.Is(item, NodeKind::kPrototype)) return Stop(node, "a function before its body");
  }
  std::string_view instead = FindForeignWord(name, ForeignUse::kValue);
  if (instead.empty() && isCall) instead = FindForeignWord(name, ForeignUse::kDeclaration);
  if (!instead.empty()) return Fail(node, MakeForeignWordText(name, instead));
  if (MayBeHostName(name)) return Stop(node, Join({"\"", name, "\" is not declared in the kernel's files"}));
  const std::string_view meant = FindMeantName(name, isCall);
  if (const NodeIndex parameter = FindParameter(meant); parameter != kNoNode && FindWord(meant) == nullptr) {
    const Bool isBuffer = Get(_resolved.type[parameter]).kind == TypeKind::kBuffer;
    return Fail(node, Join({"unknown name \"", name, "\"; did you mean ", isBuffer ? "UNIFORM_BUFFER(" : "UNIFORM(",
                            meant, ")?"}));
  }
  if (meant.empty()) {
    const NodeIndex below = isCall ? kNoNode : FindVariableBelow(node);
    if (below == kNoNode) return Fail(node, Join({"unknown name \"", name, "\""}));
    return Fail(node, Join({"\"", name, "\" is used before it is declared"}),
                {{GetOffset(below), "it is declared here"}});
  }
  return Fail(node, Join({"unknown name \"", name, "\"; did you mean \"", meant, "\"?"}));
}

// A variable by the name of a kName that is declared in the same function, behind it.
NodeIndex Resolver::FindVariableBelow(NodeIndex name) const {
  NodeIndex found = kNoNode;
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    if (!_tree.Is(node, NodeKind::kVariable) || _tree.nodes[node].name != _tree.nodes[name].name) continue;
    const Bool isBelow = GetOffset(node) > GetOffset(name);
    if (isBelow && (found == kNoNode || GetOffset(node) < GetOffset(found))) found = node;
  }
  return found;
}

std::string_view Resolver::FindMeantName(std::string_view name, Bool isCall) const {
  NearestWord nearest(name, name.size() < 3 ? 1 : name.size() < 6 ? 2 : 3);
  for (NameIndex i = 1; i < _visible.size(); ++i) {
    if (_visible[i] != kNoNode && !isCall) nearest.Try(_tree.GetText(i));
  }
  for (const NodeIndex parameter : _resolved.parameters) {
    if (!isCall && _isInKernel) nearest.Try(NameOf(parameter));
  }
  for (const NodeIndex function : _resolved.functions) {
    if (isCall) nearest.Try(NameOf(function));
  }
  for (const Word& word : GetWords()) {
    const Bool isFunction = word.kind == WordKind::kFunction || word.kind == WordKind::kTexture ||
                            word.kind == WordKind::kAtomic || word.kind == WordKind::kCall ||
                            word.kind == WordKind::kParameter || word.kind == WordKind::kType;
    if (isCall ? isFunction : word.kind == WordKind::kValue) nearest.Try(word.name);
  }
  return nearest.Get();
}

}  // namespace ostra::kernellanguage
