#pragma once

// Private to the library: steps that run when the library is unloaded.
namespace orvek_detail {
typedef void (*UnloadStep)();
// Registers a step once (a second registration of the same step is a no-op).
bool RegisterUnloadStep(UnloadStep step);
}  // namespace orvek_detail
