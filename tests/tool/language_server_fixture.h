// A kernel with a mark where the editor's caret is, and a document of it.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

#include "apps/ostra/languageserver/features.h"

namespace ostra::tool {

// What stands before and behind the kernel's body.
inline const std::string kHead =
    "#define KERNELINPUTS \\\n"
    "(UInt32) count, \\\n"
    "(Float32) factor, \\\n"
    "(const Block<Float32>) source, \\\n"
    "(Block<Vector4d32>) target\n"
    "\n"
    "float Twice(float value)\n"
    "{\n"
    "\treturn value * 2.0;\n"
    "}\n"
    "\n"
    "OSTRA_PARALLEL_KERNEL(Scale, KERNELINPUTS)\n"
    "{\n"
    "\tuint i = LinearInvocation();\n"
    "\tvec4 sum = vec4(0.0, 0.0, 0.0, 1.0);\n";
inline const std::string kTail = "}\nOSTRA_PARALLEL_KERNEL_END\n";

// A text whose "$" is the caret.
struct Marked {
  explicit Marked(std::string marked) : text(std::move(marked)), offset(static_cast<UInt32>(text.find('$'))) {
    text.erase(offset, 1);
  }
  std::string text;
  UInt32 offset;
};

// The kernel with these lines in its body.
inline Marked InKernel(const std::string& lines) { return Marked(kHead + "\t" + lines + "\n" + kTail); }

inline KernelDocument MakeDocument(const std::string& text, std::map<std::string, std::string> headers = {}) {
  KernelDocument document("/kernels/net.example.scale.krn",
                          [headers = std::move(headers)](const std::string& name,
                                                         const std::string&) -> std::optional<kernellanguage::Header> {
                            const auto found = headers.find(name);
                            if (found == headers.end()) return std::nullopt;
                            return kernellanguage::Header{"/kernels/" + name, found->second};
                          });
  EXPECT_TRUE(document.SetText(text));
  return document;
}

inline std::string TextAt(const std::string& text, TextRange range) {
  return text.substr(range.begin, range.end - range.begin);
}

}  // namespace ostra::tool
