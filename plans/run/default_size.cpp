#include "plans/run/default_size.h"

#include <algorithm>

#include "plans/usage_error.h"

OSTRA_UNIT("default_size");

namespace ostra::plans {

namespace {

using Kind = SizeSource::Kind;

// The source that says the size: null when nothing has rows.
const SizeSource* FindDomainSource(const std::vector<SizeSource>& sources) {
  for (const SizeSource& source : sources)
    if (source.kind == Kind::Picture) return &source;
  for (const SizeSource& source : sources)
    if (source.hasRows) return &source;
  return nullptr;
}

std::string Describe(const SizeSource& source) {
  const char* kinds[] = {"the picture ", "", "the texture "};
  return kinds[static_cast<int>(source.kind)] + source.source + " for \"" + source.name + "\"";
}

// Sources that could say the size as well must say the same one; a list may be shorter.
Result<void> CheckAgreement(const std::vector<SizeSource>& sources, const SizeSource& domain, std::string_view option) {
  for (const SizeSource& source : sources) {
    const Bool isRival = domain.kind == Kind::Picture ? source.kind == Kind::Picture : source.hasRows;
    const Bool isLonger = source.kind != Kind::Texture && source.size.GetCount() > domain.size.GetCount();
    if ((isRival && source.size != domain.size) || isLonger)
      return OSTRA_USAGE_ERROR("the size of the run is not clear: @ has @ elements, and @ has @; give @",
                               Describe(domain), domain.size.ToText(), Describe(source), source.size.ToText(), option);
  }
  return OK;
}

// One invocation for each element of the longest, for kernels that know no rows.
Result<Extents> ChooseLine(const std::vector<SizeSource>& sources, std::string_view option) {
  const SizeSource* domain = FindDomainSource(sources);
  if (domain && domain->kind == Kind::Picture) {
    OSTRA_RETURN_IF_ERROR(CheckAgreement(sources, *domain, option));
    return Extents{domain->size.GetCount(), 1, 1};
  }
  Int count = 0;
  for (const SizeSource& source : sources) count = std::max(count, source.size.GetCount());
  return Extents{count, 1, 1};
}

}  // namespace

Extents FindDomain(const std::vector<SizeSource>& sources) {
  const SizeSource* domain = FindDomainSource(sources);
  return domain ? domain->size : Extents();
}

Result<Extents> ChooseDefaultSize(const std::vector<SizeSource>& sources, std::optional<Int> axisCount,
                                  std::string_view option) {
  if (sources.empty()) return OSTRA_USAGE_ERROR("the size of the run is not known: give @ or an input", option);
  if (axisCount == 1) return ChooseLine(sources, option);
  const SizeSource* domain = FindDomainSource(sources);
  if (!domain && !axisCount) return ChooseLine(sources, option);
  if (!domain)
    return OSTRA_USAGE_ERROR(
        "the size of the run is not known: the kernel asks for positions in @ dimensions, and no input has rows; give "
        "@ @",
        *axisCount, option, *axisCount == 2 ? "WxH" : "WxHxD");
  OSTRA_RETURN_IF_ERROR(CheckAgreement(sources, *domain, option));
  if (!axisCount)
    return OSTRA_USAGE_ERROR(
        "the size of the run is not clear: the kernel hands its ID on whole, which does not show whether it takes the "
        "@ elements of @ in rows or in one line; give @",
        domain->size.ToText(), Describe(*domain), option);
  if (domain->size.depth > 1 && *axisCount < 3)
    return OSTRA_USAGE_ERROR(
        "the size of the run is not clear: the kernel asks for positions in 2 dimensions, and @ has @ elements; give "
        "@ WxH",
        Describe(*domain), domain->size.ToText(), option);
  return domain->size;
}

}  // namespace ostra::plans
