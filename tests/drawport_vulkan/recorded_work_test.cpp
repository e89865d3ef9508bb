// Recorded work: what replays see of values, objects, counters and other work, and what is refused.
#include "tests/drawport_vulkan/gpu_test.h"
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::ElementsAre;
using Type = DrawportShaderValueType;

namespace {

// A program that adds a value to the first element of `source` and stores the sum in `target`.
class Adder {
 public:
  Adder(GpuTest& test, DrawportDeviceBuffer* source, DrawportDeviceBuffer* target)
      : _test(test), _source(source), _target(target) {
    ProgramBuilder program(test);
    program.Uniform(Type::UInt, "step").Reads("source", "uint", 4).Writes("target", "uint", 4).GroupSize(1, 1, 1);
    _compute = program.MakeWithBinder("UNIFORM_BUFFER(target)[0] = UNIFORM_BUFFER(source)[0] + UNIFORM(step);\n",
                                      [this](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                             Block<const DrawportParameter>) -> Result<void> {
                                        _factory = &factory;
                                        _values = &values;
                                        ProgramValues access(factory, values);
                                        access.Set("step", _step);
                                        access.SetBuffer("source", _source);
                                        access.SetBuffer("target", _target);
                                        return OK;
                                      });
  }

  Adder& Set(UInt32 step) {
    _step = step;
    return *this;
  }
  void Swap() { std::swap(_source, _target); }
  void Update() { Take(_compute->UpdateUniforms(_test._context, true)); }
  void Dispatch() {
    Update();
    Take(_test.GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    Take(_compute->Dispatch(1, 1, 1));
  }
  // For later replays of recorded work.
  Result<void> UpdateRecorded(UInt64 number, UInt32 step) {
    const DrawportParameterHandle handle = _factory->GetParameterHandle("step"_iid);
    Take(_factory->SetParameterUInt(*_values, handle, step));
    return _test.GetList().UpdateRecordedParameter(number, *_factory, *_values, handle);
  }
  Result<void> UpdateRecordedBuffer(UInt64 number) {
    return _test.GetList().UpdateRecordedParameter(number, *_factory, *_values,
                                                   _factory->GetParameterHandle("target"_iid));
  }
  GpuComputeInterface& GetCompute() { return *_compute; }

 private:
  GpuTest& _test;
  DrawportDeviceBuffer* _source;
  DrawportDeviceBuffer* _target;
  UInt32 _step = 1;
  GpuComputeRef _compute;
  DrawportProgramFactory* _factory = nullptr;
  DrawportParameterValueSet* _values = nullptr;
};

class RecordedWorkTest : public GpuTest {
 protected:
  template <class Work>
  UInt64 Record(Work&& work) {
    Take(GetList().BeginRecordedWork());
    work();
    return Take(GetList().EndRecordedWork());
  }
  UInt32 ReadFirst(DrawportDeviceBuffer* buffer) { return Download<UInt32>(*buffer)[0]; }
};

TEST_F(RecordedWorkTest, RunsOnlyWhenItIsReplayedAndAsOftenAsItIs) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] {
    for (UInt32 i = 1; i <= 3; ++i) adder.Set(i).Dispatch();
  });
  EXPECT_EQ(ReadFirst(buffer), 0);
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 6);
  for (int i = 0; i < 4; ++i) Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 30);
}

TEST_F(RecordedWorkTest, GoesOnWithBuffersThatChangePlacesAsTheyDidWhenItWasRecorded) {
  DrawportDeviceBuffer* a = MakeBuffer(16);
  DrawportDeviceBuffer* b = MakeBuffer(16);
  Adder adder(*this, a, b);
  const UInt64 work = Record([&] {
    for (int i = 0; i < 100; ++i, adder.Swap()) adder.Set(1).Dispatch();
  });
  for (int i = 0; i < 20; ++i) Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(a), 2000);
  EXPECT_EQ(ReadFirst(b), 1999);
}

TEST_F(RecordedWorkTest, SeesWhatWasRecordedBeforeItAndIsSeenBehindIt) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] { adder.Set(10).Dispatch(); });
  for (int i = 0; i < 50; ++i) {
    adder.Set(1).Dispatch();
    Take(GetList().ReplayWork(work));
  }
  EXPECT_EQ(ReadFirst(buffer), 550);
  const UInt32 start = 5;
  Upload(*buffer, &start, 4);
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 15);
}

TEST_F(RecordedWorkTest, KeepsTheValuesAndObjectsThatItWasRecordedWith) {
  DrawportDeviceBuffer* a = MakeBuffer(16);
  DrawportDeviceBuffer* b = MakeBuffer(16);
  Adder adder(*this, a, a);
  const UInt64 work = Record([&] { adder.Set(7).Dispatch(); });
  Adder other(*this, b, b);
  other.Set(100).Dispatch();
  adder.Set(9).Update();
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(a), 7);
  EXPECT_EQ(ReadFirst(b), 100);
}

TEST_F(RecordedWorkTest, TakesANewValueFromTheNextReplayOn) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] {
    adder.Set(1).Dispatch();
    adder.Set(2).Dispatch();
  });
  Take(GetList().ReplayWork(work));
  Take(GetList().ReplayWork(work));  // while this is on its way
  Take(adder.UpdateRecorded(work, 10));
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 26);
  Take(adder.UpdateRecorded(work, 1000));  // and with nothing on its way
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 2026);
}

TEST_F(RecordedWorkTest, TakesNewValuesForEachOfManyReplaysOnTheirWay) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] {
    for (UInt32 i = 0; i < 2000; ++i) adder.Set(i).Dispatch();  // values in several pieces of memory
  });
  UInt32 sum = 0;
  for (UInt32 i = 0; i < 30; ++i) {
    Take(adder.UpdateRecorded(work, i));
    Take(GetList().ReplayWork(work));
    if (i % 7 == 0) Take(GetList().Execute(false));
    sum += 2000 * i;
  }
  EXPECT_EQ(ReadFirst(buffer), sum);
}

TEST_F(RecordedWorkTest, UpdatesTheDispatchesOfOneProgramOnly) {
  DrawportDeviceBuffer* a = MakeBuffer(16);
  DrawportDeviceBuffer* b = MakeBuffer(16);
  Adder one(*this, a, a), two(*this, b, b);
  const UInt64 work = Record([&] {
    one.Set(1).Dispatch();
    two.Set(2).Dispatch();
  });
  Take(two.UpdateRecorded(work, 5));
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(a), 1);
  EXPECT_EQ(ReadFirst(b), 5);
}

TEST_F(RecordedWorkTest, ReadsCountsOfWorkGroupsWhenItIsReplayed) {
  DrawportDeviceBuffer* counts = MakeBuffer(std::vector<Int32>{1, 1, 1, 0});
  DrawportDeviceBuffer* target = MakeBuffer(64);
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4).GroupSize(1, 1, 1);
  const GpuComputeRef fill = program.Make("UNIFORM_BUFFER(target)[InGlobalInvocationID.x] += 1u;\n",
                                          [&](ProgramValues& values) { values.SetBuffer("target", target); });
  Take(fill->UpdateUniforms(_context, true));
  const UInt64 work = Record([&] {
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    Take(fill->DispatchIndirect(GetList(), *counts, 0));
  });
  Take(GetList().ReplayWork(work));
  const Int32 three[4] = {3, 1, 1, 0};
  Upload(*counts, three, sizeof(three));
  Take(GetList().ReplayWork(work));
  const std::vector<UInt32> values = Download<UInt32>(*target);
  EXPECT_THAT(std::vector<UInt32>(values.begin(), values.begin() + 4), ElementsAre(2, 1, 1, 0));
}

TEST_F(RecordedWorkTest, SetsCountersAtTheirPlaceAmongTheDispatches) {
  const auto item = Take(_cache->GetAtomicCounter({"hits"_iid, 1}));
  DrawportAtomicCounter* counter = Take(item->MakeValid(*_context));
  DrawportDeviceBuffer* target = MakeBuffer(16);
  ProgramBuilder program(*this);
  program.Uniform(Type::AtomicUInt, "hits").Writes("target", "uint", 4).GroupSize(1, 1, 1);
  const GpuComputeRef count = program.Make(
      "uint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n"
      "UNIFORM_BUFFER(target)[old] += 1u;\n",
      [&](ProgramValues& values) {
        values.SetCounter("hits", counter);
        values.SetBuffer("target", target);
      });
  Take(count->UpdateUniforms(_context, true));
  const UInt64 work = Record([&] {
    Take(GetList().SetAtomicCounterValue(*counter, 1));
    Take(count->Dispatch(1, 1, 1));
    Take(GetList().SetAtomicCounterValue(*counter, 0));
    Take(count->Dispatch(3, 1, 1));
  });
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 0u);
  Take(count->Dispatch(1, 1, 1));
  for (int i = 0; i < 5; ++i) Take(GetList().ReplayWork(work));
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 3u);
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(6, 10, 5, 0));
}

TEST_F(RecordedWorkTest, HoldsItsObjectsUntilItIsReleased) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  DrawportDeviceBuffer* passing = MakeBuffer(16);
  Adder there(*this, buffer, passing), back(*this, passing, buffer);
  const UInt64 work = Record([&] {
    there.Set(1).Dispatch();
    back.Set(1).Dispatch();
  });
  _items.pop_back();
  Take(_cache->FreeTrashCaches(*_context));
  for (int i = 0; i < 3; ++i) Take(GetList().ReplayWork(work));
  GetList().ReleaseRecordedWork(work);
  EXPECT_EQ(ReadFirst(buffer), 6);
  EXPECT_THAT(GetList().ReplayWork(work), IsErrorContaining(kIllegalStateError, "There is no recorded work"));
}

TEST_F(RecordedWorkTest, ClearsNothingOfWhatIsBoundBesideIt) {
  DrawportDeviceBuffer* a = MakeBuffer(16);
  DrawportDeviceBuffer* b = MakeBuffer(16);
  Adder one(*this, a, a), two(*this, b, b);
  const UInt64 work = Record([&] { two.Set(1).Dispatch(); });
  one.Set(1).Dispatch();
  Take(GetList().ReplayWork(work));
  Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(one.GetCompute().Dispatch(1, 1, 1));  // with what was bound before
  EXPECT_EQ(ReadFirst(a), 2);
  EXPECT_EQ(ReadFirst(b), 1);
}

TEST_F(RecordedWorkTest, OfNothingDoesNothing) {
  const UInt64 work = Record([&] { Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer)); });
  Take(GetList().ReplayWork(work));
  EXPECT_THAT(GetList().Execute(true), IsOk());
}

TEST_F(RecordedWorkTest, BeginsAndEndsOnceAndIsNotReplayedInsideOfOther) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] { adder.Dispatch(); });
  EXPECT_THAT(GetList().EndRecordedWork(), IsErrorContaining(kIllegalStateError, "has to begin before it ends"));
  Take(GetList().BeginRecordedWork());
  EXPECT_THAT(GetList().BeginRecordedWork(), IsErrorContaining(kIllegalStateError, "already"));
  EXPECT_THAT(GetList().ReplayWork(work), IsErrorContaining(kIllegalStateError, "while other work is being recorded"));
  Take(GetList().EndRecordedWork());
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 1);
}

TEST_F(RecordedWorkTest, OfAnotherContextIsNotKnown) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  const UInt64 work = Record([&] { adder.Dispatch(); });
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(false, 0));
  EXPECT_THAT(other->GetCommandList().ReplayWork(work),
              IsErrorContaining(kIllegalStateError, "recorded in another one"));
  other->GetCommandList().ReleaseRecordedWork(work);
  EXPECT_THAT(adder.UpdateRecorded(work + 1, 2), IsErrorContaining(kIllegalStateError, "no recorded work"));
  EXPECT_THAT(adder.UpdateRecordedBuffer(work), IsErrorContaining(kIllegalArgumentError, "\"target\""));
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 1);
}

TEST_F(RecordedWorkTest, GoesOnWithoutADispatchThatWasRefused) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer), incomplete(*this, buffer, nullptr);
  const UInt64 work = Record([&] {
    incomplete.Update();
    EXPECT_THAT(incomplete.GetCompute().Dispatch(1, 1, 1), IsErrorContaining(kIllegalStateError, "\"target\""));
    adder.Dispatch();
    EXPECT_THAT(adder.GetCompute().Dispatch(0, 1, 1), IsErrorOfKind(kIllegalArgumentError));
  });
  Take(GetList().ReplayWork(work));
  EXPECT_EQ(ReadFirst(buffer), 1);
}

TEST_F(RecordedWorkTest, ThatNobodyEndsGoesWithItsContext) {
  DrawportDeviceBuffer* buffer = MakeBuffer(16);
  Adder adder(*this, buffer, buffer);
  Take(GetList().BeginRecordedWork());
  adder.Dispatch();
}

}  // namespace
