#include "ostra/monitor/monitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "ostra/core/memory.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using nlohmann::json;

class MonitorTest : public testing::Test {
 protected:
  std::string GetPath() const { return _folder / "trace.json"; }

  // Ends the recording and reads its file.
  json Stop() {
    EXPECT_TRUE(MonitorStop(GetPath()));
    std::ifstream file(GetPath());
    return json::parse(file);
  }

  std::size_t CountFiles() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(_folder.GetPath()), {}));
  }

 private:
  TemporaryFolder _folder;
};

std::map<std::string, int> CountNames(const json& trace) {
  std::map<std::string, int> counts;
  for (const json& event : trace["traceEvents"]) ++counts[event["name"]];
  return counts;
}

const json& FindEvent(const json& trace, const std::string& name) {
  for (const json& event : trace["traceEvents"])
    if (event["name"] == name) return event;
  throw std::runtime_error("no event " + name);
}

TEST_F(MonitorTest, NestedScopesLieInEachOther) {
  ASSERT_TRUE(MonitorStart());
  {
    const MonitorScope outer("outer");
    const MonitorScope inner("inner");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  const json trace = Stop();
  EXPECT_EQ(trace["traceEvents"].size(), 2U);
  const json& outer = FindEvent(trace, "outer");
  const json& inner = FindEvent(trace, "inner");
  EXPECT_EQ(outer["ph"], "X");
  EXPECT_EQ(outer["tid"], inner["tid"]);
  EXPECT_GE(inner["dur"].get<double>(), 2000.0);  // microseconds
  EXPECT_GE(outer["dur"].get<double>(), inner["dur"].get<double>());
  EXPECT_LE(outer["ts"].get<double>(), inner["ts"].get<double>());
}

TEST_F(MonitorTest, NothingIsRecordedOutsideOfARecording) {
  {
    const MonitorScope before("before");
    ASSERT_TRUE(MonitorStart());
  }
  { const MonitorScope during("during"); }
  auto across = std::make_unique<MonitorScope>("across");
  EXPECT_THAT(CountNames(Stop()), testing::ElementsAre(testing::Pair("during", 1)));
  ASSERT_TRUE(MonitorStart());
  across.reset();  // began in the recording before
  EXPECT_TRUE(CountNames(Stop()).empty());
}

TEST_F(MonitorTest, ACounterRecordsItsSum) {
  static MonitorCounter counter("bytes moved");
  counter.Add(1000);
  ASSERT_TRUE(MonitorStart());
  counter.Add(5);
  counter.Add(7);
  const json trace = Stop();
  ASSERT_EQ(trace["traceEvents"].size(), 2U);
  EXPECT_EQ(trace["traceEvents"][0]["ph"], "C");
  EXPECT_EQ(trace["traceEvents"][0]["args"]["sum"], 5);
  EXPECT_EQ(trace["traceEvents"][1]["args"]["sum"], 12);
}

TEST_F(MonitorTest, WhatADeviceDidHasATrackWithAName) {
  MonitorAddDeviceScope("before", 1, 1);
  ASSERT_TRUE(MonitorStart());
  { const MonitorScope scope("on a thread"); }
  MonitorAddDeviceScope("blur", 5'000'000, 2500);
  MonitorAddDeviceScope("blur", 6'000'000, 1500);
  const json trace = Stop();
  EXPECT_THAT(CountNames(trace), testing::ElementsAre(testing::Pair("blur", 2), testing::Pair("on a thread", 1),
                                                      testing::Pair("thread_name", 1)));
  const json& name = FindEvent(trace, "thread_name");
  EXPECT_EQ(name["ph"], "M");
  EXPECT_EQ(name["args"]["name"], "GPU");
  const json& event = FindEvent(trace, "blur");
  EXPECT_EQ(event["tid"], name["tid"]);
  EXPECT_NE(event["tid"], FindEvent(trace, "on a thread")["tid"]);
  EXPECT_EQ(event["ts"], 5000.0);
  EXPECT_EQ(event["dur"], 2.5);
}

TEST_F(MonitorTest, LongNamesOfDevicesAreCutBetweenCharacters) {
  ASSERT_TRUE(MonitorStart());
  MonitorAddDeviceScope(std::string(45, 'a') + "\xc3\xa4", 0, 0);
  MonitorAddDeviceScope(std::string(50, 'b'), 0, 0);
  const json trace = Stop();
  FindEvent(trace, std::string(45, 'a'));
  FindEvent(trace, std::string(46, 'b'));
}

TEST_F(MonitorTest, NamesAreEscaped) {
  ASSERT_TRUE(MonitorStart());
  { const MonitorScope scope("a \"quoted\" \\ name\n\x01 \xc3\xa4"); }
  EXPECT_THAT(CountNames(Stop()), testing::ElementsAre(testing::Pair("a \"quoted\" \\ name\n\x01 \xc3\xa4", 1)));
}

TEST_F(MonitorTest, EachThreadHasItsOwnNumberAndAllItsEvents) {
  constexpr int kThreadCount = 6;
  constexpr int kScopeCount = 500;
  ASSERT_TRUE(MonitorStart());
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreadCount; ++number) {
    threads.emplace_back([] {
      for (int i = 0; i < kScopeCount; ++i) const MonitorScope scope("work");
    });
  }
  for (std::thread& thread : threads) thread.join();
  const json trace = Stop();
  std::map<int, int> counts;
  for (const json& event : trace["traceEvents"]) ++counts[event["tid"].get<int>()];
  EXPECT_EQ(counts.size(), static_cast<std::size_t>(kThreadCount));
  for (const auto& [thread, count] : counts) EXPECT_EQ(count, kScopeCount);
  EXPECT_EQ(trace["otherData"]["lostEvents"], 0);
}

TEST_F(MonitorTest, ARecordingMayEndWhileOtherThreadsRecord) {
  static MonitorCounter counter("steps");
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&] {
      while (!stop) {
        const MonitorScope scope("step");
        counter.Add(1);
        std::this_thread::yield();
      }
    });
  }
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(MonitorStart());
    std::this_thread::yield();
    const json trace = Stop();
    EXPECT_TRUE(trace["traceEvents"].is_array());
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

TEST_F(MonitorTest, StartingTwiceAndStoppingTwiceFail) {
  EXPECT_FALSE(MonitorStop(GetPath()));
  ASSERT_TRUE(MonitorStart());
  EXPECT_FALSE(MonitorStart());
  Stop();
  EXPECT_FALSE(MonitorStop(GetPath()));
}

TEST_F(MonitorTest, AFileThatCannotBeWrittenIsAnErrorAndEndsTheRecording) {
  ASSERT_TRUE(MonitorStart());
  { const MonitorScope scope("lost"); }
  const Result<void> result = MonitorStop(GetPath() + "/no/such/folder.json");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kIllegalArgumentError);
  ASSERT_TRUE(MonitorStart());
  EXPECT_TRUE(CountNames(Stop()).empty());
}

TEST_F(MonitorTest, AnOldFileIsReplacedAndNoOtherFileStays) {
  { std::ofstream(GetPath()) << "old"; }
  ASSERT_TRUE(MonitorStart());
  { const MonitorScope scope("new"); }
  EXPECT_EQ(CountNames(Stop()).size(), 1U);
  EXPECT_EQ(CountFiles(), 1U);
}

TEST_F(MonitorTest, WhenTheLastStepFailsNothingIsChangedAndNothingStays) {
  std::filesystem::create_directory(GetPath());
  ASSERT_TRUE(MonitorStart());
  EXPECT_FALSE(MonitorStop(GetPath()));
  EXPECT_TRUE(std::filesystem::is_directory(GetPath()));
  EXPECT_EQ(CountFiles(), 1U);
}

TEST_F(MonitorTest, EventsWithoutMemoryAreCountedAsLost) {
  ASSERT_TRUE(MonitorStart());
  std::thread thread([] {
    AllocationFaults::FailNth(1);
    { const MonitorScope scope("lost"); }
    AllocationFaults::Disable();
    const MonitorScope scope("kept");
  });
  thread.join();
  const json trace = Stop();
  EXPECT_THAT(CountNames(trace), testing::ElementsAre(testing::Pair("kept", 1)));
  EXPECT_EQ(trace["otherData"]["lostEvents"], 1);
}

TEST_F(MonitorTest, BuffersOfEndedThreadsAreReleased) {
  auto record = [this] {
    ASSERT_TRUE(MonitorStart());
    std::thread([] { const MonitorScope scope("short"); }).join();
    Stop();
  };
  record();
  const Int liveBefore = AllocationFaults::GetLiveCount();
  for (int round = 0; round < 5; ++round) record();
  EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
}

}  // namespace
}  // namespace ostra
