// What the processor can do, asked once when the program starts.
//
//   OSTRA_ASSIGN_OR_RETURN(Bool hasAvx2, MachineInfo::GetFlag("net.ostra.machineinfo.supportavx2"_id));
//
// Thread-safe.
#pragma once

#include <array>
#include <span>

#include "ostra/core/id.h"
#include "ostra/core/result.h"

namespace ostra {

inline constexpr Id kMachineInfoInterface = "net.ostra.interface.machineinfo"_id;

namespace MachineInfo {

// The names of all flags, oldest processor feature first. On processors of another family all flags are false.
inline constexpr std::array kFlags = {
    "net.ostra.machineinfo.supportsse2"_id,      "net.ostra.machineinfo.supportsse3"_id,
    "net.ostra.machineinfo.supportssse3"_id,     "net.ostra.machineinfo.supportsse41"_id,
    "net.ostra.machineinfo.supportsse42"_id,     "net.ostra.machineinfo.supportavx"_id,
    "net.ostra.machineinfo.supportfma"_id,       "net.ostra.machineinfo.supportaes"_id,
    "net.ostra.machineinfo.supportpclmulqdq"_id, "net.ostra.machineinfo.supportavx2"_id,
};

// Error: illegal argument for a name that is not in kFlags.
OSTRA_API Result<Bool> GetFlag(const Id& name);

// Offers GetFlag to modules as the method "GetFlag" of kMachineInfoInterface.
OSTRA_API Result<void> PublishInterface();
OSTRA_API void WithdrawInterface();

}  // namespace MachineInfo

}  // namespace ostra
