// Kernels of a few lines for tests of the front end.
#pragma once

#include <string>
#include <string_view>

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernellanguage {

// A kernel with the parameters n (uint), f (float), v (vec3), m (mat3), in (const Block<Float32>), out
// (Block<Float32>), counts (Block<UInt32>), image (a texture of two dimensions with four channels) and hits (a
// counter). The body begins in line kBodyLine when `before`, which stands outside, has no line.
inline constexpr int kBodyLine = 14;
std::string MakeKernel(std::string_view body, std::string_view before = {});

// `text` is copied; the result refers to nothing else.
AnalyzedKernel AnalyzeText(const std::string& text);
AnalyzedKernel AnalyzeBody(std::string_view body, std::string_view before = {});

// "line:column: text" of all errors, one a line.
std::string ListErrors(const AnalyzedKernel& kernel);
// The same of the errors of MakeKernel(body, before), with lines counted in the body from 1.
std::string FindErrors(std::string_view body, std::string_view before = {});
// "line: reason", or "" for what is understood.
std::string FindReason(std::string_view body, std::string_view before = {});

// The initial value of the variable `r` of a body, with types.
std::string PrintResult(std::string_view body, std::string_view before = {});

// The first variable with this name.
NodeIndex FindVariable(const AnalyzedKernel& kernel, std::string_view name);
// The first statement of a kind.
NodeIndex FindNode(const AnalyzedKernel& kernel, NodeKind kind);

}  // namespace ostra::kernellanguage
