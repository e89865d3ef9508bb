#include <array>
#include <cmath>
#include <map>
#include <numbers>

#include "ostra/core/format.h"
#include "plans/scene/scene_values.h"

OSTRA_UNIT("scene_values");

namespace ostra::plans {

namespace {

using Kind = SceneValue::Kind;
using Vector = std::array<Float64, 3>;
// Column by column.
using Matrix = std::array<Float64, 16>;

constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

Vector Subtract(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Float64 Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vector Normalize(const Vector& a) {
  const Float64 length = std::sqrt(Dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}
Float64 ToRadians(Float64 degrees) { return degrees * std::numbers::pi / 180; }

Matrix Multiply(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t column = 0; column < 4; ++column)
    for (std::size_t row = 0; row < 4; ++row)
      for (std::size_t k = 0; k < 4; ++k) product[4 * column + row] += a[4 * k + row] * b[4 * column + k];
  return product;
}

// By elimination with pivots. False when there is none.
Bool Invert(Matrix matrix, Matrix& inverse) {
  inverse = kIdentity;
  for (std::size_t i = 0; i < 4; ++i) {
    std::size_t pivot = i;
    for (std::size_t row = i + 1; row < 4; ++row)
      if (std::abs(matrix[4 * i + row]) > std::abs(matrix[4 * i + pivot])) pivot = row;
    const Float64 value = matrix[4 * i + pivot];
    if (!(std::abs(value) > 1e-300) || !std::isfinite(value)) return false;
    for (std::size_t column = 0; column < 4; ++column) {
      std::swap(matrix[4 * column + i], matrix[4 * column + pivot]);
      std::swap(inverse[4 * column + i], inverse[4 * column + pivot]);
      matrix[4 * column + i] /= value;
      inverse[4 * column + i] /= value;
    }
    for (std::size_t row = 0; row < 4; ++row) {
      const Float64 factor = matrix[4 * i + row];
      if (row == i) continue;
      for (std::size_t column = 0; column < 4; ++column) {
        matrix[4 * column + row] -= factor * matrix[4 * column + i];
        inverse[4 * column + row] -= factor * inverse[4 * column + i];
      }
    }
  }
  return true;
}

// Depth 0 at the near plane, 1 at the far one.
Matrix MakePerspective(Float64 degrees, Float64 nearPlane, Float64 farPlane, Float64 aspect) {
  const Float64 scale = 1 / std::tan(ToRadians(degrees) / 2);
  const Float64 depth = farPlane / (nearPlane - farPlane);
  return {scale / aspect, 0, 0, 0, 0, scale, 0, 0, 0, 0, depth, -1, 0, 0, nearPlane * depth, 0};
}

Matrix MakeOrthographic(Float64 height, Float64 nearPlane, Float64 farPlane, Float64 aspect) {
  const Float64 depth = 1 / (nearPlane - farPlane);
  return {2 / (height * aspect), 0, 0, 0, 0, 2 / height, 0, 0, 0, 0, depth, 0, 0, 0, nearPlane * depth, 1};
}

// About an axis through the origin, counterclockwise for who looks against it (formula of Rodrigues).
Matrix MakeTurn(const Vector& direction, Float64 degrees) {
  const Vector axis = Normalize(direction);
  const Float64 c = std::cos(ToRadians(degrees)), s = std::sin(ToRadians(degrees)), t = 1 - c;
  const auto [x, y, z] = axis;
  return {t * x * x + c,
          t * x * y + s * z,
          t * x * z - s * y,
          0,
          t * x * y - s * z,
          t * y * y + c,
          t * y * z + s * x,
          0,
          t * x * z + s * y,
          t * y * z - s * x,
          t * z * z + c,
          0,
          0,
          0,
          0,
          1};
}

class Evaluator {
 public:
  Evaluator(const SceneValues& values, Float64 aspect, std::string_view file)
      : _values(values), _aspect(aspect), _file(file) {}

  Result<std::vector<Float64>> Evaluate(const SceneValue& value) {
    switch (value.kind) {
      case Kind::Numbers:
        return value.numbers;
      case Kind::Name:
        return EvaluateName(value.name);
      case Kind::Normals:
        return MakeNormals(value);
      case Kind::Gradient:
        return MakeError(value, "a gradient cannot stand where numbers are needed");
      default:
        break;
    }
    OSTRA_ASSIGN_OR_RETURN(const Matrix matrix, MakeMatrix(value));
    for (const Float64 number : matrix)
      if (!std::isfinite(number)) return MakeError(value, "the matrix has numbers that are not finite");
    return std::vector<Float64>(matrix.begin(), matrix.end());
  }

 private:
  Error MakeError(const SceneValue& value, std::string_view text) const {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _file, value.path, text);
  }

  // Each value once, however often it is named.
  Result<std::vector<Float64>> EvaluateName(const std::string& name) {
    if (const auto known = _known.find(name); known != _known.end()) return known->second;
    OSTRA_ASSIGN_OR_RETURN(std::vector<Float64> numbers, Evaluate(_values.find(name)->second));
    return _known[name] = std::move(numbers);
  }

  Result<Matrix> MakeMatrix(const SceneValue& value) {
    const std::vector<Float64>& n = value.numbers;
    switch (value.kind) {
      case Kind::Perspective:
        return MakePerspective(n[0], n[1], n[2], n[3] > 0 ? n[3] : _aspect);
      case Kind::Orthographic:
        return MakeOrthographic(n[0], n[1], n[2], n[3] > 0 ? n[3] : _aspect);
      case Kind::LookAt:
        return MakeView(value);
      case Kind::Translate: {
        OSTRA_ASSIGN_OR_RETURN(const Vector way, TakeVector(value.parts[0]));
        return Matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, way[0], way[1], way[2], 1};
      }
      case Kind::Scale:
        return MakeScale(value);
      case Kind::Rotate:
        return MakeRotation(value);
      case Kind::Product:
        return MakeProduct(value);
      case Kind::Inverse:
        return MakeInverse(value);
      default:
        break;
    }
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, Evaluate(value));
    Matrix matrix = kIdentity;
    if (numbers.size() != 16 && numbers.size() != 9)
      return MakeError(value, "needs a matrix of 9 or 16 numbers, but there are " + std::to_string(numbers.size()));
    const std::size_t side = numbers.size() == 9 ? 3 : 4;
    for (std::size_t i = 0; i < numbers.size(); ++i) matrix[i / side * 4 + i % side] = numbers[i];
    return matrix;
  }

  Result<std::vector<Float64>> TakeNumbers(const SceneValue& value, std::size_t count) {
    OSTRA_ASSIGN_OR_RETURN(std::vector<Float64> numbers, Evaluate(value));
    if (numbers.size() == count) return numbers;
    return MakeError(value,
                     "needs " + std::to_string(count) + " numbers, but there are " + std::to_string(numbers.size()));
  }
  Result<Vector> TakeVector(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> numbers, TakeNumbers(value, 3));
    return Vector{numbers[0], numbers[1], numbers[2]};
  }

  Result<Matrix> MakeScale(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(std::vector<Float64> factors, Evaluate(value.parts[0]));
    if (factors.size() == 1) factors.assign(3, factors[0]);
    if (factors.size() != 3)
      return MakeError(value, "needs 1 or 3 numbers, but there are " + std::to_string(factors.size()));
    return Matrix{factors[0], 0, 0, 0, 0, factors[1], 0, 0, 0, 0, factors[2], 0, 0, 0, 0, 1};
  }

  Result<Matrix> MakeRotation(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const Vector axis, TakeVector(value.parts[0]));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float64> degrees, TakeNumbers(value.parts[1], 1));
    if (axis == Vector{0, 0, 0}) return MakeError(value.parts[0], "an axis needs a direction");
    return MakeTurn(axis, degrees[0]);
  }

  Result<Matrix> MakeView(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const Vector eye, TakeVector(value.parts[0]));
    OSTRA_ASSIGN_OR_RETURN(const Vector target, TakeVector(value.parts[1]));
    OSTRA_ASSIGN_OR_RETURN(const Vector above, TakeVector(value.parts[2]));
    const Vector back = Normalize(Subtract(eye, target));
    const Vector right = Normalize(Cross(above, back));
    if (!std::isfinite(Dot(right, right)))
      return MakeError(value, "a camera needs a target beside its eye, and an up that is not its direction");
    const Vector up = Cross(back, right);
    return Matrix{right[0], up[0], back[0], 0, right[1],         up[1],         back[1],         0,
                  right[2], up[2], back[2], 0, -Dot(right, eye), -Dot(up, eye), -Dot(back, eye), 1};
  }

  Result<Matrix> MakeProduct(const SceneValue& value) {
    Matrix product = kIdentity;
    for (const SceneValue& part : value.parts) {
      OSTRA_ASSIGN_OR_RETURN(const Matrix factor, MakeMatrix(part));
      product = Multiply(product, factor);
    }
    return product;
  }

  Result<Matrix> MakeInverse(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const Matrix matrix, MakeMatrix(value.parts[0]));
    Matrix inverse;
    if (!Invert(matrix, inverse)) return MakeError(value, "the matrix has no inverse");
    return inverse;
  }

  // The inverse, transposed, without the way.
  Result<std::vector<Float64>> MakeNormals(const SceneValue& value) {
    OSTRA_ASSIGN_OR_RETURN(const Matrix inverse, MakeInverse(value));
    std::vector<Float64> normals;
    for (std::size_t column = 0; column < 3; ++column)
      for (std::size_t row = 0; row < 3; ++row) normals.push_back(inverse[4 * row + column]);
    return normals;
  }

  const SceneValues& _values;
  const Float64 _aspect;
  const std::string_view _file;
  std::map<std::string, std::vector<Float64>> _known;
};

}  // namespace

Result<std::vector<Float64>> EvaluateSceneValue(const SceneValue& value, const SceneValues& values, Float64 aspect,
                                                std::string_view file) {
  return Evaluator(values, aspect, file).Evaluate(value);
}

const SceneValue* FindSceneGradient(const SceneValue& value, const SceneValues& values) {
  const SceneValue* found = &value;
  while (found->kind == Kind::Name) found = &values.find(found->name)->second;
  return found->kind == Kind::Gradient ? found : nullptr;
}

}  // namespace ostra::plans
