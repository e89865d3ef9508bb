// What the page of shader_data_entries.h shows: entries are read and described without the module.
#include <cstdio>

#include "ostra/core/data.h"
#include "ostra/host.h"
#include "parallelprogram/program/shader_data_entries.h"

using namespace ostra;

static Result<Bool> DescribesItself() {
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  DataBufferEntry entry;
  entry._count = 3;
  OSTRA_ASSIGN_OR_RETURN(const Data link, Data::Create(entry));
  OSTRA_ASSIGN_OR_RETURN(const DataBufferEntry& same, link.Get<DataBufferEntry>());
  OSTRA_ASSIGN_OR_RETURN(const String text, same.ToText());
  return same == entry && same.GetHashCode() == entry.GetHashCode() &&
         text == "(nullptr,nullptr,nullptr,0,3,nullptr,)"_s;
}

int main() {
  const auto good = DescribesItself();
  if (good && *good) return 0;
  std::fprintf(stderr, "an entry does not describe itself\n");
  return 1;
}
