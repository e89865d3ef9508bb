// "file:///home/me/blur.krn" and "/home/me/blur.krn". What is no URI of a file stays as it is, both ways.
#pragma once

#include <string>
#include <string_view>

namespace ostra::tool {

std::string MakePath(std::string_view uri);
std::string MakeUri(std::string_view path);

}  // namespace ostra::tool
