#include "plans/scene/obj_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "ostra/core/format.h"

OSTRA_UNIT("obj_file");

namespace ostra::plans {

namespace {

using Vector = std::array<Float32, 3>;

constexpr std::string_view kBlanks = " \t\r";

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line.substr(0, line.find('#'));
}

// Empty at the end of the line.
std::string_view TakeWord(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

std::string Quote(std::string_view word) { return std::string("\"").append(word).append("\""); }

// Where a corner's numbers stand in the lists; -1 for none.
struct Corner {
  Int position = -1, uv = -1, normal = -1;
};

class ObjReader {
 public:
  Result<ShapeVertices> Read(std::string_view text) {
    while (!text.empty()) {
      ++_line;
      std::string_view line = TakeLine(text);
      const std::string_view word = TakeWord(line);
      if (word == "v") OSTRA_RETURN_IF_ERROR(ReadVector(line, 3, _positions));
      if (word == "vn") OSTRA_RETURN_IF_ERROR(ReadVector(line, 3, _normals));
      if (word == "vt") OSTRA_RETURN_IF_ERROR(ReadVector(line, 1, _uvs));
      if (word == "f") OSTRA_RETURN_IF_ERROR(ReadFace(line));
    }
    if (_vertices.GetCount() == 0) return OSTRA_ILLEGAL_ARGUMENT("there are no faces");
    return std::move(_vertices);
  }

 private:
  Error MakeError(const std::string& text) const { return OSTRA_ILLEGAL_ARGUMENT("line @: @", _line, text); }

  // Up to three numbers; what is missing beyond the needed ones is 0, and a fourth one is passed over.
  Result<void> ReadVector(std::string_view line, std::size_t neededCount, std::vector<Vector>& target) {
    Vector vector{};
    for (std::size_t i = 0; i < 3; ++i) {
      const std::string_view word = TakeWord(line);
      if (word.empty() && i >= neededCount) break;
      const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), vector[i]);
      if (code != std::errc() || end != word.data() + word.size() || !std::isfinite(vector[i]))
        return MakeError(word.empty() ? "there are too few numbers" : Quote(word) + " is not a number");
    }
    target.push_back(vector);
    return OK;
  }

  Result<void> ReadFace(std::string_view line) {
    std::vector<Corner> corners;
    for (std::string_view word = TakeWord(line); !word.empty(); word = TakeWord(line)) {
      OSTRA_ASSIGN_OR_RETURN(const Corner corner, ReadCorner(word));
      corners.push_back(corner);
    }
    if (corners.size() < 3) return MakeError("a face needs three corners");
    if (_vertices.GetCount() + 3 * (static_cast<Int>(corners.size()) - 2) > kMaxSceneVertices)
      return MakeError("there are more than " + std::to_string(kMaxSceneVertices) + " vertices");
    const Vector normal = MakeNormal(corners);
    for (std::size_t i = 2; i < corners.size(); ++i)
      for (const std::size_t corner : {std::size_t(0), i - 1, i}) Append(corners[corner], normal);
    return OK;
  }

  // "position", "position/uv", "position//normal" or "position/uv/normal".
  Result<Corner> ReadCorner(std::string_view word) const {
    Corner corner;
    const std::size_t first = word.find('/');
    const std::size_t second = first == std::string_view::npos ? first : word.find('/', first + 1);
    OSTRA_ASSIGN_OR_RETURN(corner.position, ReadIndex(word.substr(0, first), _positions.size()));
    if (first != std::string_view::npos && second != first + 1) {
      OSTRA_ASSIGN_OR_RETURN(corner.uv, ReadIndex(word.substr(first + 1, second - first - 1), _uvs.size()));
    }
    if (second != std::string_view::npos) {
      OSTRA_ASSIGN_OR_RETURN(corner.normal, ReadIndex(word.substr(second + 1), _normals.size()));
    }
    return corner;
  }

  // Counted from 1, or from -1 for the last one.
  Result<Int> ReadIndex(std::string_view word, std::size_t size) const {
    Int index = 0;
    const Int count = static_cast<Int>(size);
    const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), index);
    if (code != std::errc() || end != word.data() + word.size()) return MakeError(Quote(word) + " is not an index");
    if (index < -count || index > count || index == 0)
      return MakeError("there is no number " + std::to_string(index) + " among " + std::to_string(count));
    return index > 0 ? index - 1 : index + count;
  }

  // Of a polygon that need not be flat: the sum over its edges (method of Newell). Points to z for one without area.
  Vector MakeNormal(const std::vector<Corner>& corners) const {
    Vector sum{};
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const Vector& a = _positions[static_cast<std::size_t>(corners[i].position)];
      const Vector& b = _positions[static_cast<std::size_t>(corners[(i + 1) % corners.size()].position)];
      for (std::size_t k = 0; k < 3; ++k) {
        const std::size_t x = (k + 1) % 3, y = (k + 2) % 3;
        sum[k] += (a[x] - b[x]) * (a[y] + b[y]);
      }
    }
    const Float32 length = std::hypot(sum[0], sum[1], sum[2]);
    if (!(length > 0) || !std::isfinite(length)) return {0, 0, 1};
    for (Float32& part : sum) part /= length;
    return sum;
  }

  void Append(const Corner& corner, const Vector& faceNormal) {
    const Vector& position = _positions[static_cast<std::size_t>(corner.position)];
    const Vector& normal = corner.normal < 0 ? faceNormal : _normals[static_cast<std::size_t>(corner.normal)];
    _vertices.positions.insert(_vertices.positions.end(), position.begin(), position.end());
    _vertices.normals.insert(_vertices.normals.end(), normal.begin(), normal.end());
    const Vector uv = corner.uv < 0 ? Vector{0, 1, 0} : _uvs[static_cast<std::size_t>(corner.uv)];
    _vertices.uvs.insert(_vertices.uvs.end(), {uv[0], 1 - uv[1]});
  }

  Int _line = 0;
  std::vector<Vector> _positions, _normals, _uvs;
  ShapeVertices _vertices;
};

}  // namespace

Result<ShapeVertices> DecodeObj(std::string_view text) { return ObjReader().Read(text); }

}  // namespace ostra::plans
