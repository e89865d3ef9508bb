#include "ostra/io/url.h"

OSTRA_UNIT("url");

namespace ostra {

namespace {

constexpr std::string_view kSchemeEnd = "://";

// Byte position behind "://"; 0 when there is none, or when a slash before it means that it is an odd part of a path.
std::size_t FindPath(std::string_view text) {
  const std::size_t end = text.find(kSchemeEnd);
  return end == 0 || end == std::string_view::npos || text.find('/') < end ? 0 : end + kSchemeEnd.size();
}

}  // namespace

Url::Url(String text) : _text(std::move(text)) {
  // One slash alone is the root directory and stays.
  const Int shortest = GetPathStart() + 1;
  Int size = _text.GetCount();
  while (size > shortest && _text[size - 1] == '/') --size;
  _text = _text.SubString(0, size);
}

Result<Url> Url::Create(std::string_view text) {
  OSTRA_ASSIGN_OR_RETURN(String copy, String::Create(text));
  return Url(std::move(copy));
}

Int Url::GetPathStart() const { return static_cast<Int>(FindPath(GetView())); }

Int Url::GetNameStart() const {
  const Int pathStart = GetPathStart();
  const Int slash = _text.FindLast("/");
  return slash < pathStart ? pathStart : slash + 1;
}

Int Url::GetSuffixDot() const {
  const Int count = _text.GetCount();
  const Int dot = _text.FindLast(".");
  return dot > GetNameStart() && dot < count - 1 ? dot : count;
}

String Url::GetScheme() const {
  if (IsEmpty()) return String();
  const Int pathStart = GetPathStart();
  return pathStart == 0 ? "file"_s : _text.SubString(0, pathStart - static_cast<Int>(kSchemeEnd.size()));
}

Result<void> Url::SetName(std::string_view name) {
  if (name.empty()) return OSTRA_ILLEGAL_ARGUMENT("The name of a file cannot be empty.");
  if (name.find('/') != std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("The name \"@\" of a file cannot have a slash in it.", name);
  OSTRA_ASSIGN_OR_RETURN(_text, String::Concatenate(_text.SubString(0, GetNameStart()), name));
  return OK;
}

String Url::GetSuffix() const { return _text.SubString(GetSuffixDot() + 1); }

Result<void> Url::SetSuffix(std::string_view suffix) {
  if (suffix.empty()) return OK;
  if (suffix.find_first_of("./") != std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("The suffix \"@\" of a file cannot have a dot or a slash in it.", suffix);
  if (GetName().IsEmpty())
    return OSTRA_ILLEGAL_STATE("\"@\" has no name that could get the suffix \"@\".", *this, suffix);
  OSTRA_ASSIGN_OR_RETURN(_text, Format("@.@", _text, suffix));
  return OK;
}

void Url::ClearSuffix() { _text = _text.SubString(0, GetSuffixDot()); }

Url Url::GetDirectory() const { return Url(_text.SubString(0, GetNameStart())); }

Result<Url> operator+(const Url& base, const Url& part) { return base + part.GetView(); }

Result<Url> operator+(const Url& base, std::string_view part) {
  if (base.IsEmpty()) return Url::Create(part);
  part.remove_prefix(FindPath(part));
  while (!part.empty() && part.front() == '/') part.remove_prefix(1);
  if (part.empty()) return base;
  OSTRA_ASSIGN_OR_RETURN(String text, Format(base._text.EndsWith("/") ? "@@" : "@/@", base, part));
  return Url(std::move(text));
}

Result<Url> ResolveUrl(const Url& resourcePath, const Url& url) {
  if (!(url.GetScheme() == kRelativeScheme)) return url;
  OSTRA_ASSIGN_OR_RETURN(const Url folder, resourcePath + "shaders");
  return folder + url;
}

}  // namespace ostra
