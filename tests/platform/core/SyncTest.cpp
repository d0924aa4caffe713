// The recursive lock, its scoped holder, and the exception of a lock that cannot be made.
#include <orvek/platform/core/Sync.h>

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace {

TEST(CriticalSection, RecursiveAndExclusiveAcrossThreads) {
  CCriticalSection cs;
  {
    CSingleLock outer(&cs, TRUE);
    EXPECT_TRUE(outer.IsLocked());
    CSingleLock inner(&cs, TRUE);  // the same thread may lock again
    EXPECT_TRUE(inner.IsLocked());
    // Another thread cannot have it meanwhile.
    std::thread([&] { EXPECT_FALSE(cs.TryLock()); }).join();
    EXPECT_TRUE(inner.Unlock());
    EXPECT_FALSE(inner.IsLocked());
    std::thread([&] { EXPECT_FALSE(cs.TryLock()); }).join();
  }

  // Many threads adding under the lock lose nothing.
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        CSingleLock lock(&cs, TRUE);
        CSingleLock again(&cs, TRUE);
        ++counter;
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, 80000);

  // A holder without an object or without the initial lock holds nothing.
  CSingleLock none(nullptr, TRUE);
  EXPECT_FALSE(none.IsLocked());
  CSingleLock later(&cs);
  EXPECT_FALSE(later.IsLocked());
  EXPECT_TRUE(later.Lock());
  EXPECT_TRUE(later.Lock());  // already held: no second lock to undo
  EXPECT_TRUE(later.Unlock());
  std::thread([&] {
    EXPECT_TRUE(cs.TryLock());
    cs.Unlock();
  }).join();
}

TEST(CriticalSection, HeldByAnEndedThreadIsNotOwnedByTheNextAtItsAddress) {
  // Locked twice by a thread that then ends without unlocking. Nobody may
  // unlock it, so it stays reachable and is never destroyed.
  static CCriticalSection* const abandoned = new CCriticalSection;
  void* endedBlock = nullptr;
  std::thread([&] {
    abandoned->Lock();
    abandoned->Lock();
    endedBlock = __builtin_thread_pointer();
  }).join();
  // Later threads usually get the ended thread's block, at the same address: none of them may find itself the owner.
  int reused = 0;
  for (int i = 0; i < 16; ++i) {
    std::thread([&] {
      reused += __builtin_thread_pointer() == endedBlock;
      EXPECT_FALSE(abandoned->TryLock());
      EXPECT_FALSE(abandoned->Unlock());
    }).join();
  }
  RecordProperty("threadBlockReused", reused);
}

TEST(CriticalSection, LockCreationErrorMapping) {
  // Out of memory becomes the memory exception, anything else carries the
  // system error wrapped as a result code: only its low 16 bits survive, and
  // 8 (not enough memory) is not the out-of-memory code.
  EXPECT_THROW(ThrowLockCreationError(ERROR_OUTOFMEMORY), CMemoryException);
  for (const auto& [error, sc] :
       {std::pair<LONG, DWORD>{5, E_ACCESSDENIED}, {0x12345, 0x80072345u}, {8, 0x80070008u}}) {
    try {
      ThrowLockCreationError(error);
      ADD_FAILURE() << error;
    } catch (const CResultException& e) {
      EXPECT_EQ(static_cast<DWORD>(e.m_sc), sc) << error;
    }  // any other exception fails the test
  }
  // Both are framework exceptions and std::exceptions.
  EXPECT_THROW(ThrowLockCreationError(14), CException);
  EXPECT_THROW(ThrowLockCreationError(2), std::exception);
  EXPECT_EQ(HRESULT_FROM_WIN32(0), 0);
  EXPECT_EQ(HRESULT_FROM_WIN32(E_FAIL), E_FAIL);
}

}  // namespace
