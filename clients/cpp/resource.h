// A resource of a session that has a name in its program. For the headers of this folder.
#pragma once

#include <utility>

#include "clients/cpp/errors.h"
#include "clients/cpp/session_state.h"

namespace ostra::client {

class Resource {
 public:
  InternedId GetName() const { return _name; }

 protected:
  Resource(SessionRef session, InternedId name) : _session(std::move(session)), _name(name) {}

  SessionRef _session;
  InternedId _name;

 private:
  template <class R>
  friend class ResourceArgument;
};

}  // namespace ostra::client
