// One round of waiting, with the pause as a parameter, so that pauses can be counted.
#pragma once

#include "ostra/core/host_flags.h"
#include "parallelprogram/base/spin.h"

namespace ostra {

// Pauses in rounds of eight; what is left over is not spent.
template <class Pause>
void PauseInRounds(Int32 count, const Pause& pause) {
  constexpr Int32 kPausesPerRound = 8;
  for (Int32 round = 0; round < count / kPausesPerRound; ++round) {
    for (Int32 i = 0; i < kPausesPerRound; ++i) pause();
  }
}

// See SpinWaitStep.
template <class Pause>
void SpinWaitStepWith(SpinState& state, const Pause& pause) {
  if (state.count > MAX_SPIN_COUNT) {
    g_CpuYieldDelegate(&state, state.context);
    return;
  }
  if (state.count == 0 && g_trackCpuYield) g_CpuYieldDelegate(&state, state.context);
  state.count += state.step;
  PauseInRounds(state.step, pause);
  state.step = state.step <= LAST_DOUBLED_SPIN_STEP ? state.step * 2 : FIRST_SPIN_STEP;
}

}  // namespace ostra
