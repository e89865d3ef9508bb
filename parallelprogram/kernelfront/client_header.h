// A header of C++ through which clients call one kernel: a struct with a member for each parameter.
#pragma once

#include <string>
#include <string_view>

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernelfront {

// `name`: that of the kernel. `text`: the kernel file, whose leading comment describes the struct.
std::string MakeClientHeader(const KernelSourceOptions& options, std::string_view name, std::string_view text,
                             const kernellanguage::AnalyzedKernel& kernel);

}  // namespace ostra::kernelfront
