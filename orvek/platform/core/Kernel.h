#pragma once

#include <orvek/platform/core/Types.h>

/// \file
/// The kernel services of the host's world on Linux: last error, ticks, sleep,
/// local time, waitable objects (events, waitable timers, threads) on file
/// descriptors, threads with a start gate and priorities, and per-thread
/// message queues.

/// The calling thread's last error code, which the functions of the core and
/// window layers set when they fail; each thread has its own.
///@{
ORVEK_API DWORD GetLastError();
ORVEK_API void SetLastError(DWORD error);
///@}

/// Milliseconds of CLOCK_MONOTONIC, cut to 32 bits.
ORVEK_API DWORD GetTickCount();
/// Test seam: an offset added to every GetTickCount, so that the wrap of the
/// counter can be reached in seconds. 0 restores the plain clock.
ORVEK_API void OrvekSetTickCountOffset(DWORD offset);
/// Sleeps the calling thread for at least the given milliseconds; a signal
/// does not cut the sleep short.
ORVEK_API void Sleep(DWORD milliseconds);
/// The wall clock in the local time zone, to the millisecond; a null pointer
/// is left alone.
ORVEK_API void GetLocalTime(SYSTEMTIME* time);

// ---- waitable objects -------------------------------------------------------

/// What a wait returns: WAIT_OBJECT_0 plus the index of the object that ended
/// it, WAIT_TIMEOUT when the time ran out, WAIT_FAILED for a bad argument or
/// handle (GetLastError tells which). No object here can be abandoned, so
/// WAIT_ABANDONED_0 is never returned.
///@{
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED_0 = 0x80;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;
///@}

/// An event: manual-reset (signalled until ResetEvent) or auto-reset (the wait
/// that sees the signal consumes it), signalled from the start with
/// initialState. The security and name are ignored: events are not shared
/// between processes. Null when no descriptor is left.
ORVEK_API HANDLE CreateEventW(void* security, BOOL manualReset, BOOL initialState, const wchar_t* name);
/// Signals the event; FALSE for a handle that is not a live event.
ORVEK_API BOOL SetEvent(HANDLE event);
/// Takes the signal back; FALSE for a handle that is not a live event.
ORVEK_API BOOL ResetEvent(HANDLE event);

/// A waitable timer, not yet set; security and name are ignored. An
/// auto-reset timer releases one waiter per signal, and ticks missed while
/// nobody waits merge into one. Null when no descriptor is left.
ORVEK_API HANDLE CreateWaitableTimerW(void* security, BOOL manualReset, const wchar_t* name);
/// Sets the timer. dueTime is in 100 ns units: negative is relative to now,
/// 0 or positive an absolute time since 1601 (so 0 fires at once). A period of
/// 0 fires once. There are no completion routines: completion, completionArg
/// and resume are ignored. FALSE for a bad handle, a null dueTime or a negative
/// period.
ORVEK_API BOOL SetWaitableTimer(HANDLE timer, const LARGE_INTEGER* dueTime, LONG periodMs, void* completion,
                                void* completionArg, BOOL resume);
/// Stops the timer; FALSE for a handle that is not a live timer.
ORVEK_API BOOL CancelWaitableTimer(HANDLE timer);

/// Gives the handle up; the object ends with its last user (a running thread
/// runs on). A thread still held at its start gate is abandoned: its body
/// never runs. FALSE for a handle that is not live.
ORVEK_API BOOL CloseHandle(HANDLE object);
/// WaitForMultipleObjects with one object: waits up to milliseconds (INFINITE
/// for ever) until the object is signalled.
ORVEK_API DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
/// Waits for any (waitAll FALSE) or all of the objects. With several signalled,
/// the first in list order wins, and only that one is consumed. Takes 1 to 64
/// objects.
ORVEK_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD milliseconds);

// ---- threads ----------------------------------------------------------------

/// The body of a thread: gets CreateThread's parameter and returns the
/// thread's exit code.
typedef DWORD (*LPTHREAD_START_ROUTINE)(void* parameter);
/// The flag of CreateThread that holds the new thread at its start gate.
constexpr DWORD CREATE_SUSPENDED = 0x4;
/// The exit code of a thread that has not ended.
constexpr DWORD STILL_ACTIVE = 259;

/// Thread priorities, lowest to highest; each maps to one nice value (19, 10,
/// 5, 0, -5, -10 and -20).
///@{
constexpr int THREAD_PRIORITY_IDLE = -15;
constexpr int THREAD_PRIORITY_LOWEST = -2;
constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
constexpr int THREAD_PRIORITY_NORMAL = 0;
constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
constexpr int THREAD_PRIORITY_HIGHEST = 2;
constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
///@}
/// What GetThreadPriority returns when it cannot tell.
constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

/// Starts a thread, or holds it at its start gate with CREATE_SUSPENDED until
/// ResumeThread. The handle is signalled when the thread has ended.
/// The security and stack size are ignored; threadId (if not null) gets the
/// thread's id. Null for a null start or when no thread can be made.
ORVEK_API HANDLE CreateThread(void* security, std::size_t stackSize, LPTHREAD_START_ROUTINE start, void* parameter,
                              DWORD flags, DWORD* threadId);
/// Opens the start gate. Returns the previous suspend count (1 for a thread
/// held at its gate, 0 for a running one), or 0xFFFFFFFF.
ORVEK_API DWORD ResumeThread(HANDLE thread);
/// A thread still held at its start gate is abandoned: its body never runs,
/// it ends with the exit code. A thread that runs cannot be stopped from
/// outside (FALSE).
ORVEK_API BOOL TerminateThread(HANDLE thread, DWORD exitCode);
/// Priorities map to per-thread nice values; a refused change gives FALSE.
ORVEK_API BOOL SetThreadPriority(HANDLE thread, int priority);
/// The priority whose band holds the thread's nice value, or
/// THREAD_PRIORITY_ERROR_RETURN for a handle of no live thread.
ORVEK_API int GetThreadPriority(HANDLE thread);
/// The thread's exit code, STILL_ACTIVE until it has ended; FALSE for a bad
/// handle or a null exitCode.
ORVEK_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode);
/// The id of the thread of a handle (the calling thread's for
/// GetCurrentThread()), also after it has ended; 0 for a handle that is not a
/// thread.
ORVEK_API DWORD GetThreadId(HANDLE thread);
/// The calling thread's id (the kernel's thread id).
ORVEK_API DWORD GetCurrentThreadId();
/// A pseudo-handle meaning "the calling thread" wherever it is used.
ORVEK_API HANDLE GetCurrentThread();
/// The thread's creation and exit time (wall clock, 100 ns units since 1601;
/// the exit time is 0 while it runs, both are 0 for GetCurrentThread()) and
/// the processor time it spent in the kernel and in user mode (100 ns units).
/// FALSE for a null pointer or a bad handle.
ORVEK_API BOOL GetThreadTimes(HANDLE thread, FILETIME* creation, FILETIME* exit, FILETIME* kernel, FILETIME* user);

// ---- message queues ---------------------------------------------------------

/// Whether PeekMessageW leaves the message it finds in the queue or takes it.
///@{
constexpr UINT PM_NOREMOVE = 0;
constexpr UINT PM_REMOVE = 1;
///@}

/// A thread gets its queue at its first GetMessageW/PeekMessageW; a post to a
/// thread without one fails. The queue goes with the thread.
ORVEK_API BOOL PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam);
/// Waits for the first message of the calling thread's queue that passes the
/// filter (of that window unless null, in filterMin..filterMax unless both
/// are 0; WM_QUIT always passes) and takes it into msg.
/// 0 on WM_QUIT, 1 for any other message, -1 for a null msg.
ORVEK_API BOOL GetMessageW(MSG* msg, HWND window, UINT filterMin, UINT filterMax);
/// GetMessageW without the wait: TRUE with the first message that passes the
/// filter, taken from the queue with PM_REMOVE; FALSE when there is none.
ORVEK_API BOOL PeekMessageW(MSG* msg, HWND window, UINT filterMin, UINT filterMax, UINT removeFlags);
/// Posts WM_QUIT with the exit code to the calling thread's queue.
ORVEK_API void PostQuitMessage(int exitCode);
/// Posts to a window's thread; a null window posts to the calling thread's
/// queue. Never blocks.
ORVEK_API BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
