#include "bench/gpu_program.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "ostra/drawport/device_list.h"
#include "parallelprogram/program/recorded_dispatches_interface.h"

namespace bench {

using namespace ostra;

namespace {

// Contestants for which no device has to be started.
constexpr std::string_view kProcessorPeers[] = {"ours", "ours-fast",   "ours-virtual", "serial",    "openmp",
                                                "tbb",  "tbb-virtual", "inlined",      "eight-wide"};

bool IsWanted(const Options& options) {
  return options.peers.empty() || std::ranges::any_of(options.peers, [](const std::string& peer) {
           return std::ranges::find(kProcessorPeers, peer) == std::end(kProcessorPeers);
         });
}

}  // namespace

std::string FindGpu(const Options& options) {
  if (!IsWanted(options)) return {};
  const auto devices = GetDrawportDevices();
  if (devices && devices->IsPopulated()) return std::string((*devices)[0].name.GetView());
  std::fprintf(stderr, "%s: the GPU is skipped: %s\n", options.workload.c_str(),
               devices ? "There is no device." : std::string(devices.GetError().GetMessage().GetView()).c_str());
  return {};
}

std::string GetProgramFolder() { return std::filesystem::read_symlink("/proc/self/exe").parent_path().string(); }

std::string GetKernelPath(const char* kernel) { return GetProgramFolder() + "/shaders/" + kernel; }

ParallelProgramRef MakeGpuProgram(const char* kernel) {
  ParallelProgramRef program = Need(CreateObject<ParallelProgramInterface>(kGpuProgramClass));
  Need(program->Init(Need(Url::Create(GetProgramFolder())), nullptr, 0, true));
  Need(program->AddKernel("kernel"_iid, Need(Url::Create(std::string("relative://") + kernel)), true));
  return program;
}

std::vector<std::uint8_t> ReadBuffer(ParallelProgramInterface& program, const std::string& name) {
  const Data data = Need(program.GetGlobalBufferData(Need(InternedId::Create(name))));
  const Block<Generic> block = Need(data.Get<Array<Generic>>()).GetFirstBlock();
  const auto* first = reinterpret_cast<const std::uint8_t*>(block.GetFirst());
  return {first, first + block.GetCount() * block.GetStride()};
}

bool GpuWork::Start(const Options& options) {
  const std::string device = FindGpu(options);
  if (device.empty()) return false;
  _program = MakeGpuProgram(_kernel);
  _device = std::make_shared<RawDevice>(device);
  _raw = std::make_shared<RawKernel>(_device, MakeShader(GetKernelPath(_kernel)));
  return true;
}

void GpuWork::AddTexture(const char* name, TextureBindData data) {
  Need(_program->StoreTextureBindData(Name(name), data, false));
  Need(_program->SetTextureToActiveKernelSameId(Name(name)));
  if (data._format != TextureFormat::F32) throw std::logic_error("The reference has textures of floats only.");
  const VkFormat format = data._numChannels == 1 ? VK_FORMAT_R32_SFLOAT : VK_FORMAT_R32G32B32A32_SFLOAT;
  const VkSamplerAddressMode wrap = data._wrapModes[0] == TextureWrapMode::CLAMP ? VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE
                                                                                 : VK_SAMPLER_ADDRESS_MODE_REPEAT;
  const VkExtent3D extent = {data._dimensions.x, data._dimensions.y, data._dimensions.z};
  _raw->SetTexture(name, std::make_shared<RawTexture>(_device, format, extent, wrap, data._data,
                                                      static_cast<VkDeviceSize>(data._dataSize)));
}

void GpuWork::AddPeers(Contest& contest, std::uint32_t x, std::uint32_t y, std::function<bool(const void*)> isRight,
                       int dispatches, int repeats) {
  contest.Add(
      "ours-gpu",
      [program = _program, x, y, dispatches, repeats] {
        for (int repeat = 0; repeat < repeats; ++repeat) {
          if (!program->UpdateUniforms().IsOk()) return false;
          for (int i = 0; i < dispatches; ++i)
            if (!program->DispatchKernel(x, y, 1, false).IsOk()) return false;
          if (!program->Execute(true).IsOk()) return false;
        }
        return true;
      },
      [program = _program, name = _result, isRight] { return isRight(ReadBuffer(*program, name).data()); });
  AddRawPeer(contest, "vulkan", x, y, std::move(isRight), dispatches, repeats, false);
}

void GpuWork::AddSwappingPeers(Contest& contest, std::uint32_t x, const char* first, const char* second,
                               std::function<bool(const void*)> isRight, int swaps) {
  contest.Add(
      "ours-gpu",
      [program = _program, x, first = Name(first), second = Name(second), swaps] {
        for (int i = 0; i < swaps; ++i) {
          if (!program->UpdateUniforms().IsOk() || !program->DispatchKernel(x, 1, 1, false).IsOk() ||
              !program->SwapBuffers(first, second).IsOk())
            return false;
        }
        return program->Execute(true).IsOk();
      },
      [program = _program, name = _result, isRight] { return isRight(ReadBuffer(*program, name).data()); });
  contest.Add(
      "vulkan",
      [raw = _raw, groups = GetGroupCounts(_raw->GetShader(), x, 1), first = std::string(first),
       second = std::string(second), swaps] {
        raw->RunSwapping(groups, swaps, first, second);
        return true;
      },
      [result = _rawResult, isRight] {
        std::vector<std::uint8_t> bytes(result->GetSize());
        result->Read(bytes.data());
        return isRight(bytes.data());
      });
}

void GpuWork::AddReplayingPeers(Contest& contest, std::uint32_t x, const char* first, const char* second,
                                const char* uniform, std::function<bool(const void*)> isRight, int swaps, int repeats) {
  auto* const recordings = ostra::FindInterface<ostra::RecordedDispatchesInterface>(*_program);
  Need(recordings->BeginRecording());
  for (int i = 0; i < swaps; ++i) {
    Need(_program->UpdateUniforms());
    Need(_program->DispatchKernel(x, 1, 1, false));
    Need(_program->SwapBuffers(Name(first), Name(second)));
  }
  const ostra::UInt64 recording = Need(recordings->EndRecording());
  contest.Add(
      "ours-gpu",
      [program = _program, recordings, recording, kernel = _program->GetActiveKernelId(), uniform = Name(uniform), x,
       repeats] {
        for (int i = 0; i < repeats; ++i) {
          if (!recordings->SetRecordedUniform(recording, kernel, uniform, ostra::UInt32{x}).IsOk() ||
              !recordings->Replay(recording, 1).IsOk() || !program->Execute(true).IsOk())
            return false;
        }
        return true;
      },
      [program = _program, name = _result, isRight] { return isRight(ReadBuffer(*program, name).data()); });
  _raw->RecordSecondary(GetGroupCounts(_raw->GetShader(), x, 1), swaps, first, second);
  contest.Add(
      "vulkan",
      [raw = _raw, uniform = std::string(uniform), x, repeats] {
        for (int i = 0; i < repeats; ++i) {
          raw->SetUniform(uniform, &x, sizeof(x));
          raw->RunSecondary();
        }
        return true;
      },
      [result = _rawResult, isRight] {
        std::vector<std::uint8_t> bytes(result->GetSize());
        result->Read(bytes.data());
        return isRight(bytes.data());
      });
}

void GpuWork::AddTimelinePeer(Contest& contest, std::uint32_t x, std::function<bool(const void*)> isRight,
                              int dispatches, int repeats) {
  AddRawPeer(contest, "vulkan-timeline", x, 1, std::move(isRight), dispatches, repeats, true);
}

void GpuWork::AddRawPeer(Contest& contest, const char* peer, std::uint32_t x, std::uint32_t y,
                         std::function<bool(const void*)> isRight, int dispatches, int repeats, bool usesTimeline) {
  contest.Add(
      peer,
      [raw = _raw, groups = GetGroupCounts(_raw->GetShader(), x, y), dispatches, repeats, usesTimeline] {
        for (int repeat = 0; repeat < repeats; ++repeat) raw->Run(groups, dispatches, usesTimeline);
        return true;
      },
      [result = _rawResult, isRight] {
        std::vector<std::uint8_t> bytes(result->GetSize());
        result->Read(bytes.data());
        return isRight(bytes.data());
      });
}

}  // namespace bench
