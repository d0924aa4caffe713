#pragma once

#include <orvek/platform/core/Types.h>

// Private to the library: tick arithmetic that the subsystems share with the
// frame's public helper.
namespace orvek_detail {

// Milliseconds from start to now on the 32-bit tick counter. After a wrap
// the count is one less than the plain difference.
inline ULONG TicksElapsed(ULONG now, ULONG start) { return now >= start ? now - start : 0xFFFFFFFFu - start + now; }

}  // namespace orvek_detail
