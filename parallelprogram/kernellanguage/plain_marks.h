// Marks in a text that is being written: where in the source of a kernel the next piece comes from.
#pragma once

#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra::kernellanguage {

// Control characters: no token of a kernel has them.
inline constexpr char kMarkBegin = '\x01', kMarkEnd = '\x02';

std::string MakeMark(SourceOffset offset);

// Appends `marked` to the text of `form`, with its marks in the list.
void TakeMarks(std::string_view marked, PlainForm& form);

}  // namespace ostra::kernellanguage
