// CMTPtrStorage and CMTPtrLock: handles, removal under contention, clean-up.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>
#include <thread>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers replace malloc and count for themselves.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

#include <orvek/threads/MTPtrStorage.h>

namespace {

std::size_t allocatedBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

using namespace std::chrono_literals;

// Opens the storage's protected side to the tests.
struct Storage : CMTPtrStorage {
  using CMTPtrStorage::GetCriticalSection;
  using CMTPtrStorage::GetPtr;
  using CMTPtrStorage::ms_PtrStorage;
  using CMTPtrStorage::RemovePtr;
};

int refCount() { return __atomic_load_n(&CMTPtrLock::ms_nRefCtr, __ATOMIC_RELAXED); }

}  // namespace

TEST(MTPtrStorage, HandlesLocksAndCleanUp) {
  Storage::CleanUp();
  int a = 1, b = 2;
  int h = -5;
  EXPECT_EQ(Storage::AddPtr(nullptr, &h), E_POINTER);
  EXPECT_EQ(h, -5);
  EXPECT_EQ(Storage::AddPtr(&a, nullptr), E_POINTER);
  int h0, h1, h2;
  ASSERT_EQ(Storage::AddPtr(&a, &h0), S_OK);
  ASSERT_EQ(Storage::AddPtr(&b, &h1), S_OK);
  ASSERT_EQ(Storage::AddPtr(&a, &h2), S_OK);  // the same object twice: two entries
  EXPECT_EQ(h0, 0);
  EXPECT_EQ(h1, 1);
  EXPECT_EQ(h2, 2);

  void* p = &a;
  CCriticalSection* cs = nullptr;
  EXPECT_EQ(Storage::GetPtr(-1, &p), ERROR_INVALID_INDEX);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(Storage::GetPtr(3, &p), ERROR_INVALID_INDEX);
  EXPECT_EQ(Storage::GetPtr(0, nullptr), E_POINTER);
  EXPECT_EQ(Storage::GetCriticalSection(3, &cs), ERROR_INVALID_INDEX);
  EXPECT_EQ(cs, nullptr);
  EXPECT_EQ(Storage::GetCriticalSection(0, nullptr), E_POINTER);
  EXPECT_EQ(Storage::RemovePtr(-1), E_FAIL);
  EXPECT_EQ(Storage::RemovePtr(3), E_FAIL);
  EXPECT_EQ(Storage::GetPtr(h1, &p), S_OK);
  EXPECT_EQ(p, &b);

  const int refs = refCount();
  {
    // Invalid handles lock nothing, but count.
    void* q = &a;
    CMTPtrLock none(-1, &p);
    CMTPtrLock past(3, &q);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(q, nullptr);
    EXPECT_EQ(refCount(), refs + 2);
    // Made when its handle was invalid, it must not clear the entry that
    // takes that handle later.
    int h3;
    ASSERT_EQ(Storage::AddPtr(&b, &h3), S_OK);
    ASSERT_EQ(h3, 3);
    past.RemoveObjectFromStorage();
    EXPECT_EQ(Storage::GetPtr(h3, &q), S_OK);
    EXPECT_EQ(q, &b);
  }
  EXPECT_EQ(refCount(), refs);

  {
    CMTPtrLock owner(h0, &p);
    EXPECT_EQ(p, &a);
    CMTPtrLock again(h0, &p);  // an entry's lock is reentrant for its holder
    EXPECT_EQ(p, &a);
    // The two entries of one object do not exclude each other.
    auto other = std::async(std::launch::async, [h2] {
      void* q;
      CMTPtrLock l(h2, &q);
      return q;
    });
    EXPECT_EQ(other.get(), &a);
    owner.RemoveObjectFromStorage();
    owner.RemoveObjectFromStorage();  // nothing new
  }
  std::future<void> waiter;
  {
    // Removed: null, with the entry's lock taken all the same.
    CMTPtrLock l(h0, &p);
    EXPECT_EQ(p, nullptr);
    waiter = std::async(std::launch::async, [h0] {
      void* q;
      CMTPtrLock w(h0, &q);
    });
    EXPECT_EQ(waiter.wait_for(100ms), std::future_status::timeout);
  }
  waiter.get();
  // Handles are not reused after removal.
  EXPECT_EQ(Storage::AddPtr(&a, &h), S_OK);
  EXPECT_EQ(h, 4);

  // CleanUp frees every entry (an entry, record and lock, takes well over
  // 64 bytes); the handles start again at 0.
  for (int i = 0; i < 2000; ++i) Storage::AddPtr(&b, &h);
  const std::size_t withEntries = allocatedBytes();
  Storage::CleanUp();
  EXPECT_LT(allocatedBytes() + 2000 * 64, withEntries);
  EXPECT_TRUE(Storage::ms_PtrStorage.empty());
  EXPECT_EQ(Storage::GetPtr(h1, &p), ERROR_INVALID_INDEX);
  EXPECT_EQ(Storage::AddPtr(&b, &h), S_OK);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(a, 1);  // the objects are not the storage's
  EXPECT_EQ(b, 2);
}

TEST(MTPtrStorage, WaiterDuringRemovalGetsNullNeverTheOldPointer) {
  for (int i = 0; i < 1000; ++i) {
    int h;
    ASSERT_EQ(CMTPtrStorage::AddPtr(new int(i), &h), S_OK);
    void* p;
    std::atomic<bool> gotPointer{true};
    std::atomic<int> value{-1};
    std::thread waiter;
    {
      CMTPtrLock owner(h, &p);
      ASSERT_NE(p, nullptr);
      const int refs = refCount();
      waiter = std::thread([h, &gotPointer, &value] {
        void* q;
        CMTPtrLock l(h, &q);
        gotPointer = q != nullptr;
        // A pointer handed out here would be freed memory: AddressSanitizer
        // catches the read.
        if (q) value = *static_cast<int*>(q);
      });
      // The waiter has entered its lock object before the owner removes.
      while (refCount() == refs) std::this_thread::yield();
      owner.RemoveObjectFromStorage();
      delete static_cast<int*>(p);
    }
    waiter.join();
    ASSERT_FALSE(gotPointer) << "round " << i << " read " << value;
  }
}
