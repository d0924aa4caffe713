// Null pointers, bad handles and out-of-range numbers at the entry points of
// the thread, timer and lock classes: a defined result, never a crash or a
// hang (the sanitizer builds check the "never").
#include <gtest/gtest.h>
#include <orvek/threads/MTPtrStorage.h>
#include <orvek/threads/ResourceLock.h>
#include <orvek/threads/TempObjects.h>
#include <orvek/threads/ThreadControl.h>
#include <orvek/threads/Timers.h>

#include <climits>
#include <thread>

namespace {

DWORD idleBody(void*) { return 0; }

TEST(HostileArguments, ThreadsAndTimers) {
  CThreadControl tc;
  const struct {
    DWORD (*body)(void*);
    int priority;
  } inits[] = {{nullptr, THREAD_PRIORITY_NORMAL}, {idleBody, 3}, {idleBody, INT_MIN}, {idleBody, INT_MAX}};
  for (const auto& k : inits) {
    EXPECT_EQ(tc.Init(k.body, nullptr, k.priority), E_FAIL) << k.priority;
    EXPECT_EQ(tc.GetHandle(), INVALID_HANDLE_VALUE);  // free again
  }
  EXPECT_EQ(tc.PostMessageW(WM_USER, UINT_MAX, INT_MIN), E_PENDING);
  EXPECT_EQ(tc.Close(INFINITE), S_OK);

  CMessagePoster poster;
  for (DWORD period : {0x80000000u, 0xFFFFFFFFu}) EXPECT_EQ(poster.Init(period), E_INVALIDARG) << period;
  poster.PostThreadMessageW(INFINITE, 0, UINT_MAX, UINT_MAX, INT_MIN);
  poster.PostMessageW(INFINITE, nullptr, 0, 0, 0);
  EXPECT_EQ(poster.Close(), S_OK);

  Orvek::CEventTimer et;
  bool other = false;
  EXPECT_EQ(et.WaitForTimer(), E_FAIL);  // no timer
  EXPECT_EQ(et.WaitForTimer(&other, &other), E_FAIL);
  EXPECT_EQ(et.Create(0x80000000u), E_FAIL);  // no timer takes that period
  EXPECT_EQ(et.GetHandle(), nullptr);
  EXPECT_EQ(et.Create(10), S_OK);
  EXPECT_EQ(et.WaitForTimer(nullptr, &other), E_FAIL);
  EXPECT_EQ(et.WaitForTimer(et.GetHandle(), nullptr), E_POINTER);
  EXPECT_EQ(et.Destroy(), S_OK);

  CVarElapseTimer vt;
  EXPECT_EQ(vt.WaitForDelay(INFINITE), E_PENDING);
  for (int period : {0, -1, INT_MIN}) EXPECT_EQ(vt.Init(period), E_INVALIDARG) << period;
  EXPECT_EQ(vt.Init(INT_MAX), S_OK);
  EXPECT_EQ(vt.WaitForDelay(0), S_OK);
  EXPECT_EQ(vt.Close(), S_OK);

  CPerfMeasurer pm;  // Stop without Start measures from the epoch of 0
  EXPECT_GE(pm.Stop(nullptr, nullptr, nullptr), 0.0);
}

TEST(HostileArguments, LocksAndShared) {
  {
    CResourceLocker none(nullptr);  // holds nothing, does nothing
    none.Unlock();
  }
  int object = 1, handle = -1;
  EXPECT_EQ(CMTPtrStorage::AddPtr(nullptr, &handle), E_POINTER);
  EXPECT_EQ(CMTPtrStorage::AddPtr(&object, nullptr), E_POINTER);
  ASSERT_EQ(CMTPtrStorage::AddPtr(&object, &handle), S_OK);
  for (int h : {-1, INT_MIN, INT_MAX}) {
    void* p = &object;
    CMTPtrLock lock(h, &p);
    EXPECT_EQ(p, nullptr) << h;
    lock.RemoveObjectFromStorage();  // holds no entry: nothing to clear
  }
  {
    // Without a place for the pointer nothing is locked: another thread gets
    // the entry at once.
    CMTPtrLock blind(handle, nullptr);
    void* seen = nullptr;
    std::thread([&] { CMTPtrLock lock(handle, &seen); }).join();
    EXPECT_EQ(seen, &object);
  }

  // A block registered twice is freed once, whichever way it goes.
  CTempObjects::Clean();
  int* twice = new int(3);
  char* array = new char[8];
  CTempObjects::AddPtr(nullptr);
  CTempObjects::AddPtr(twice);
  CTempObjects::AddPtr(twice);
  CTempObjects::AddArrayPtr(array);
  CTempObjects::AddArrayPtr(array);
  EXPECT_EQ(CTempObjects::Delete(nullptr), S_OK);
  EXPECT_EQ(CTempObjects::Delete(twice), S_OK);
  EXPECT_EQ(CTempObjects::Delete(twice), E_FAIL);
  EXPECT_EQ(CTempObjects::ms_PtrInfo.size(), 2u);
  CTempObjects::Clean();
  EXPECT_TRUE(CTempObjects::ms_PtrInfo.empty());
}

}  // namespace
