#include "plans/scene/json_place.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "ostra/core/format.h"
#include "plans/names/nearest_name.h"

OSTRA_UNIT("json");

namespace ostra::plans {

namespace {

using nlohmann::json;

// "a number", as messages name types.
const char* GetTypeText(const json& value) {
  switch (value.type()) {
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "an array";
    case json::value_t::string:
      return "a text";
    case json::value_t::boolean:
      return "true or false";
    case json::value_t::null:
      return "null";
    default:
      return "a number";
  }
}

Bool IsPlainKey(std::string_view key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
}

// Line and column of a byte, both from 1.
std::string DescribePosition(std::string_view text, std::size_t at) {
  at = std::min(at, text.size());
  const std::string_view before = text.substr(0, at);
  const std::size_t lineStart = before.rfind('\n') == std::string_view::npos ? 0 : before.rfind('\n') + 1;
  return std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + ":" + std::to_string(at - lineStart + 1);
}

// What the parser says, without its own name, position and a copy of the input.
std::string GetReason(std::string_view message) {
  const std::size_t begin = message.find(" error while ");
  const std::size_t name = message.find("] ");
  message.remove_prefix(begin != std::string_view::npos ? begin + 7 : name != std::string_view::npos ? name + 2 : 0);
  const std::size_t end = message.find("; last read");
  const std::size_t expected = message.find("; expected", end == std::string_view::npos ? 0 : end);
  std::string reason(message.substr(0, end));
  if (end != std::string_view::npos && expected != std::string_view::npos) reason += message.substr(expected);
  return reason;
}

// Keys of the objects that are open.
struct KeyWatch {
  std::vector<std::set<std::string>> open;
  std::string repeated;

  bool operator()(int, json::parse_event_t event, json& value) {
    if (event == json::parse_event_t::object_start) open.emplace_back();
    if (event == json::parse_event_t::object_end && !open.empty()) open.pop_back();
    if (event != json::parse_event_t::key || open.empty() || !repeated.empty()) return true;
    if (!open.back().insert(value.get<std::string>()).second) repeated = QuoteForMessage(value.get<std::string>());
    return true;
  }
};

}  // namespace

std::string QuoteForMessage(std::string_view name) {
  return json(std::string(name)).dump(-1, ' ', false, json::error_handler_t::replace);
}

Result<json> ParseJson(std::string_view text, std::string_view file) {
  KeyWatch watch;
  try {
    json value = json::parse(text.begin(), text.end(), std::ref(watch));
    if (watch.repeated.empty()) return value;
    return OSTRA_ILLEGAL_ARGUMENT("@: the key @ stands twice in one object", file, watch.repeated);
  } catch (const json::parse_error& error) {
    // The byte counts from 1, and behind what was read.
    const std::size_t at = error.byte > 0 ? error.byte - 1 : 0;
    return OSTRA_ILLEGAL_ARGUMENT("@:@: error @", file, DescribePosition(text, at), GetReason(error.what()));
  } catch (const json::exception& error) {
    return OSTRA_ILLEGAL_ARGUMENT("@: @", file, GetReason(error.what()));
  }
}

Error JsonPlace::MakeError(std::string_view text) const {
  if (_path.empty()) return OSTRA_ILLEGAL_ARGUMENT("@: @", _file, text);
  return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _file, _path, text);
}

Error JsonPlace::MakeTypeError(std::string_view what) const {
  return MakeError("needs " + std::string(what) + ", but this is " + GetTypeText(*_value));
}

JsonPlace JsonPlace::MakeMember(const std::string& key, const json& value) const {
  JsonPlace member(value, _file);
  if (IsPlainKey(key))
    member._path = _path.empty() ? key : _path + "." + key;
  else
    member._path = _path + "[" + QuoteForMessage(key) + "]";
  return member;
}

Result<void> JsonPlace::CheckKeys(const std::vector<std::string>& keys) const {
  if (!IsObject()) return MakeTypeError("an object");
  for (const auto& [key, value] : _value->items())
    if (std::find(keys.begin(), keys.end(), key) == keys.end())
      return MakeError("there is no key " + QuoteForMessage(key) + SuggestName(key, keys));
  return OK;
}

std::optional<JsonPlace> JsonPlace::Find(const char* key) const {
  if (!IsObject()) return std::nullopt;
  const auto found = _value->find(key);
  if (found == _value->end()) return std::nullopt;
  return MakeMember(key, *found);
}

Result<JsonPlace> JsonPlace::Get(const char* key) const {
  if (!IsObject()) return MakeTypeError("an object");
  const std::optional<JsonPlace> found = Find(key);
  if (!found) return MakeError(QuoteForMessage(key) + " is missing");
  return *found;
}

Result<std::vector<std::pair<std::string, JsonPlace>>> JsonPlace::GetMembers() const {
  if (!IsObject()) return MakeTypeError("an object");
  std::vector<std::pair<std::string, JsonPlace>> members;
  for (const auto& [key, value] : _value->items()) {
    if (!IsPlainKey(key))
      return MakeError(QuoteForMessage(key) + R"( is no name: names are made of letters, digits, "_" and "-")");
    members.emplace_back(key, MakeMember(key, value));
  }
  return members;
}

Result<std::vector<JsonPlace>> JsonPlace::GetElements() const {
  if (!IsArray()) return MakeTypeError("an array");
  std::vector<JsonPlace> elements;
  for (std::size_t i = 0; i < _value->size(); ++i) {
    JsonPlace element((*_value)[i], _file);
    element._path = _path + "[" + std::to_string(i) + "]";
    elements.push_back(std::move(element));
  }
  return elements;
}

Result<std::string> JsonPlace::GetText() const {
  if (!_value->is_string()) return MakeTypeError("a text");
  std::string text = _value->get<std::string>();
  // They would break messages into lines, and names of files into parts.
  if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }))
    return MakeError("texts cannot have line ends and other control characters");
  return text;
}

Result<Bool> JsonPlace::GetBool() const {
  if (!_value->is_boolean()) return MakeTypeError("true or false");
  return _value->get<bool>();
}

Result<Float64> JsonPlace::GetNumber() const {
  if (!_value->is_number()) return MakeTypeError("a number");
  const Float64 number = _value->get<Float64>();
  if (!std::isfinite(number)) return MakeError("the number is too large");
  return number;
}

Result<Int> JsonPlace::GetInteger(Int smallest, Int largest) const {
  OSTRA_ASSIGN_OR_RETURN(const Float64 number, GetNumber());
  // Compared as a float first: the conversion of a larger one has no meaning.
  if (number != std::floor(number) || number < static_cast<Float64>(smallest) || number > static_cast<Float64>(largest))
    return MakeError("needs a whole number from " + std::to_string(smallest) + " to " + std::to_string(largest) +
                     ", but this is " + _value->dump());
  return static_cast<Int>(number);
}

Result<std::vector<Float64>> JsonPlace::GetNumbers(Int smallestCount, Int largestCount) const {
  OSTRA_ASSIGN_OR_RETURN(const std::vector<JsonPlace> elements, GetElements());
  std::vector<Float64> numbers;
  for (const JsonPlace& element : elements) {
    OSTRA_ASSIGN_OR_RETURN(const Float64 number, element.GetNumber());
    numbers.push_back(number);
  }
  const Int count = static_cast<Int>(numbers.size());
  if (count >= smallestCount && count <= largestCount) return numbers;
  std::string needed = std::to_string(smallestCount);
  if (largestCount != smallestCount) needed += " to " + std::to_string(largestCount);
  return MakeError("needs " + needed + " numbers, but there are " + std::to_string(count));
}

Result<Int> JsonPlace::GetWord(const std::vector<std::string>& words) const {
  OSTRA_ASSIGN_OR_RETURN(const std::string word, GetText());
  const auto found = std::find(words.begin(), words.end(), word);
  if (found != words.end()) return static_cast<Int>(found - words.begin());
  return MakeError("there is no " + QuoteForMessage(word) + SuggestName(word, words));
}

}  // namespace ostra::plans
