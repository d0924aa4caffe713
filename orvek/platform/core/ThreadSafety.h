#pragma once

/// \file
/// Lock contracts for the thread-safety analysis.

/// Lock contracts that clang's thread-safety analysis (-Wthread-safety)
/// checks at compile time: which lock is a capability, which scope holds it,
/// and which fields it guards. Other compilers see nothing of them.
#if defined(__clang__)
#define ORVEK_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORVEK_THREAD_ANNOTATION(x)
#endif

/// A type whose objects are locks.
#define ORVEK_CAPABILITY(name) ORVEK_THREAD_ANNOTATION(capability(name))
/// A type whose objects hold a lock for their own lifetime.
#define ORVEK_SCOPED_CAPABILITY ORVEK_THREAD_ANNOTATION(scoped_lockable)
/// A field that is read and written only with the lock held.
#define ORVEK_GUARDED_BY(lock) ORVEK_THREAD_ANNOTATION(guarded_by(lock))
/// A pointer whose target is read and written only with the lock held.
#define ORVEK_PT_GUARDED_BY(lock) ORVEK_THREAD_ANNOTATION(pt_guarded_by(lock))
/// A function that takes, gives back, or tries to take the lock(s).
///@{
#define ORVEK_ACQUIRE(...) ORVEK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ORVEK_RELEASE(...) ORVEK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ORVEK_TRY_ACQUIRE(...) ORVEK_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
///@}
/// A function that must be called with the lock(s) held, or not held.
///@{
#define ORVEK_REQUIRES(...) ORVEK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ORVEK_EXCLUDES(...) ORVEK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
///@}
/// A function that must be called with the lock(s) held at least for reading.
#define ORVEK_REQUIRES_SHARED(...) ORVEK_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
/// A function whose call tells the analysis that the lock is held, for
/// writing or for reading, from its call to the end of the calling scope.
/// It checks nothing itself; what it asserts rests on its own requirements.
///@{
#define ORVEK_ASSERT_CAPABILITY(lock) ORVEK_THREAD_ANNOTATION(assert_capability(lock))
#define ORVEK_ASSERT_SHARED_CAPABILITY(lock) ORVEK_THREAD_ANNOTATION(assert_shared_capability(lock))
///@}
/// A function that returns a reference to the lock.
#define ORVEK_RETURN_CAPABILITY(lock) ORVEK_THREAD_ANNOTATION(lock_returned(lock))
/// For the few bodies whose locking the analysis cannot follow; each use says why.
#define ORVEK_NO_THREAD_SAFETY_ANALYSIS ORVEK_THREAD_ANNOTATION(no_thread_safety_analysis)
