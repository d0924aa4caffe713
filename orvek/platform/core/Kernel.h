#pragma once

#include <orvek/platform/core/Types.h>

// The kernel services of the host's world on Linux: last error, ticks, sleep,
// local time, waitable objects (events, waitable timers, threads) on file
// descriptors, threads with a start gate and priorities, and per-thread
// message queues.

ORVEK_API DWORD GetLastError();
ORVEK_API void SetLastError(DWORD error);

// Milliseconds of CLOCK_MONOTONIC, cut to 32 bits.
ORVEK_API DWORD GetTickCount();
// Test seam: an offset added to every GetTickCount, so that the wrap of the
// counter can be reached in seconds. 0 restores the plain clock.
ORVEK_API void OrvekSetTickCountOffset(DWORD offset);
ORVEK_API void Sleep(DWORD milliseconds);
ORVEK_API void GetLocalTime(SYSTEMTIME* time);

// ---- waitable objects -------------------------------------------------------

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED_0 = 0x80;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFFu;

ORVEK_API HANDLE CreateEventW(void* security, BOOL manualReset, BOOL initialState, const wchar_t* name);
ORVEK_API BOOL SetEvent(HANDLE event);
ORVEK_API BOOL ResetEvent(HANDLE event);

// A waitable timer. dueTime is in 100 ns units: negative is relative to now,
// 0 or positive an absolute time since 1601 (so 0 fires at once). A period of
// 0 fires once. An auto-reset timer releases one waiter per signal, and ticks
// missed while nobody waits merge into one.
ORVEK_API HANDLE CreateWaitableTimerW(void* security, BOOL manualReset, const wchar_t* name);
ORVEK_API BOOL SetWaitableTimer(HANDLE timer, const LARGE_INTEGER* dueTime, LONG periodMs, void* completion,
                                void* completionArg, BOOL resume);
ORVEK_API BOOL CancelWaitableTimer(HANDLE timer);

ORVEK_API BOOL CloseHandle(HANDLE object);
ORVEK_API DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
// Waits for any (waitAll FALSE) or all of the objects. With several signalled,
// the first in list order wins, and only that one is consumed.
ORVEK_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL waitAll, DWORD milliseconds);

// ---- threads ----------------------------------------------------------------

typedef DWORD (*LPTHREAD_START_ROUTINE)(void* parameter);
constexpr DWORD CREATE_SUSPENDED = 0x4;
constexpr DWORD STILL_ACTIVE = 259;

constexpr int THREAD_PRIORITY_IDLE = -15;
constexpr int THREAD_PRIORITY_LOWEST = -2;
constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;
constexpr int THREAD_PRIORITY_NORMAL = 0;
constexpr int THREAD_PRIORITY_ABOVE_NORMAL = 1;
constexpr int THREAD_PRIORITY_HIGHEST = 2;
constexpr int THREAD_PRIORITY_TIME_CRITICAL = 15;
constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

// Starts a thread, or holds it at its start gate with CREATE_SUSPENDED until
// ResumeThread. The handle is signalled when the thread has ended.
ORVEK_API HANDLE CreateThread(void* security, std::size_t stackSize, LPTHREAD_START_ROUTINE start, void* parameter,
                              DWORD flags, DWORD* threadId);
// Opens the start gate. Returns the previous suspend count (1 for a thread
// held at its gate, 0 for a running one), or 0xFFFFFFFF.
ORVEK_API DWORD ResumeThread(HANDLE thread);
// A thread still held at its start gate is abandoned: its body never runs,
// it ends with the exit code. A thread that runs cannot be stopped from
// outside (FALSE).
ORVEK_API BOOL TerminateThread(HANDLE thread, DWORD exitCode);
// Priorities map to per-thread nice values; a refused change gives FALSE.
ORVEK_API BOOL SetThreadPriority(HANDLE thread, int priority);
ORVEK_API int GetThreadPriority(HANDLE thread);
ORVEK_API BOOL GetExitCodeThread(HANDLE thread, DWORD* exitCode);
ORVEK_API DWORD GetThreadId(HANDLE thread);
ORVEK_API DWORD GetCurrentThreadId();
// A pseudo-handle meaning "the calling thread" wherever it is used.
ORVEK_API HANDLE GetCurrentThread();
ORVEK_API BOOL GetThreadTimes(HANDLE thread, FILETIME* creation, FILETIME* exit, FILETIME* kernel, FILETIME* user);

// ---- message queues ---------------------------------------------------------

constexpr UINT PM_NOREMOVE = 0;
constexpr UINT PM_REMOVE = 1;

// A thread gets its queue at its first GetMessageW/PeekMessageW; a post to a
// thread without one fails. The queue goes with the thread.
ORVEK_API BOOL PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam);
// 0 on WM_QUIT, 1 for any other message, -1 for a null msg.
ORVEK_API BOOL GetMessageW(MSG* msg, HWND window, UINT filterMin, UINT filterMax);
ORVEK_API BOOL PeekMessageW(MSG* msg, HWND window, UINT filterMin, UINT filterMax, UINT removeFlags);
ORVEK_API void PostQuitMessage(int exitCode);
// Posts to a window's thread; a null window posts to the calling thread's
// queue. Never blocks.
ORVEK_API BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
