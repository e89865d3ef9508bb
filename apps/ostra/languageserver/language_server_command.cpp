#include "apps/ostra/languageserver/language_server_command.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "apps/ostra/languageserver/language_server.h"
#include "apps/ostra/languageserver/message_stream.h"
#include "ostra/core/format.h"
#include "ostra/io/descriptor.h"

OSTRA_UNIT("languageserver");

namespace ostra::tool {

namespace {

Result<void> Send(const std::vector<std::string>& messages) {
  for (const std::string& message : messages) {
    const std::string framed = FrameMessage(message);
    if (!WriteBytes(STDOUT_FILENO, {reinterpret_cast<const Byte*>(framed.data()), static_cast<Int>(framed.size())}))
      return OSTRA_ILLEGAL_STATE("The editor does not read any more: @.", std::strerror(errno));
  }
  return OK;
}

Bool HasInput() {
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return poll(&input, 1, 0) > 0;
}

// Waits for bytes; false at the end of the input.
Bool ReadMore(MessageReader& reader) {
  char bytes[65536];
  ssize_t count = 0;
  do count = read(STDIN_FILENO, bytes, sizeof(bytes));
  while (count < 0 && errno == EINTR);
  if (count <= 0) return false;
  reader.Append({bytes, static_cast<std::size_t>(count)});
  return true;
}

}  // namespace

Result<void> RunLanguageServer() {
  LanguageServer server;
  MessageReader reader;
  for (std::string message; !server.HasEnded();) {
    OSTRA_ASSIGN_OR_RETURN(const Bool isTaken, reader.Take(message));
    if (isTaken) {
      OSTRA_RETURN_IF_ERROR(Send(server.Handle(message)));
      continue;
    }
    // Nothing waits: what was typed so far is told.
    if (!HasInput()) OSTRA_RETURN_IF_ERROR(Send(server.TakeDiagnostics()));
    if (!ReadMore(reader)) break;
  }
  if (!server.WasShutDown()) return OSTRA_ILLEGAL_STATE("The editor has gone without \"shutdown\".");
  return OK;
}

}  // namespace ostra::tool
