// What a kernel printed as a line for people: "net.example.blur.krn:12: invocation (3, 0): x = 0.5".
#pragma once

#include <string>

#include "parallelprogram/program/kernel_report_interface.h"

namespace ostra {

// "3" in one dimension, else "(3, 0)" or "(3, 0, 1)".
inline std::string FormatInvocation(const Vec3<UInt32>& invocation, Int32 dimensions) {
  if (dimensions == 1) return std::to_string(invocation.x);
  const std::string place = std::to_string(invocation.x) + ", " + std::to_string(invocation.y);
  return "(" + (dimensions == 2 ? place : place + ", " + std::to_string(invocation.z)) + ")";
}

// Without a line break.
inline std::string FormatKernelPrint(const KernelPrint& print) {
  return std::string(print.file.GetView()) + ":" + std::to_string(print.line) + ": invocation " +
         FormatInvocation(print.invocation, print.dimensions) + ": " + std::string(print.text.GetView());
}

}  // namespace ostra
