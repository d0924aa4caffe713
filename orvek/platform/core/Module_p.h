#pragma once

#include <cwchar>
#include <string>

#include <orvek/platform/core/Strings.h>
#include <orvek/platform/core/Types.h>

// Private to the library: what the files of modules, the file system and
// version blocks share, and the fixed part of a module's version block, which
// the log file writes and the frame's public helper gives to hosts.
namespace orvek_detail {

// The canonical path of an existing file, else the path as given.
std::string RealPath(const std::string& path);

// A wide path as the bytes the system takes (UTF-8); empty for null.
inline std::string NarrowPath(const wchar_t* s) { return s ? WideToUtf8(s, std::wcslen(s)) : std::string(); }

// S_OK with the block copied to *info; E_FAIL for a null info, an unknown
// module or a module without a version.
ORVEK_RESULT LONG GetModuleFixedFileInfo(HINSTANCE module, tagVS_FIXEDFILEINFO* info);

}  // namespace orvek_detail
