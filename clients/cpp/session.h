// Session: kernels, buffers and textures on the CPU or on a GPU, in a few lines.
//
//   #include "clients/cpp/session.h"
//   #include "net.example.scale.kernel.h"                    // made by ostra_add_kernels
//
//   ostra::Session session(ostra::Backend::kGpu);
//   auto scale = session.Load<ostra::kernels::Scale>();
//   auto values = session.MakeBuffer(numbers);               // a vector or span of floats
//   scale({.count = 1000, .factor = 2, .values = values});
//   const std::span<const float> result = values.Read();
//
// Functions without "Try" throw Exception; those with it return a Result. Both say the file and line of the call. A
// session, and all that it makes, is used by one thread at a time. What it has made may outlive it.
#pragma once

#include <string>
#include <vector>

#include "clients/cpp/kernel.h"
#include "ostra/image/picture_channels.h"

namespace ostra {

struct SessionOptions {
  Backend backend = Backend::kCpu;
  Int32 deviceIndex = 0;  // of the GPU, in the order of `ostra info`
  // Where the folder "shaders" with the kernel files lies. Empty: beside the running program.
  std::string resourceFolder = {};
  // The client's own host, which outlives the session. Null: one that all sessions without their own share.
  Host* host = nullptr;
};

class Session {
 public:
  explicit Session(Backend backend = Backend::kCpu, CallSite where = CallSite::Here())
      : Session(OrThrow(TryCreate({.backend = backend}, where))) {}
  explicit Session(const SessionOptions& options, CallSite where = CallSite::Here())
      : Session(OrThrow(TryCreate(options, where))) {}
  // Errors: those of the host and its modules; of the GPU: no device, or one that does not start.
  static Result<Session> TryCreate(const SessionOptions& options = {}, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Session> {
      std::shared_ptr<client::SharedHost> shared;
      if (!options.host) {
        OSTRA_ASSIGN_OR_RETURN(shared, client::SharedHost::Get());
      }
      Host& host = options.host ? *options.host : shared->GetHost();
      auto state = std::make_shared<client::SessionState>(std::move(shared), host, options.backend);
      OSTRA_RETURN_IF_ERROR(state->Start(options.resourceFolder, options.deviceIndex));
      return Session(std::move(state));
    });
  }

  Backend GetBackend() const { return _state->GetBackend(); }
  Host& GetHost() const { return _state->GetHost(); }
  // The program behind the session, for what this layer has no word for.
  ParallelProgramInterface& GetProgram() const { return _state->GetProgram(); }

  // What is called with what a kernel has printed (PRINT), by the thread that calls the kernel, before the call returns
  // or says which ASSERT did not hold. Unless it is set prints go to standard error, a line each: FormatKernelPrint
  // (parallelprogram/program/kernel_print_text.h). An empty listener sets that again.
  void SetPrintListener(PrintListener listener) { _state->SetPrintListener(std::move(listener)); }

  // A kernel of the application; K is a struct of NAME.kernel.h. Errors: illegal state for a kernel that does not
  // compile for the GPU.
  template <class K>
  Result<SessionKernel<K>> TryLoad(CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<SessionKernel<K>> {
      const client::KernelDescription& kernel = K::kKernel;
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, _state->MakeName("kernel"));
      const Bool isOnGpu = _state->GetBackend() == Backend::kGpu;
      if (!isOnGpu) OSTRA_RETURN_IF_ERROR(_state->RegisterKernel(kernel.classId, kernel.create));
      OSTRA_ASSIGN_OR_RETURN(const Url file, isOnGpu ? Url::Create("relative://" + std::string(kernel.gpuFile))
                                                     : Url::Create(kernel.classId));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().AddKernel(name, file, true));
      return SessionKernel<K>(_state, name);
    });
  }
  template <class K>
  SessionKernel<K> Load(CallSite where = CallSite::Here()) {
    return OrThrow(TryLoad<K>(where));
  }

  // A buffer of zeros. Errors: illegal argument for a count below 1; out of memory.
  template <class T>
  Result<Buffer<T>> TryMakeBuffer(Int count, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Buffer<T>> {
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, MakeBufferName(count));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().CreateUniformBuffer(name, GetDataType<T>(), count));
      return Buffer<T>(_state, name, count);
    });
  }
  template <class T>
  Buffer<T> MakeBuffer(Int count, CallSite where = CallSite::Here()) {
    return OrThrow(TryMakeBuffer<T>(count, where));
  }

  // A buffer with copies of elements. Errors: illegal argument without elements; out of memory.
  template <class T>
  Result<Buffer<T>> TryMakeBuffer(std::span<const T> elements, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Buffer<T>> {
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, MakeBufferName(static_cast<Int>(elements.size())));
      OSTRA_ASSIGN_OR_RETURN(BaseArray<T> copy, client::CopyElements(elements));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().StoreUniformBufferData(name, std::move(copy)));
      return Buffer<T>(_state, name, static_cast<Int>(elements.size()));
    });
  }
  template <class T>
  Buffer<T> MakeBuffer(std::span<const T> elements, CallSite where = CallSite::Here()) {
    return OrThrow(TryMakeBuffer<T>(elements, where));
  }
  template <class T>
  Buffer<T> MakeBuffer(const std::vector<T>& elements, CallSite where = CallSite::Here()) {
    return OrThrow(TryMakeBuffer<T>(std::span<const T>(elements), where));
  }

  // A buffer in the client's memory, which outlives the buffer. Kernels of the
  // CPU read and write the elements there, without a copy; a GPU has a copy, which Read returns. Errors: illegal
  // argument without elements; out of memory.
  template <class T>
  Result<Buffer<T>> TryShareBuffer(std::span<T> elements, CallSite where = CallSite::Here()) {
    if (_state->GetBackend() == Backend::kGpu) return TryMakeBuffer<T>(std::span<const T>(elements), where);
    return client::CallAt(where, [&]() -> Result<Buffer<T>> {
      const Int count = static_cast<Int>(elements.size());
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, MakeBufferName(count));
      auto* array = NewObj<client::ClientArray>(GetDataType<T>(), elements.data(), count);
      if (!array) return Error::MakeOutOfMemory(client::kUnit, __LINE__);
      Buffer<T> buffer(_state, name, count);
      buffer._shared = std::make_unique<Array<Generic>>(StrongRef<ArrayInterface>::Adopt(array));
      OSTRA_ASSIGN_OR_RETURN(const Data link, Data::Create(buffer._shared.get()));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().SetGlobalBufferLink(name, link));
      return buffer;
    });
  }
  template <class T>
  Buffer<T> ShareBuffer(std::span<T> elements, CallSite where = CallSite::Here()) {
    return OrThrow(TryShareBuffer<T>(elements, where));
  }

  // A buffer with the elements of a file: .npy, .raw, .bin, or a picture for elements of Vec4<Float32>. Errors: those
  // of ReadArrayFile (ostra/arrays/array_file.h); out of memory.
  template <class T>
  Result<Buffer<T>> TryLoadBuffer(std::string_view file, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Buffer<T>> {
      OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
      OSTRA_ASSIGN_OR_RETURN(ArrayContents contents, ReadArrayFile(url, GetDataType<T>()));
      const Int count = contents.elements.GetCount();
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, MakeBufferName(count));
      OSTRA_RETURN_IF_ERROR(
          _state->GetProgram().StoreUniformBufferData(name, GetDataType<T>(), std::move(contents.elements)));
      Buffer<T> buffer(_state, name, count);
      buffer._extent = contents.extent;
      return buffer;
    });
  }
  template <class T>
  Buffer<T> LoadBuffer(std::string_view file, CallSite where = CallSite::Here()) {
    return OrThrow(TryLoadBuffer<T>(file, where));
  }

  // A counter that starts at `value`, for parameters of kernels with this name. It replaces one of the same name, which
  // must not be used any more. Error: out of memory.
  Result<Counter> TryMakeCounter(std::string_view name, UInt32 value = 0, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Counter> {
      OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().AddAtomicCounter(id, UInt32(0)));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().SetAtomicCounter(id, value));
      return Counter(_state, id);
    });
  }
  Counter MakeCounter(std::string_view name, UInt32 value = 0, CallSite where = CallSite::Here()) {
    return OrThrow(TryMakeCounter(name, value, where));
  }

  // A texture with copies of the texels of `description`. Errors: illegal argument for a description that there is no
  // sampler for; out of memory.
  Result<Texture> TryMakeTexture(TextureBindData description, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Texture> {
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, _state->MakeName("texture"));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().StoreTextureBindData(name, description, false));
      return Texture(_state, name);
    });
  }
  Texture MakeTexture(const TextureBindData& description, CallSite where = CallSite::Here()) {
    return OrThrow(TryMakeTexture(description, where));
  }

  // A texture of a picture file. `channels` names the channels of its texels in their order: one to four of the letters
  // r, g, b and a. `settings` says how it is sampled, and with _format whether its texels are floats (F32, the default)
  // or bytes (U8); its texels and size come from the file, the number of channels from `channels`. Errors: those of
  // ReadImage; illegal argument for other letters and formats; out of memory.
  Result<Texture> TryLoadTexture(std::string_view file, const TextureBindData& settings = {},
                                 std::string_view channels = "rgba", CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<Texture> {
      const Bool isByte = settings._format == TextureFormat::U8;
      if (!isByte && settings._format != TextureFormat::F32 && settings._format != TextureFormat::INVALID)
        return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                         "Textures from pictures have texels of the format F32 or U8.");
      OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
      OSTRA_ASSIGN_OR_RETURN(const Image image, ReadImage(url));
      OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> texels,
                             TakeChannels(image, channels, isByte ? TexelNumber::UInt8 : TexelNumber::Float32));
      TextureBindData description = settings;
      description._data = texels.GetFirst();
      description._dataSize = texels.GetCount();
      description._dimensions = {static_cast<UInt32>(image.width), static_cast<UInt32>(image.height), 1};
      description._format = isByte ? TextureFormat::U8 : TextureFormat::F32;
      description._numChannels = static_cast<UInt32>(channels.size());
      OSTRA_ASSIGN_OR_RETURN(const InternedId name, _state->MakeName("texture"));
      OSTRA_RETURN_IF_ERROR(_state->GetProgram().StoreTextureBindData(name, description, false));
      return Texture(_state, name);
    });
  }
  Texture LoadTexture(std::string_view file, const TextureBindData& settings = {}, std::string_view channels = "rgba",
                      CallSite where = CallSite::Here()) {
    return OrThrow(TryLoadTexture(file, settings, channels, where));
  }

  // Waits until all calls of kernels are done, which reading does as well. Error: that of the device.
  Result<void> TryWait(CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&] { return _state->GetProgram().Execute(true); });
  }
  void Wait(CallSite where = CallSite::Here()) { OrThrow(TryWait(where)); }

 private:
  explicit Session(client::SessionRef state) : _state(std::move(state)) {}

  Result<InternedId> MakeBufferName(Int count) {
    if (count > 0) return _state->MakeName("buffer");
    return MakeError(kIllegalArgumentError, client::kUnit, __LINE__, "A buffer has at least one element, not @.",
                     count);
  }

  client::SessionRef _state;
};

}  // namespace ostra
