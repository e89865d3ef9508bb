// Texture: texels with the way to read them, as TextureBindData describes it.
//
//   ostra::Texture image = session.MakeTexture({._data = texels, ._dataSize = size, ._dimensions = {width, height, 1},
//                                               ._format = TextureFormat::F32, ._numChannels = 4});
//   blur({.image = image, .target = target}, {width, height});
#pragma once

#include "clients/cpp/resource.h"
#include "parallelprogram/textures/texture_bind_data.h"

namespace ostra {

// Owns the texture: it is deleted with the last object that stands for it. Used by the session's thread.
class Texture : public client::Resource {
 public:
  Texture(const Texture&) = delete;
  Texture& operator=(const Texture&) = delete;
  Texture(Texture&& other) noexcept : Resource(std::move(other._session), other._name) {}
  Texture& operator=(Texture&& other) noexcept {
    std::swap(_session, other._session);
    std::swap(_name, other._name);
    return *this;
  }
  ~Texture() {
    // The memory of a texture that cannot be deleted goes with the session.
    if (_session) static_cast<void>(_session->GetProgram().DeleteTexture(_name, false));
  }

 private:
  friend class Session;
  using Resource::Resource;
};

}  // namespace ostra
