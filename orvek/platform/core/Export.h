#pragma once

/// \file
/// The export macro and the marker of results that may not be dropped.

/// The one export macro: the library is built with hidden visibility and
/// exports only what carries this mark.
#if defined(ORVEK_BUILDING_LIBRARY)
#define ORVEK_API __attribute__((visibility("default")))
#else
#define ORVEK_API
#endif
/// Explicit template instantiations that hosts link against.
#define ORVEK_TEMPLATE_API __attribute__((visibility("default")))

/// A LONG result that the library, its examples and its tests may not drop
/// without saying why (a cast to void). Hosts do not see it.
#if defined(ORVEK_BUILDING_LIBRARY) || defined(ORVEK_CHECK_RESULTS)
#define ORVEK_RESULT [[nodiscard]]
#else
#define ORVEK_RESULT
#endif
