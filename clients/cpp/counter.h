// Counter: an atomic number of 32 bits that the invocations of kernels count with.
//
//   ostra::Counter hits = session.MakeCounter("hits");
//   find({.values = values, .hits = hits});
//   hits.Read();
#pragma once

#include "clients/cpp/resource.h"

namespace ostra {

// Movable; its number lives as long as the session. Used by the session's thread.
class Counter : public client::Resource {
 public:
  // The number, when all dispatches have ended. Error: that of the device.
  Result<UInt32> TryRead(CallSite where = CallSite::Here()) const {
    return client::CallAt(where, [&] { return _session->GetProgram().GetAtomicCounter(_name); });
  }
  UInt32 Read(CallSite where = CallSite::Here()) const { return OrThrow(TryRead(where)); }

  Result<void> TryWrite(UInt32 value, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&] { return _session->GetProgram().SetAtomicCounter(_name, value); });
  }
  void Write(UInt32 value, CallSite where = CallSite::Here()) { OrThrow(TryWrite(value, where)); }

 private:
  friend class Session;
  using Resource::Resource;
};

}  // namespace ostra
