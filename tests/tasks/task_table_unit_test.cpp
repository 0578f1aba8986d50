// The table of tasks: ids, places, and what it lists; on tasks without a thread.
#include <gtest/gtest.h>

#include <cstddef>

#include "frame/library.h"
#include "tasks/task_table.h"

namespace qv {
namespace {

static_assert(sizeof(HTTPTRANSFERSTATUS) == 20);
static_assert(offsetof(HTTPTRANSFERSTATUS, dwBytesTotal) == 0);
static_assert(offsetof(HTTPTRANSFERSTATUS, dwBytesCopied) == 4);
static_assert(offsetof(HTTPTRANSFERSTATUS, dwBytesPerSecond) == 8);
static_assert(offsetof(HTTPTRANSFERSTATUS, dwTimeElapsed) == 12);
static_assert(offsetof(HTTPTRANSFERSTATUS, dwTimeEstimated) == 16);
static_assert(sizeof(HTTPTRANSFERSTATUSEX) == 32);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwBytesTotal) == 0);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwBytesCopied) == 8);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwBytesPerSecond) == 16);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwTimeElapsed) == 20);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwTimeEstimated) == 24);
static_assert(offsetof(HTTPTRANSFERSTATUSEX, dwReserved) == 28);

constexpr DWORD kAllStates = HTTP_TASK_ACTIVE | HTTP_TASK_SUSPENDED | HTTP_TASK_FINISHED;

class TaskTableTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(library::Initialize()); }
  void TearDown() override { library::Uninitialize(); }

  Result<TaskRef> Add() {
    return table_.Add([](DWORD id) -> Result<TaskRef> {
      return std::make_shared<Task>(id, nullptr, DWORD_PTR{0});
    });
  }

  TaskTable table_;
};

TEST_F(TaskTableTest, IdsCountFromOneAndFailuresTakeNone) {
  EXPECT_EQ((*Add())->id(), 1u);
  const Result<TaskRef> failed =
      table_.Add([](DWORD) -> Result<TaskRef> { return Error(QV_ERROR_THREAD_CREATION_FAILED); });
  EXPECT_EQ(failed.error(), Error(QV_ERROR_THREAD_CREATION_FAILED));
  EXPECT_EQ((*Add())->id(), 2u);
  EXPECT_EQ(table_.List(GetTickCount(), HTTP_TASK_DEFAULT), (std::vector<DWORD>{1, 2}));
  EXPECT_EQ(table_.Find(0).error(), Error(QV_ERROR_INVALID_TASK));
}

TEST_F(TaskTableTest, TheTaskThatEndedFirstGivesItsPlace) {
  std::vector<TaskRef> tasks;
  for (std::size_t i = 0; i < TaskTable::kSlots; ++i) tasks.push_back(*Add());
  EXPECT_EQ(Add().error(), Error(QV_ERROR_TOO_MANY_THREADS));
  const auto finish = [](Task& task) {
    task.Finish(kNoError);
    for (const DWORD tick = GetTickCount(); GetTickCount() == tick;) Sleep(1);
  };
  finish(*tasks[90]);
  finish(*tasks[7]);
  finish(*tasks[120]);
  std::vector<DWORD> added;
  for (int i = 0; i < 3; ++i) added.push_back((*Add())->id());
  const std::vector<DWORD> ids = table_.List(GetTickCount(), HTTP_TASK_DEFAULT);
  ASSERT_EQ(ids.size(), TaskTable::kSlots);
  EXPECT_EQ(added, (std::vector<DWORD>{ids[90], ids[7], ids[120]}));
  EXPECT_FALSE(table_.Find(tasks[90]->id()));
  EXPECT_EQ(Add().error(), Error(QV_ERROR_TOO_MANY_THREADS));
}

TEST_F(TaskTableTest, EndedTasksAreListedForTwoMinutes) {
  const TaskRef running = *Add();
  const TaskRef ended = *Add();
  ended->Finish(QV_ERROR_END_OF_FILE);
  const DWORD now = GetTickCount();
  const auto list = [&](DWORD later, DWORD options) { return table_.List(now + later, options); };
  const std::vector<DWORD> both = {running->id(), ended->id()};
  const std::vector<DWORD> one = {running->id()};
  EXPECT_EQ(list(0, HTTP_TASK_DEFAULT), one);
  EXPECT_EQ(list(0, kAllStates), both);
  EXPECT_EQ(list(119000, kAllStates), both);
  EXPECT_EQ(list(121000, kAllStates), one);
  // It ended after the caller had taken the time.
  EXPECT_EQ(list(static_cast<DWORD>(-5000), HTTP_TASK_FINISHED), (std::vector<DWORD>{ended->id()}));
  EXPECT_EQ(list(0, HTTP_TASK_SUSPENDED), std::vector<DWORD>{});
}

}  // namespace
}  // namespace qv
