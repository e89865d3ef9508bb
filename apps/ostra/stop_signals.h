// What happens when the tool is stopped by a signal.
#pragma once

namespace ostra::tool {

// From now on an interrupt from the terminal, its end and a request to terminate remove files that are written just
// now, and then end the process as they always do. A signal that is ignored stays ignored.
void InstallStopSignals();

}  // namespace ostra::tool
