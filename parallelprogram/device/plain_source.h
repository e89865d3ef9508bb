// The plain form of kernel files for the translation to the languages of GPUs.
#pragma once

#include <optional>

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/program/kernel_report_interface.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

// What a ShaderParser reads in place of the kernel file (kernelfront/plain_kernel.h); nothing for one that it reads
// itself. Errors: those of reading the file; what has no plain form, with its line; out of memory. Thread-safe.
Result<std::optional<WrittenSource>> MakePlainSource(const Url& file, std::string_view templateArgument,
                                                     const KernelReportOptions& reports = {});

// The same of a file that was read.
Result<std::optional<WrittenSource>> MakePlainSource(const Url& file, const KernelReading& kernel);

}  // namespace ostra
