// CMTPtrStorage and CMTPtrLock: handles, removal under contention, clean-up,
// and eight threads that share objects and a resource lock under load.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <future>
#include <random>
#include <thread>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers replace malloc and count for themselves.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

#include <orvek/threads/MTPtrStorage.h>
#include <orvek/threads/ResourceLock.h>

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
  EXPECT_EQ((std::vector<int>{h0, h1, h2}), (std::vector<int>{0, 1, 2}));

  void* p = &a;
  for (int bad : {-1, 3}) {
    CCriticalSection* cs = nullptr;
    p = &a;
    EXPECT_EQ(Storage::GetPtr(bad, &p), ERROR_INVALID_INDEX);
    EXPECT_EQ(Storage::GetCriticalSection(bad, &cs), ERROR_INVALID_INDEX);
    EXPECT_EQ(std::make_pair(p, cs), (std::pair<void*, CCriticalSection*>())) << bad;
    EXPECT_EQ(Storage::RemovePtr(bad), E_FAIL);
  }
  EXPECT_EQ(Storage::GetPtr(0, nullptr), E_POINTER);
  EXPECT_EQ(Storage::GetCriticalSection(0, nullptr), E_POINTER);
  EXPECT_EQ(Storage::GetPtr(h1, &p), S_OK);
  EXPECT_EQ(p, &b);

  const int refs = refCount();
  {
    // Invalid handles lock nothing, but count.
    void* q = &a;
    CMTPtrLock none(-1, &p);
    CMTPtrLock past(3, &q);
    EXPECT_EQ(std::make_pair(p, q), (std::pair<void*, void*>()));
    EXPECT_EQ(refCount(), refs + 2);
    for (int wild : {INT_MIN, INT_MAX}) {
      void* w = &a;
      CMTPtrLock lock(wild, &w);
      EXPECT_EQ(w, nullptr) << wild;
      lock.RemoveObjectFromStorage();  // holds no entry: nothing to clear
    }
    // Made when its handle was invalid, it must not clear the entry that takes that handle later.
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
  {
    // Without a place for the pointer nothing is locked: another thread gets the entry at once.
    CMTPtrLock blind(h1, nullptr);
    EXPECT_EQ(std::async(std::launch::async,
                         [h1] {
                           void* q = nullptr;
                           CMTPtrLock l(h1, &q);
                           return q;
                         })
                  .get(),
              &b);
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

  // CleanUp frees every entry (each takes well over 64 bytes); the handles start again at 0.
  for (int i = 0; i < 2000; ++i) ASSERT_EQ(S_OK, Storage::AddPtr(&b, &h));
  const std::size_t withEntries = allocatedBytes();
  Storage::CleanUp();
  EXPECT_LT(allocatedBytes() + 2000 * 64, withEntries);
  EXPECT_TRUE(Storage::ms_PtrStorage.empty());
  EXPECT_EQ(Storage::GetPtr(h1, &p), ERROR_INVALID_INDEX);
  EXPECT_EQ(Storage::AddPtr(&b, &h), S_OK);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(a * 10 + b, 12);  // the objects are not the storage's
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
        // A pointer handed out here would be freed memory: AddressSanitizer catches the read.
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

namespace {

std::atomic<int> g_alive{0};

struct Shared {
  Shared() { ++g_alive; }
  ~Shared() {
    magic = 0;
    --g_alive;
  }
  int magic = 0x5eed;
  long uses = 0;  // only touched under the entry's lock
};

}  // namespace

TEST(MTPtrStorage, StorageAndResourceLockUnderLoad) {
  constexpr int kThreads = 8, kSlots = 64;
  int first;
  {
    Shared* probe = new Shared;
    ASSERT_EQ(CMTPtrStorage::AddPtr(probe, &first), S_OK);
    void* p;
    CMTPtrLock l(first, &p);
    l.RemoveObjectFromStorage();
    delete probe;
  }
  // Handles handed between threads; a slot may hold a removed one.
  std::vector<std::atomic<int>> slots(kSlots);
  for (auto& s : slots) s = first;
  std::atomic<int> highest{first};
  CResourceLock resource;
  long guarded = 0;  // only touched while owning `resource`
  std::atomic<long> guardedExpected{0}, bad{0};
  std::atomic<bool> stop{false};

  auto body = [&](unsigned seed) {
    std::mt19937 rng(seed);
    long mine = 0;
    while (!stop.load(std::memory_order_relaxed)) {
      const int slot = static_cast<int>(rng() % kSlots);
      switch (rng() % 6) {
        case 0: {  // register a new object
          int h;
          if (CMTPtrStorage::AddPtr(new Shared, &h) != S_OK) ++bad;
          slots[slot] = h;
          for (int top = highest; h > top && !highest.compare_exchange_weak(top, h);) {
          }
          break;
        }
        case 1: {  // the owner's end of an object
          void* p;
          CMTPtrLock l(slots[slot], &p);
          if (!p) break;
          if (static_cast<Shared*>(p)->magic != 0x5eed) ++bad;
          l.RemoveObjectFromStorage();
          delete static_cast<Shared*>(p);
          break;
        }
        case 2:
        case 3: {  // a user, sometimes with the resource lock inside
          void* p;
          CMTPtrLock l(slots[slot], &p);
          if (!p) break;
          auto* s = static_cast<Shared*>(p);
          if (s->magic != 0x5eed) ++bad;
          ++s->uses;
          if (rng() % 4 == 0) {
            CResourceLocker locker(&resource);
            ++guarded;
            ++mine;
          }
          break;
        }
        case 4: {  // the resource lock without a count
          resource.Lock();
          resource.Lock();
          ++guarded;
          ++mine;
          resource.Unlock();
          break;
        }
        default: {  // a stale or foreign handle
          void* p;
          CMTPtrLock l(-1 - static_cast<int>(rng() % 3), &p);
          if (p) ++bad;
          resource.Unlock();  // not the owner: waits, changes nothing
          break;
        }
      }
    }
    guardedExpected += mine;
  };

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(body, 1234u + i);
  std::this_thread::sleep_for(std::chrono::seconds(5));
  stop = true;
  for (auto& t : threads) t.join();

  EXPECT_EQ(std::make_pair(bad.load(), guarded), std::make_pair(0L, guardedExpected.load()));
  EXPECT_GT(guardedExpected, 1000);
  EXPECT_GT(highest - first, 1000);
  // Every object still registered is deleted once, through its handle.
  for (int h = first; h <= highest; ++h) {
    void* p;
    CMTPtrLock l(h, &p);
    if (!p) continue;
    l.RemoveObjectFromStorage();
    delete static_cast<Shared*>(p);
  }
  EXPECT_EQ(g_alive, 0);
}
