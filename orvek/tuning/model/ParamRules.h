#pragma once

#include <vector>

#include <orvek/platform/core/Strings.h>
#include <orvek/tuning/model/ParamTypes.h>

/// \file
/// The value rules and the layout arithmetic of the tuning dialog.

/// The value rules and the layout arithmetic of the tuning dialog: plain
/// computation, usable and testable without any window.
namespace ParamRules {

/// A float slider has 257 positions, 0 to 256.
constexpr int FLOAT_SCALE_MAX = 256;

/// A list holds fewer entries than this: pacing timers take the ids 1 to the
/// count, below the refresh timer's id, 1000000.
constexpr int PARAM_LIMIT = 1000000;

/// Value to slider position: (value - min) / (max - min) * 256, truncated.
/// A position that is no number (equal bounds) is 0.
ORVEK_API int FloatToPos(float value, double dMin, double dMax);
/// Slider position to value: (max - min) * pos / 256 + min, narrowed to float.
ORVEK_API float PosToFloat(int pos, double dMin, double dMax);
/// max(lower, value), then the upper bound wins unless it is greater: crossing
/// bounds and NaN give the upper bound. Bounds are narrowed to float first.
ORVEK_API float ClampFloat(float value, double dMin, double dMax);
/// The same rule on the bounds truncated toward zero.
ORVEK_API int ClampInt(int value, double dMin, double dMax);
/// Decimals shown for a float: one more for each tenfold until a slider step
/// reaches 1. Crossing bounds show none.
ORVEK_API int FloatDecimals(double dMin, double dMax);
/// The value with the decimals of FloatDecimals.
ORVEK_API CStringW FloatText(float value, double dMin, double dMax);

/// The logarithmic float: 257 positions spread evenly in the logarithm of the
/// value. Bounds that are not both positive and finite, or equal, fall back to
/// the linear float rules above. Value to position rounds to the nearest.
///@{
ORVEK_API bool LogScaleUsable(double dMin, double dMax);
ORVEK_API int LogFloatToPos(float value, double dMin, double dMax);
ORVEK_API float LogPosToFloat(int pos, double dMin, double dMax);
///@}
/// Decimals enough to tell the two lowest positions apart.
ORVEK_API int LogFloatDecimals(double dMin, double dMax);
/// The value with the decimals of LogFloatDecimals.
ORVEK_API CStringW LogFloatText(float value, double dMin, double dMax);
/// The display text of a float or logarithmic float entry.
ORVEK_API CStringW ValueText(eParamTypeV2 eType, float value, double dMin, double dMax);
/// The display text of an integer entry: the value in decimal.
ORVEK_API CStringW IntText(int value);
/// The print format of a kind; an empty text for a group or an unknown kind.
ORVEK_API const wchar_t* TypeFormat(eParamTypeV2 eType);
/// A double truncated toward zero to int, saturating instead of overflowing.
ORVEK_API int TruncToInt(double value);

/// Copies every name and choice text of the list into a new pool and points
/// the list at the copies; choice arrays are copied into new blocks that are
/// appended to `blocks`. The old pool is deleted after the copy.
ORVEK_API void SavePool(std::vector<tagParamInfoV2>* params, std::vector<tagParamChoice*>* blocks, CStringArray** pool);

// ---- layout ----

/// Pixel measures of the layout: a cell of one entry (ITEM_WIDTH by
/// ITEM_HEIGHT), the gaps between cells, the margins of the cell block inside
/// the window and of the tab control, the label and value-text columns of a
/// cell, and the height of an open drop-down list.
///@{
constexpr int ITEM_WIDTH = 200;
constexpr int ITEM_HEIGHT = 25;
constexpr int COLUMN_GAP = 15;
constexpr int ROW_GAP = 15;
constexpr int MARGIN_X = 20;
constexpr int MARGIN_Y = 20;
constexpr int TAB_MARGIN_X = 15;
constexpr int TAB_MARGIN_Y = 15;
constexpr int LABEL_WIDTH = 50;
constexpr int VALUE_WIDTH = 30;
constexpr int LIST_HEIGHT = 200;
///@}

/// Groups (tab pages) and the largest number of parameters in one of them.
ORVEK_API void CountGroups(const std::vector<tagParamInfoV2>& params, int* pnGroups, int* pnItems);
/// How much a tab control grows a display rectangle on each side.
struct TabGrowth {
  /// Growth on that side in pixels.
  ///@{
  int left, top, right, bottom;
  ///@}
};
/// The block of cells nearest to a square; `tabs` is used only with more than
/// one group. Fewer than 1 item gives 0 and 0; more than a list can hold
/// (PARAM_LIMIT - 1) gives the block for that many. Null outputs are skipped.
ORVEK_API void ColumnsRows(int nItems, int nGroups, const TabGrowth& tabs, int* pnColumns, int* pnRows);
/// Client size of the cell block with its margins, before any tab control.
/// Negative counts count as 0; a size beyond an int stops at INT_MAX.
ORVEK_API SIZE BlockSize(int nColumns, int nRows);
/// The top-left corner of the p-th cell of a page: columns fill top to bottom.
/// Coordinates beyond an int stop at its limits.
ORVEK_API POINT CellCorner(int p, int nRows, int offsetX, int offsetY);
/// A 64-bit coordinate held within the range of an int.
ORVEK_API int SaturateToInt(long long value);

}  // namespace ParamRules
