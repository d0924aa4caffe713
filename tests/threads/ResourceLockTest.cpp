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

bool finishes(std::future<void>& f) { return f.wait_for(5s) == std::future_status::ready; }
bool staysBlocked(std::future<void>& f) { return f.wait_for(100ms) == std::future_status::timeout; }

}  // namespace

TEST(ResourceLock, OwnerKeepsNoCount) {
  CResourceLock lock;
  // Lock, Lock, Unlock: one Unlock frees the waiting thread.
  lock.Lock();
  lock.Lock();
  auto b = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(b));
  lock.Unlock();
  EXPECT_TRUE(finishes(b));

  // Lock, Unlock, Unlock: the second Unlock changes nothing.
  lock.Lock();
  lock.Unlock();
  lock.Unlock();
  auto c = lockElsewhere(lock);
  EXPECT_TRUE(finishes(c));

  // Unlock of a free lock by another thread returns at once.
  auto d = std::async(std::launch::async, [&lock] { lock.Unlock(); });
  EXPECT_TRUE(finishes(d));
  lock.Lock();
  auto e = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(e));
  lock.Unlock();
  EXPECT_TRUE(finishes(e));
}

TEST(ResourceLock, UnlockByAnotherThreadWaitsAndChangesNothing) {
  CResourceLock lock;
  lock.Lock();
  auto b = std::async(std::launch::async, [&lock] { lock.Unlock(); });
  EXPECT_TRUE(staysBlocked(b));
  // It did not free the lock: a third thread still waits for the owner.
  auto c = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(c));
  lock.Unlock();
  EXPECT_TRUE(finishes(b));
  EXPECT_TRUE(finishes(c));

  // The owner destroying its own lock lets it go.
  auto* owned = new CResourceLock;
  owned->Lock();
  delete owned;
}

TEST(ResourceLocker, ReleasesOnceAndDoesNotNest) {
  CResourceLock lock;
  {
    // Released early, it does not release again at its end, even though
    // the thread has locked again since.
    CResourceLocker locker(&lock);
    locker.Unlock();
    lock.Lock();
  }
  auto a = lockElsewhere(lock);
  EXPECT_TRUE(staysBlocked(a));
  lock.Unlock();
  EXPECT_TRUE(finishes(a));

  {
    // A second Unlock of the locker unlocks again: after a new Lock of the
    // same thread, that frees the lock.
    CResourceLocker locker(&lock);
    locker.Unlock();
    locker.Unlock();
    lock.Lock();
    locker.Unlock();
    auto b = lockElsewhere(lock);
    EXPECT_TRUE(finishes(b));
  }

  {
    // Nested lockers: the inner one's end frees the resource.
    CResourceLocker outer(&lock);
    auto c = lockElsewhere(lock);
    { CResourceLocker inner(&lock); }
    EXPECT_TRUE(finishes(c));
  }
  CResourceLocker none(nullptr);  // holds nothing, does nothing
  none.Unlock();
}
