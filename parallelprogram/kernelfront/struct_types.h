// The DataTypes of the structs that are elements of a kernel's buffers, in its C++ source (ostra/core/struct_type.h).
#pragma once

#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::kernelfront {

// Lines for the namespace of the structs. Of a kernel that the front end does not understand only the names of the
// structs are known.
std::string MakeStructTypes(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel);

// A header with the same structs for C++, each in a namespace that its layout gives the name of: structs of two kernels
// that have one name and other members stay apart.
std::string MakeStructHeader(std::string_view kernel, const kernellanguage::AnalyzedKernel& analyzed);

}  // namespace ostra::kernelfront
