// Work of the library that the tool shows: progress, notes and diagnostics.
#pragma once

#include "apps/ostra/output/progress.h"
#include "apps/ostra/output/standard_output.h"

namespace ostra::tool {

class ShownWork final : public plans::WorkObserver {
 public:
  std::unique_ptr<plans::WorkProgress> Begin(const std::string& text, Int steps, const std::string& unit) override {
    return std::make_unique<Progress>(text, steps, unit);
  }
  void Note(std::string_view text) override { WriteNote(text); }
  void Report(std::string_view line) override { WriteReportLine(line); }
};

}  // namespace ostra::tool
