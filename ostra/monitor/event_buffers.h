// The events of a recording, in one buffer for each thread. Internal to this folder; thread-safe.
#pragma once

#include "ostra/monitor/monitor_event.h"
#include "ostra/monitor/trace_file.h"

namespace ostra::EventBuffers {

// Adds an event of the calling thread when `recording` still runs. Without memory it is counted as lost.
void Append(UInt32 recording, const MonitorEvent& event);

// Forgets all events, after writing them to `file` when that is not null. To be called when no recording runs.
void TakeAll(TraceFile* file);

// Events lost since the last call.
Int TakeLostCount();

}  // namespace ostra::EventBuffers
