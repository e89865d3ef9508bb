// Text tables with aligned columns, for people.
#pragma once

#include <string>
#include <vector>

namespace ostra::tool {

// One line per row, columns as wide as their longest cell with two blanks between them. Cells count as many characters
// as their UTF-8 text has.
std::string FormatTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace ostra::tool
