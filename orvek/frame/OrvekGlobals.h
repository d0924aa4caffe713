#pragma once

/// \file
/// The static helpers of the library.

#include <vector>

#include <orvek/platform/core/Rect.h>
#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>

/// Static helpers of the library: the graphics session, files relative to the
/// application's folder, text conversion, byte search, numbered file names,
/// ticks, list comparison and enumeration, the signal helpers, the search for
/// a free place for a rectangle and an event loop for hosts without one.
class ORVEK_API COrvekGlobals {
 public:
  /// The class has no state of its own; objects are only a way to reach the statics.
  ///@{
  COrvekGlobals() = default;
  ~COrvekGlobals() = default;
  COrvekGlobals(const COrvekGlobals&) = default;
  COrvekGlobals& operator=(const COrvekGlobals&) = default;
  ///@}

  /// Token of the graphics session that StartUp opened; 0 when none is open.
  static ULONG m_GdiToken;

  /// Opens the graphics session (S_OK or E_FAIL). Keeps no count: a second
  /// call opens a further session and overwrites the token.
  ORVEK_RESULT static LONG StartUp(void);
  /// Closes the session of m_GdiToken, if any, and sets the token to 0.
  static void ShutDown(void);

  // ---- files, paths and text ----

  /// Reads a file (relative paths: beside the application). A null buffer asks
  /// for the size. 1 if the file was opened, else 0 with *size untouched; 0
  /// also for a null path or size. A negative *size reads nothing. Narrow
  /// paths are used as their bytes, wide ones as UTF-8.
  ///@{
  static int ReadFromFile(const char* path, void* buffer, int* size);
  static int ReadFromFile(const wchar_t* path, void* buffer, int* size);
  ///@}
  /// Writes size bytes (relative paths: beside the application). Without
  /// bAppend the file is replaced whole: the bytes go to a new file beside it
  /// that takes its place, so a write error (CFileException) leaves the old
  /// file. E_FAIL for a null path, a negative size or null data of size > 0.
  ///@{
  ORVEK_RESULT static LONG WriteToFile(const char* path, const void* data, int size, int bAppend);
  ORVEK_RESULT static LONG WriteToFile(const wchar_t* path, const void* data, int size, int bAppend);
  ///@}
  /// The folder of the host's executable, with a closing '/', at its full
  /// length (OrvekGetApplicationFolder gives its bytes).
  static CStringW GetApplicationPath(void);
  /// The fixed part of a module's version block (see
  /// OrvekRegisterModuleVersion): S_OK, or E_FAIL for a null info, an unknown
  /// module or one without a version.
  ORVEK_RESULT static LONG GetFileInfo(HINSTANCE module, tagVS_FIXEDFILEINFO* info);
  /// The text as wide characters with a closing zero; at most 1000 bytes are
  /// taken, and a text cut there has no closing zero. Null text converts as
  /// empty; a null result does nothing.
  static void CSTRtoWSTR(const char* text, std::vector<wchar_t>* result);
  /// The text as UTF-8 bytes with a closing zero; at most 1000 characters are
  /// taken. Null text converts as empty; a null result does nothing.
  static void WSTRtoCSTR(const wchar_t* text, std::vector<char>* result);
  /// The text converted to UTF-8 (UnicodeToANSI) or from UTF-8 (ANSIToUnicode);
  /// always S_OK, and a null argument changes nothing.
  ///@{
  ORVEK_RESULT static LONG UnicodeToANSI(const CStringW* text, CStringA* result);
  ORVEK_RESULT static LONG ANSIToUnicode(const CStringA* text, CStringW* result);
  ///@}
  /// The first position, trying 0, step, 2 * step and so on, where the sequence
  /// lies in the data: S_OK with *position. E_FAIL when none matches (*position
  /// the first position tried past the end), E_POINTER for a null pointer,
  /// E_INVALIDARG for a step or size below 1 or a sequence longer than the
  /// data.
  ORVEK_RESULT static LONG FindByteSequence(const unsigned char* data, int dataSize, const unsigned char* sequence,
                                            int sequenceSize, int* position, int step);
  /// The first name that the printf format gives for an index from 0 to
  /// maxIndex and that no file or folder has yet: S_OK with *result. E_POINTER
  /// for a null argument; E_FAIL when all are taken or maxIndex is negative.
  /// E_FAIL also for a format without exactly one integer conversion, or with
  /// a width or precision of more than 3 digits.
  ORVEK_RESULT static LONG GetNewIndexFileName(CStringW* format, CStringW* result, int maxIndex);
  /// The ticks from start to now. When the counter wrapped between them,
  /// 0xFFFFFFFF - start + now.
  static ULONG GetTicksElapsed(ULONG now, ULONG start);
  /// Compares two lists element by element: 1 if a is greater, -1 if b is, 0 if
  /// equal; of two lists where one begins the other, the shorter one is the
  /// greater. A null list is empty. Only int is provided.
  template <typename T>
  static int CompareLists(std::vector<T>* a, std::vector<T>* b);

  // ---- enumeration ----

  /// Appends every order of 0 to count - 1 (GetPlaceVariants) in lexicographic
  /// order, or every string of length different characters of the alphabet
  /// (GetStringVariants); nothing for a null list or a count or length out of
  /// range.
  /// Both append every variant and give S_OK, or E_OUTOFMEMORY (appending
  /// nothing) when the variants would not fit in the machine's memory, rather
  /// than running until the system ends the process.
  ///@{
  ORVEK_RESULT static LONG GetPlaceVariants(int count, std::vector<std::vector<int>>* variants);
  ORVEK_RESULT static LONG GetStringVariants(const wchar_t* alphabet, int length, std::vector<CStringW>* variants);
  ///@}

  // ---- signal helpers ----

  /// Divides the coefficients by the sum of their absolute values, so that
  /// this sum becomes 1, and gives the change of gain in dB, 20 * log10(1 / sum).
  /// A sum of 0 (or nCount below 1) leaves them and gives +infinity.
  static float NormalizeFIR(float* pCoeffs, int nCount);
  /// The smallest up, with down = up * in / out truncated, for which
  /// up * in / down equals the output rate exactly in float. E_INVALIDARG for
  /// rates that are not positive and finite; E_FAIL, outputs untouched, when
  /// no up up to 1,000,000 fits.
  ORVEK_RESULT static LONG GetUpDownFactor(float fInRate, float fOutRate, int* pUp, int* pDown);

  // ---- placement of rectangles ----

  /// Moves the rectangle to the closest place, by whole edge-to-edge steps,
  /// that lies inside the bounds and intersects none of the used rectangles.
  /// True if it found one or needed none (then the rectangle stays as it is,
  /// in the bounds or not); false leaves it where it was. A null list counts
  /// as empty.
  static bool CalculateClosestNonIntersectRect(CRect* rect, CRect& bounds, std::vector<CRect>* used);

 private:
  static bool IsRectIntersects(CRect& rect, std::vector<CRect>* used);
  static bool AddToRectStat(CRect* rect, CSize& offset, float* bestDistance, CRect* bestRect, CRect& bounds,
                            std::vector<CRect>* used);

 public:
  // ---- event loop for hosts without one ----

  /// Processes window messages, paints and timers on the calling (GUI)
  /// thread for that many milliseconds, then returns. Without an application
  /// object it only waits.
  static void PumpMessages(DWORD dwMilliseconds);
  /// Runs until no visible top-level window is left or WM_QUIT arrives in
  /// the thread's queue (PostQuitMessage, PostThreadMessageW). Returns the
  /// exit code of WM_QUIT, else 0; returns at once when nothing is visible.
  static int RunMessageLoop();
};

/// The int form of CompareLists.
template <>
ORVEK_API int COrvekGlobals::CompareLists<int>(std::vector<int>* a, std::vector<int>* b);
