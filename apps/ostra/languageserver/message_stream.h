// Messages of the language server protocol in a stream of bytes: "Content-Length: N", an empty line, N bytes.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/result.h"

namespace ostra::tool {

// Cuts what arrives into messages.
class MessageReader {
 public:
  // Longer messages, and longer headers, are refused.
  static constexpr std::size_t kMaxMessage = std::size_t{1} << 26, kMaxHeader = 4096;

  void Append(std::string_view bytes) { _bytes.append(bytes); }
  // Takes the next whole message; false when there is none yet. Error: illegal argument for a header that does not
  // say how long its message is. Where the next message begins is not known then: nothing more can be read.
  Result<Bool> Take(std::string& message);
  // Whether the stream has ended within a message.
  Bool IsEmpty() const { return _bytes.empty(); }

 private:
  std::string _bytes;
};

// A message with its header.
std::string FrameMessage(std::string_view message);

}  // namespace ostra::tool
