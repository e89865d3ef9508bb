#include "parallelprogram/kernellanguage/cpp_text.h"

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

std::string GetCppType(const Type& type) {
  switch (type.kind) {
    case TypeKind::kScalar:
      return std::string(GetCppName(type.scalar));
    case TypeKind::kVector:
      return Join({"Vec", std::to_string(type.count), "<", GetCppName(type.scalar), ">"});
    case TypeKind::kMatrix:
      return type.count == 3 ? "SquareMatrix32" : "SquareMatrix4d32";
    case TypeKind::kAffineMatrix:
      return "AffineMatrix32";
    default:
      return "";
  }
}

std::string MakeLineDirective(const SourceLocation& location) {
  if (location.line == 0) return "";
  std::string file;
  for (const char c : location.file) {
    if (c == '"' || c == '\\') file += '\\';
    file += static_cast<unsigned char>(c) < ' ' ? '?' : c;
  }
  return Join({"#line ", std::to_string(location.line), " \"", file, "\"\n"});
}

}  // namespace ostra::kernellanguage
