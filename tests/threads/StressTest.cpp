// Eight threads add, lock, remove and delete shared objects and fight for a
// resource lock for five seconds: no deadlock, no object used after its
// deletion or deleted twice, and the resource lock excludes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <orvek/threads/MTPtrStorage.h>
#include <orvek/threads/ResourceLock.h>

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

TEST(ThreadsStress, StorageAndResourceLockUnderLoad) {
  constexpr int kThreads = 8;
  constexpr int kSlots = 64;
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
  std::atomic<long> guardedExpected{0};
  std::atomic<long> bad{0};
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

  EXPECT_EQ(bad, 0);
  EXPECT_EQ(guarded, guardedExpected);
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
