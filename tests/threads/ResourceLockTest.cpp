// CResourceLock and CResourceLocker, each case with a second thread.
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include <orvek/threads/ResourceLock.h>

namespace {

using namespace std::chrono_literals;

// Another thread that takes the lock and lets it go again.
std::future<void> lockElsewhere(CResourceLock& lock) {
  return std::async(std::launch::async, [&lock] {
    lock.Lock();
    lock.Unlock();
  });
}

bool finishes(std::future<void>&& f) { return f.wait_for(5s) == std::future_status::ready; }
bool staysBlocked(std::future<void>& f) { return f.wait_for(100ms) == std::future_status::timeout; }

}  // namespace

TEST(ResourceLock, OwnerKeepsNoCountAndOnlyTheOwnerUnlocks) {
  CResourceLock lock;
  lock.Lock();  // Lock, Lock, Unlock: one Unlock frees the waiting thread
  lock.Lock();
  auto b = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(b));
  lock.Unlock();
  EXPECT_TRUE(finishes(std::move(b)));
  lock.Lock();  // Lock, Unlock, Unlock: the second Unlock changes nothing
  lock.Unlock();
  lock.Unlock();
  EXPECT_TRUE(finishes(lockElsewhere(lock)));
  // Unlock of a free lock by another thread returns at once.
  EXPECT_TRUE(finishes(std::async(std::launch::async, [&lock] { lock.Unlock(); })));
  lock.Lock();
  auto e = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(e));
  lock.Unlock();
  EXPECT_TRUE(finishes(std::move(e)));

  // Unlock by a thread that is not the owner waits and does not free the lock: a third thread still waits.
  lock.Lock();
  auto u = std::async(std::launch::async, [&lock] { lock.Unlock(); });
  EXPECT_TRUE(staysBlocked(u));
  auto c = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(c));
  lock.Unlock();
  EXPECT_TRUE(finishes(std::move(u)) && finishes(std::move(c)));
  auto* owned = new CResourceLock;  // the owner destroying its own lock lets it go
  owned->Lock();
  delete owned;
}

TEST(ResourceLocker, ReleasesOnceAndDoesNotNest) {
  CResourceLock lock;
  {
    // Released early, it does not release again at its end, though the thread has locked again since.
    CResourceLocker locker(&lock);
    locker.Unlock();
    lock.Lock();
  }
  auto a = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(a));
  lock.Unlock();
  EXPECT_TRUE(finishes(std::move(a)));
  {
    // A second Unlock of the locker unlocks again: after a new Lock of the same thread, that frees the lock.
    CResourceLocker locker(&lock);
    locker.Unlock();
    locker.Unlock();
    lock.Lock();
    locker.Unlock();
    EXPECT_TRUE(finishes(lockElsewhere(lock)));
  }
  {
    // Nested lockers: the inner one's end frees the resource.
    CResourceLocker outer(&lock);
    auto c = lockElsewhere(lock);
    { CResourceLocker inner(&lock); }
    EXPECT_TRUE(finishes(std::move(c)));
  }
  CResourceLocker none(nullptr);  // holds nothing, does nothing
  none.Unlock();
}
