#pragma once

/// \file
/// A process-wide list of heap blocks to be freed later.

#include <vector>

#include <orvek/platform/core/Sync.h>
#include <orvek/platform/core/Types.h>

/// A process-wide list of plain heap blocks to be freed later, one by one or
/// all at once. Only memory is given back: no destructor runs, so it is for
/// blocks of types without one (an array of a type with a destructor carries
/// a hidden count and must not be registered). Any thread may call it; the
/// lock is held while blocks are freed.
class ORVEK_API CTempObjects {
 public:
  /// One registered block.
  struct tagPtrInfo {
    void* pPtr;  ///< the block
    int nType;   ///< 1: made with new, 2: made with new[]
  };

  /// Registers a block made with new. Nothing is checked; a block registered
  /// twice is still freed only once, by Delete or Clean, which drop all its
  /// entries (the first one's type decides how).
  static void AddPtr(void* pPtr);
  /// Registers a block made with new[].
  static void AddArrayPtr(void* pPtr);
  /// Frees the block and deregisters it: S_OK, or E_FAIL if it is not listed.
  ORVEK_RESULT static LONG Delete(void* pPtr);
  /// Frees every block and empties the list.
  static void Clean();

  /// Guards ms_PtrInfo.
  static CCriticalSection ms_FncSection;
  /// In order of registration. What is left at unload is not freed.
  static std::vector<tagPtrInfo> ms_PtrInfo ORVEK_GUARDED_BY(ms_FncSection);

 private:
  ORVEK_RESULT static LONG DeletePtr(tagPtrInfo* pInfo);
};
