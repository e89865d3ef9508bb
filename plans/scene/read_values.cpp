#include <algorithm>
#include <map>
#include <set>

#include "ostra/core/format.h"
#include "plans/names/nearest_name.h"
#include "plans/scene/scene_values.h"

OSTRA_UNIT("scene_values");

namespace ostra::plans {

namespace {

using Kind = SceneValue::Kind;

constexpr Int kMaxNesting = 16;
constexpr Int kMaxNumbers = 64;
constexpr Int kMaxKnots = 256;

struct Form {
  const char* key;
  Kind kind;
};
constexpr Form kForms[] = {{"perspective", Kind::Perspective},
                           {"orthographic", Kind::Orthographic},
                           {"lookAt", Kind::LookAt},
                           {"translate", Kind::Translate},
                           {"scale", Kind::Scale},
                           {"rotate", Kind::Rotate},
                           {"product", Kind::Product},
                           {"inverse", Kind::Inverse},
                           {"normals", Kind::Normals},
                           {"gradient", Kind::Gradient}};

std::vector<std::string> ListForms() {
  std::vector<std::string> names;
  for (const Form& form : kForms) names.emplace_back(form.key);
  return names;
}

class ValueReader {
 public:
  Result<SceneValue> Read(const JsonPlace& place, Int nesting) {
    SceneValue value;
    value.path = place.GetPath();
    if (nesting > kMaxNesting)
      return place.MakeError("values are nested more than " + std::to_string(kMaxNesting) + " times");
    if (place.IsText()) {
      value.kind = Kind::Name;
      OSTRA_ASSIGN_OR_RETURN(value.name, place.GetText());
    } else if (place.IsNumber()) {
      OSTRA_ASSIGN_OR_RETURN(const Float64 number, place.GetNumber());
      value.numbers = {number};
    } else if (place.IsArray()) {
      OSTRA_RETURN_IF_ERROR(ReadArray(place, value));
    } else if (place.IsObject()) {
      OSTRA_RETURN_IF_ERROR(ReadForm(place, nesting, value));
    } else {
      return place.MakeError("needs a number, an array of numbers, the name of a value, or an object such as " +
                             std::string(R"({"translate": [0, 1, 0]})"));
    }
    return value;
  }

 private:
  // Numbers, or the columns of a matrix.
  Result<void> ReadArray(const JsonPlace& place, SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, place.GetElements());
    if (elements.empty() || !elements[0].IsArray()) {
      OSTRA_ASSIGN_OR_RETURN(value.numbers, place.GetNumbers(1, kMaxNumbers));
      return OK;
    }
    const Int count = static_cast<Int>(elements.size());
    if (count > 4) return place.MakeError("a matrix has at most 4 columns");
    for (const JsonPlace& column : elements) {
      OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, column.GetNumbers(count, count));
      value.numbers.insert(value.numbers.end(), numbers.begin(), numbers.end());
    }
    return OK;
  }

  Result<void> ReadForm(const JsonPlace& place, Int nesting, SceneValue& value) {
    const std::vector<std::string> names = ListForms();
    OSTRA_RETURN_IF_ERROR(place.CheckKeys(names));
    OSTRA_ASSIGN_OR_RETURN(const auto members, place.GetMembers());
    if (members.size() != 1) return place.MakeError("needs exactly one key that says how the value is made");
    const auto& [name, argument] = members[0];
    value.kind = kForms[std::find(names.begin(), names.end(), name) - names.begin()].kind;
    switch (value.kind) {
      case Kind::Perspective:
        return ReadLens(argument, "fieldOfView", value);
      case Kind::Orthographic:
        return ReadLens(argument, "height", value);
      case Kind::LookAt:
        return ReadLookAt(argument, value);
      case Kind::Rotate:
        return ReadRotation(argument, value);
      case Kind::Scale:
        return ReadScale(argument, value);
      case Kind::Product:
        return ReadProduct(argument, nesting, value);
      case Kind::Gradient:
        return ReadGradient(argument, value);
      case Kind::Inverse:
      case Kind::Normals: {
        OSTRA_ASSIGN_OR_RETURN(SceneValue part, Read(argument, nesting + 1));
        value.parts.push_back(std::move(part));
        return OK;
      }
      default:
        return AddArgument(argument, 3, value);
    }
  }

  // Numbers, or the name of a value that is some.
  Result<void> AddArgument(const JsonPlace& place, Int count, SceneValue& value) {
    SceneValue argument;
    argument.path = place.GetPath();
    if (place.IsText()) {
      argument.kind = Kind::Name;
      OSTRA_ASSIGN_OR_RETURN(argument.name, place.GetText());
    } else if (count == 1) {
      OSTRA_ASSIGN_OR_RETURN(const Float64 number, place.GetNumber());
      argument.numbers = {number};
    } else {
      OSTRA_ASSIGN_OR_RETURN(argument.numbers, place.GetNumbers(count, count));
    }
    value.parts.push_back(std::move(argument));
    return OK;
  }

  static Result<Float64> GetPositive(const JsonPlace& place) {
    OSTRA_ASSIGN_OR_RETURN(const Float64 number, place.GetNumber());
    if (number <= 0) return place.MakeError("needs a number above 0");
    return number;
  }

  Result<void> ReadLens(const JsonPlace& place, const char* angle, SceneValue& value) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({angle, "near", "far", "aspect"}));
    for (const char* key : {angle, "near", "far"}) {
      OSTRA_ASSIGN_OR_RETURN(const JsonPlace member, place.Get(key));
      OSTRA_ASSIGN_OR_RETURN(const Float64 number, GetPositive(member));
      value.numbers.push_back(number);
    }
    if (value.kind == Kind::Perspective && value.numbers[0] >= 180)
      return place.MakeError("the field of view must be below 180 degrees");
    if (value.numbers[1] >= value.numbers[2]) return place.MakeError("\"near\" must be below \"far\"");
    Float64 aspect = 0;
    if (const auto member = place.Find("aspect")) {
      OSTRA_ASSIGN_OR_RETURN(aspect, GetPositive(*member));
    }
    value.numbers.push_back(aspect);
    return OK;
  }

  Result<void> ReadLookAt(const JsonPlace& place, SceneValue& value) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"eye", "target", "up"}));
    for (const char* key : {"eye", "target"}) {
      OSTRA_ASSIGN_OR_RETURN(const JsonPlace member, place.Get(key));
      OSTRA_RETURN_IF_ERROR(AddArgument(member, 3, value));
    }
    if (const auto up = place.Find("up")) return AddArgument(*up, 3, value);
    value.parts.push_back({place.GetPath(), Kind::Numbers, {0, 1, 0}, {}, {}});
    return OK;
  }

  Result<void> ReadRotation(const JsonPlace& place, SceneValue& value) {
    OSTRA_RETURN_IF_ERROR(place.CheckKeys({"axis", "degrees"}));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace axis, place.Get("axis"));
    OSTRA_RETURN_IF_ERROR(AddArgument(axis, 3, value));
    OSTRA_ASSIGN_OR_RETURN(const JsonPlace degrees, place.Get("degrees"));
    return AddArgument(degrees, 1, value);
  }

  // A number scales all directions alike.
  Result<void> ReadScale(const JsonPlace& place, SceneValue& value) {
    return AddArgument(place, place.IsNumber() ? 1 : 3, value);
  }

  Result<void> ReadProduct(const JsonPlace& place, Int nesting, SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, place.GetElements());
    if (elements.empty()) return place.MakeError("needs at least one matrix");
    for (const JsonPlace& element : elements) {
      OSTRA_ASSIGN_OR_RETURN(SceneValue part, Read(element, nesting + 1));
      value.parts.push_back(std::move(part));
    }
    return OK;
  }

  Result<void> ReadGradient(const JsonPlace& place, SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> knots, place.GetElements());
    if (static_cast<Int>(knots.size()) > kMaxKnots)
      return place.MakeError("a gradient has at most " + std::to_string(kMaxKnots) + " knots");
    for (const JsonPlace& knot : knots) {
      OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, knot.GetNumbers(4, 4));
      if (numbers[0] < 0 || numbers[0] > 1) return knot.MakeError("the position of a knot lies between 0 and 1");
      value.numbers.insert(value.numbers.end(), numbers.begin(), numbers.end());
    }
    return OK;
  }
};

// Follows names to their values. Every value is looked at once: sums of sums would take for ever otherwise.
class NameChecker {
 public:
  NameChecker(const SceneValues& values, std::string_view file) : _values(values), _file(file) {}

  // How many names have to be followed one behind the other.
  Result<Int> Check(const SceneValue& value) {
    Int steps = 0;
    for (const SceneValue& part : value.parts) {
      OSTRA_ASSIGN_OR_RETURN(const Int found, Check(part));
      steps = std::max(steps, found);
    }
    if (value.kind != Kind::Name) return steps;
    if (const auto known = _steps.find(value.name); known != _steps.end()) return known->second;
    const auto found = _values.find(value.name);
    if (found == _values.end()) {
      std::vector<std::string> names;
      for (const auto& [name, other] : _values) names.push_back(name);
      return MakeError(value, "there is no value " + QuoteForMessage(value.name) + SuggestName(value.name, names));
    }
    if (!_open.insert(value.name).second)
      return MakeError(value, "the value " + QuoteForMessage(value.name) + " is made of itself");
    constexpr const char* kTooLong = "more than 32 values are made of each other";
    if (_open.size() > kMaxSteps) return MakeError(value, kTooLong);
    OSTRA_ASSIGN_OR_RETURN(const Int inner, Check(found->second));
    if (inner + 1 > static_cast<Int>(kMaxSteps)) return MakeError(value, kTooLong);
    _open.erase(value.name);
    return _steps[value.name] = inner + 1;
  }

 private:
  static constexpr std::size_t kMaxSteps = 32;

  Error MakeError(const SceneValue& value, const std::string& text) const {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _file, value.path, text);
  }

  const SceneValues& _values;
  const std::string_view _file;
  std::set<std::string> _open;
  std::map<std::string, Int> _steps;
};

}  // namespace

Result<SceneValue> ReadSceneValue(const JsonPlace& place) { return ValueReader().Read(place, 1); }

Result<void> CheckSceneNames(const SceneValue& value, const SceneValues& values, std::string_view file) {
  OSTRA_RETURN_IF_ERROR(NameChecker(values, file).Check(value));
  return OK;
}

}  // namespace ostra::plans
