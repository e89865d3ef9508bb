#include "apps/ostra/parity/parity_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/ostra/output/table.h"
#include "ostra/core/format.h"

OSTRA_UNIT("parity_report");

namespace ostra::tool {

std::string FormatParityReport(const ParityReport& report) {
  std::vector<std::vector<std::string>> table = {{"", "", "promised", "reached"}};
  std::string group;
  for (const conformance::ConformanceRow& row : report.rows) {
    table.push_back({row.group == group ? "" : row.group, row.what, row.promised,
                     row.isHeld ? row.reached : "NOT HELD: " + row.reached});
    group = row.group;
  }
  return FormatTable({{"device", report.device}, {"language", report.language}}) + "\n" + FormatTable(table);
}

std::string FormatParityReportAsJson(const ParityReport& report) {
  using Json = nlohmann::ordered_json;
  Json rows = Json::array();
  for (const conformance::ConformanceRow& row : report.rows)
    rows.push_back({{"group", row.group},
                    {"what", row.what},
                    {"promised", row.promised},
                    {"reached", row.reached},
                    {"isHeld", row.isHeld}});
  const Json json = {{"device", report.device},
                     {"language", report.language},
                     {"isHeld", CheckParityReport(report).IsOk()},
                     {"rows", rows}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Result<void> CheckParityReport(const ParityReport& report) {
  const auto others = std::count_if(report.rows.begin(), report.rows.end(),
                                    [](const conformance::ConformanceRow& row) { return !row.isHeld; });
  if (others == 0) return OK;
  return OSTRA_ILLEGAL_STATE("@ of @ promises are not held", static_cast<Int>(others),
                             static_cast<Int>(report.rows.size()));
}

}  // namespace ostra::tool
