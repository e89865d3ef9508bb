// A value in a JSON text and the way to it, so that every complaint names its place:
//
//   scene.json: passes[0].draws[1].uniforms.light: needs 3 numbers, but there are 2
//
// Readers ask for what they need and hand errors on; nothing throws but exhausted memory. The text must outlive its
// places. All errors are illegal arguments.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::plans {

// The whole of a JSON text. Error: "FILE:LINE:COLUMN: ..." for what is no JSON, and for a key that stands twice in one
// object, of which one value would be lost, and the writer of the file would not know.
Result<nlohmann::json> ParseJson(std::string_view text, std::string_view file);

// A name as messages show it: in double quotes, without line ends and other control characters.
std::string QuoteForMessage(std::string_view name);

class JsonPlace {
 public:
  // The root of a text.
  JsonPlace(const nlohmann::json& value, std::string_view file) : _value(&value), _file(file) {}

  // "FILE: PATH: text".
  Error MakeError(std::string_view text) const;
  // "PATH", for things that are read later.
  const std::string& GetPath() const { return _path; }

  Bool IsObject() const { return _value->is_object(); }
  Bool IsArray() const { return _value->is_array(); }
  Bool IsText() const { return _value->is_string(); }
  Bool IsNumber() const { return _value->is_number(); }

  // Of an object. Error of CheckKeys: not an object, or a key that is none of `keys`, with the nearest one.
  Result<void> CheckKeys(const std::vector<std::string>& keys) const;
  std::optional<JsonPlace> Find(const char* key) const;
  Result<JsonPlace> Get(const char* key) const;
  // Members under names that the file chooses.
  Result<std::vector<std::pair<std::string, JsonPlace>>> GetMembers() const;

  // Of an array.
  Result<std::vector<JsonPlace>> GetElements() const;

  // Without line ends and other control characters.
  Result<std::string> GetText() const;
  Result<Bool> GetBool() const;
  // Finite.
  Result<Float64> GetNumber() const;
  Result<Int> GetInteger(Int smallest, Int largest) const;
  // An array of numbers; errors name how many are needed.
  Result<std::vector<Float64>> GetNumbers(Int smallestCount, Int largestCount) const;
  // Which of the words it is.
  Result<Int> GetWord(const std::vector<std::string>& words) const;

 private:
  JsonPlace MakeMember(const std::string& key, const nlohmann::json& value) const;
  // "needs WHAT, but this is a ...".
  Error MakeTypeError(std::string_view what) const;

  const nlohmann::json* _value;
  std::string_view _file;
  std::string _path;
};

}  // namespace ostra::plans
