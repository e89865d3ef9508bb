// What Python asks of the host: devices, configuration, memory, times of dispatches. With the interpreter lock.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace ostra::python {

// A list of dicts; empty on a machine without a device.
pybind11::list ListDevices();
// A dict of dicts: value, help and configured.
pybind11::dict ListConfiguration();
// Throws ValueError for a name that no variable has, with the nearest one.
void Configure(const std::string& name, bool value);
// Bytes of the device's memory: available and total. Throws Exception without a GPU.
pybind11::tuple GetDeviceMemory();

// Lets both backends measure, or no more.
void MeasureDispatches(bool isOn);
// A list of tuples: name of the kernel, backend, invocations, nanoseconds.
pybind11::list TakeDispatchTimes();

}  // namespace ostra::python
