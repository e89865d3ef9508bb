// ostra info: what is there on this machine.
#pragma once

#include <span>
#include <string>

#include "ostra/drawport/device_list.h"

namespace ostra::tool {

// Writes GPU devices, or why there is none, modules, classes, interfaces, configuration variables and threads to
// standard output, as tables or as one JSON object. Errors: those of StartHost.
Result<void> ShowInfo(Bool isJson, std::span<const char* const> arguments);

// The part of the tables about devices: a number and what it has for each that works, the reason for every other one;
// `noDevice` is why there is none.
std::string FormatDevices(const BaseArray<DrawportDeviceInformation>& devices, const std::string& noDevice);

}  // namespace ostra::tool
