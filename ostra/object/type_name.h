// The names of types in reflection records: those of the host (Int32, Vec3<Float32>, const Id&), whatever compiler read
// the declaration. The host's namespace is left out.
//
//   GetTypeName<Result<Int>>()      "Result<Int>"
//
// Classes without template parameters have the name they are declared with; templates of types are put together from
// their parameters. A template with other parameters needs an entry below. Int64 is the host's Int.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <type_traits>

#include "ostra/core/types.h"
#include "ostra/math/vector.h"

namespace ostra {

namespace reflection {

// The spelling of a type by the compiler. Compilers agree about classes without template parameters.
template <class T>
constexpr std::string_view GetSpelling() {
  constexpr std::string_view text = __PRETTY_FUNCTION__;
  constexpr std::size_t start = text.find("T = ") + 4;
  constexpr std::size_t end = text.find_first_of(";]", start);
  return text.substr(start, end - start);
}

constexpr std::string_view WithoutHostNamespace(std::string_view name) {
  constexpr std::string_view kHost = "ostra::";
  return name.substr(name.starts_with(kHost) ? kHost.size() : 0);
}

// Texts one after the other, as one that lives for ever.
template <const std::string_view&... parts>
struct JoinedText {
  static constexpr auto Join() {
    std::array<char, (parts.size() + ... + 0)> characters{};
    std::size_t size = 0;
    [[maybe_unused]] const auto append = [&](std::string_view part) {
      for (const char character : part) characters[size++] = character;
    };
    (append(parts), ...);
    return characters;
  }
  static constexpr auto kCharacters = Join();
  static constexpr std::string_view kText{kCharacters.data(), kCharacters.size()};
};

struct NameSign {
  static constexpr std::string_view kConst = "const ";
  static constexpr std::string_view kPointer = "*";
  static constexpr std::string_view kReference = "&";
  static constexpr std::string_view kMovable = "&&";
  static constexpr std::string_view kLess = "<";
  static constexpr std::string_view kGreater = ">";
  static constexpr std::string_view kOpen = "(";
  static constexpr std::string_view kClose = ")";
  static constexpr std::string_view kComma = ", ";
};

template <class T>
struct TypeName {
  static constexpr std::string_view kText = WithoutHostNamespace(GetSpelling<T>());
};

// "A, B, C".
template <class... Types>
struct TypeNameList {
  static constexpr std::string_view kText = "";
};
template <class First>
struct TypeNameList<First> : TypeName<First> {};
template <class First, class... Others>
struct TypeNameList<First, Others...>
    : JoinedText<TypeName<First>::kText, NameSign::kComma, TypeNameList<Others...>::kText> {};

template <class T>
struct TypeName<const T> : JoinedText<NameSign::kConst, TypeName<T>::kText> {};
template <class T>
struct TypeName<T*> : JoinedText<TypeName<T>::kText, NameSign::kPointer> {};
template <class T>
struct TypeName<T&> : JoinedText<TypeName<T>::kText, NameSign::kReference> {};
template <class T>
struct TypeName<T&&> : JoinedText<TypeName<T>::kText, NameSign::kMovable> {};
template <class R, class... Parameters>
struct TypeName<R(Parameters...)>
    : JoinedText<TypeName<R>::kText, NameSign::kOpen, TypeNameList<Parameters...>::kText, NameSign::kClose> {};

template <template <class...> class Template, class... Parameters>
struct TypeName<Template<Parameters...>> {
  static constexpr std::string_view kSpelling = GetSpelling<Template<Parameters...>>();
  static constexpr std::string_view kTemplate = WithoutHostNamespace(kSpelling.substr(0, kSpelling.find('<')));
  static constexpr std::string_view kText =
      JoinedText<kTemplate, NameSign::kLess, TypeNameList<Parameters...>::kText, NameSign::kGreater>::kText;
};

#define OSTRA_TYPE_NAME(Type, text)                 \
  template <>                                       \
  struct TypeName<Type> {                           \
    static constexpr std::string_view kText = text; \
  }
OSTRA_TYPE_NAME(void, "void");
OSTRA_TYPE_NAME(Bool, "Bool");
OSTRA_TYPE_NAME(Char, "Char");
OSTRA_TYPE_NAME(Int8, "Int8");
OSTRA_TYPE_NAME(UInt8, "UInt8");
OSTRA_TYPE_NAME(Int16, "Int16");
OSTRA_TYPE_NAME(UInt16, "UInt16");
OSTRA_TYPE_NAME(Int32, "Int32");
OSTRA_TYPE_NAME(UInt32, "UInt32");
OSTRA_TYPE_NAME(Int, "Int");
OSTRA_TYPE_NAME(UInt64, "UInt64");
OSTRA_TYPE_NAME(Float32, "Float32");
OSTRA_TYPE_NAME(Float64, "Float64");
OSTRA_TYPE_NAME(std::string_view, "std::string_view");
#undef OSTRA_TYPE_NAME

struct TemplateName {
  static constexpr std::string_view kVec2 = "Vec2";
  static constexpr std::string_view kVec3 = "Vec3";
  static constexpr std::string_view kVec4 = "Vec4";
  static constexpr std::string_view kSpan = "std::span";
};
template <class T>
struct TypeName<Vec2<T>> : JoinedText<TemplateName::kVec2, NameSign::kLess, TypeName<T>::kText, NameSign::kGreater> {};
template <class T>
struct TypeName<Vec3<T>> : JoinedText<TemplateName::kVec3, NameSign::kLess, TypeName<T>::kText, NameSign::kGreater> {};
template <class T>
struct TypeName<Vec4<T>> : JoinedText<TemplateName::kVec4, NameSign::kLess, TypeName<T>::kText, NameSign::kGreater> {};
template <class T>
struct TypeName<std::span<T>>
    : JoinedText<TemplateName::kSpan, NameSign::kLess, TypeName<T>::kText, NameSign::kGreater> {};

}  // namespace reflection

// The name of a type. Lives for ever, or as long as the module it is made in.
template <class T>
constexpr std::string_view GetTypeName() {
  return reflection::TypeName<T>::kText;
}

}  // namespace ostra
