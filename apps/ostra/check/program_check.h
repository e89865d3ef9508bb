// The check of stage files that belong together: those of one name beside each other, such as model.vert and
// model.frag.
#pragma once

#include "apps/ostra/check/file_check.h"

namespace ostra::tool {

// What a stage receives from the one before it must be handed on there, with the same type. Stages whose neighbour is
// not among the files are left alone.
void CheckPrograms(const std::vector<FileCheck>& checks, plans::Findings& findings);

}  // namespace ostra::tool
