#include "clients/python/scene_pictures.h"

#include <cstring>

#include "clients/python/engine_call.h"
#include "plans/render_scene.h"
#include "plans/usage_error.h"

OSTRA_UNIT("python");

namespace ostra::python {

namespace py = pybind11;

namespace {

// Steps that an interrupt may end.
class InterruptibleSteps final : public plans::WorkProgress {
 public:
  Bool IsOn() const override { return true; }
};

class KeptNotes final : public plans::WorkObserver {
 public:
  explicit KeptNotes(const EngineCall& call) : _call(call) {}

  std::unique_ptr<plans::WorkProgress> Begin(const std::string&, Int, const std::string&) override {
    return std::make_unique<InterruptibleSteps>();
  }
  Bool IsStopped() const override { return _call.IsStopped(); }
  void Note(std::string_view text) override { notes.emplace_back(text); }
  void Report(std::string_view line) override { notes.emplace_back(line); }

  std::vector<std::string> notes;

 private:
  const EngineCall& _call;
};

Result<Image> Render(Host& host, const SceneSource& source, const RenderSettings& settings) {
  if (!source.isText) {
    OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(source.path));
    return RenderScene(host, file, settings);
  }
  OSTRA_ASSIGN_OR_RETURN(const Url folder, Url::Create(source.folder));
  return RenderSceneText(host, source.text, source.path, folder, settings);
}

// Notes name files, whose names need not be UTF-8.
py::str Decode(const std::string& text) {
  PyObject* const decoded = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace");
  if (!decoded) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(decoded);
}

}  // namespace

py::tuple RenderPicture(const SceneSource& source, const std::array<Int, 2>& size,
                        const std::vector<std::pair<std::string, std::vector<double>>>& values) {
  const auto engine = OrThrow(Engine::Get());
  EngineCall call(*engine);
  KeptNotes observer(call);
  const RenderSettings settings = {
      .width = size[0], .height = size[1], .values = values, .cacheSetting = "XDG_CACHE_HOME", .observer = &observer};
  Result<Image> image =
      call.Run([&]() -> Result<Image> { return Render(engine->GetCpu().GetHost(), source, settings); });
  if (!image && image.GetError().GetKind() == plans::kUsageError)
    throw py::value_error(std::string(image.GetError().GetMessage().GetView()));
  const Image picture = OrThrow(std::move(image));
  py::array_t<float> pixels({picture.height, picture.width, Int(4)});
  std::memcpy(pixels.mutable_data(), picture.rgba.GetFirst(), static_cast<std::size_t>(pixels.nbytes()));
  py::list notes;
  for (const std::string& note : observer.notes) notes.append(Decode(note));
  return py::make_tuple(pixels, notes);
}

}  // namespace ostra::python
