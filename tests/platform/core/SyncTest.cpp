// The recursive lock, its scoped holder, and the exception of a lock that
// cannot be made.
#include <orvek/platform/core/Sync.h>

#include <gtest/gtest.h>

#include <thread>
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

TEST(CriticalSection, LockCreationErrorMapping) {
  // Out of memory becomes the memory exception, anything else carries the
  // system error wrapped as a result code.
  EXPECT_THROW(ThrowLockCreationError(ERROR_OUTOFMEMORY), CMemoryException);
  try {
    ThrowLockCreationError(5);
    ADD_FAILURE();
  } catch (const CResultException& e) {
    EXPECT_EQ(e.m_sc, E_ACCESSDENIED);
  }
  try {
    ThrowLockCreationError(0x12345);  // only the low 16 bits survive
    ADD_FAILURE();
  } catch (const CResultException& e) {
    EXPECT_EQ(static_cast<DWORD>(e.m_sc), 0x80072345u);
  }
  try {
    ThrowLockCreationError(8);  // not enough memory, but not the out-of-memory code
    ADD_FAILURE();
  } catch (const CMemoryException&) {
    ADD_FAILURE() << "8 is not E_OUTOFMEMORY";
  } catch (const CResultException& e) {
    EXPECT_EQ(static_cast<DWORD>(e.m_sc), 0x80070008u);
  }
  // Both are framework exceptions and std::exceptions.
  EXPECT_THROW(ThrowLockCreationError(14), CException);
  EXPECT_THROW(ThrowLockCreationError(2), std::exception);
  EXPECT_EQ(HRESULT_FROM_WIN32(0), 0);
  EXPECT_EQ(HRESULT_FROM_WIN32(E_FAIL), E_FAIL);
}

}  // namespace
