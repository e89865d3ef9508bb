// The wide form of a kernel in its C++ source: the code of the kernel's body for lanes (kernellanguage/lane_code.h),
// once per instruction level, and where the kernel's loops find it (LaneForm in program/kernel_loops.h).
#pragma once

#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernellanguage/front_end.h"
#include "parallelprogram/kernellanguage/group_code.h"

namespace ostra::kernelfront {

// Empty for a kernel that the front end does not understand, or that has no wide form.
std::string MakeLaneForms(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel);

// The code of a kernel whose invocations exchange values.
kernellanguage::GroupCode PrintGroupCode(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel);

// The same of a kernel whose invocations exchange values, from its code for lanes (GroupForm in
// program/kernel_groups.h). Empty for a kernel that has none.
std::string MakeGroupForms(const KernelFile& file, const kernellanguage::GroupCode& code);

// Why there is none, or only one of a part, as a note with its place, line and caret. Empty for a kernel that has one.
std::string ExplainLaneForms(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel);

// The same for a kernel that reports something, from its plain form.
std::string ExplainReports(const kernellanguage::AnalyzedKernel& kernel, std::string_view reportTable);

}  // namespace ostra::kernelfront
