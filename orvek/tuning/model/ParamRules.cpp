#include <orvek/tuning/model/ParamRules.h>

#include <climits>
#include <cmath>
#include <cwchar>

void CDlgParamTuneNotify::OnParamChanged(void*) {}

unsigned int CDlgParamTuneNotify::GetParamNotifyElapse(void*) { return 20; }

void CDlgParamTuneNotify::OnParamChanged(void* pContext, void* pValue) {
  if (pContext) static_cast<CDlgParamTuneNotify*>(pContext)->OnParamChanged(pValue);
}

namespace ParamRules {

int TruncToInt(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483647.0) return INT_MAX;
  if (value <= -2147483648.0) return INT_MIN;
  return static_cast<int>(value);
}

int FloatToPos(float value, double dMin, double dMax) {
  return TruncToInt((static_cast<double>(value) - dMin) / (dMax - dMin) * 256.0);
}

float PosToFloat(int pos, double dMin, double dMax) {
  return static_cast<float>((dMax - dMin) * pos * 0.00390625 + dMin);
}

float ClampFloat(float value, double dMin, double dMax) {
  const float lo = static_cast<float>(dMin), hi = static_cast<float>(dMax);
  const float t = lo > value ? lo : value;  // NaN value: t stays NaN
  return hi > t ? t : hi;
}

int ClampInt(int value, double dMin, double dMax) {
  const int lo = TruncToInt(dMin), hi = TruncToInt(dMax);
  const int t = lo > value ? lo : value;
  return hi > t ? t : hi;
}

namespace {
// One decimal for each tenth the slider's step lies below 1, at most `most`;
// no step (crossing or equal bounds, NaN) needs none.
int StepDecimals(float step, int most) {
  int d = 0;
  while (step < 1.0f && step > 0.0f && d < most) {
    step *= 10.0f;
    ++d;
  }
  return d;
}

CStringW TextWithDecimals(float value, int decimals) {
  CStringW format, text;
  format.Format(L"%%.%df", decimals);
  text.Format(format.GetString(), static_cast<double>(value));
  return text;
}
}  // namespace

int FloatDecimals(double dMin, double dMax) {
  return StepDecimals(static_cast<float>(dMax - dMin) * 0.00390625f, INT_MAX);
}

CStringW FloatText(float value, double dMin, double dMax) { return TextWithDecimals(value, FloatDecimals(dMin, dMax)); }

bool LogScaleUsable(double dMin, double dMax) {
  return dMin > 0.0 && dMax > dMin && std::isfinite(dMin) && std::isfinite(dMax);
}

int LogFloatToPos(float value, double dMin, double dMax) {
  if (!LogScaleUsable(dMin, dMax)) return FloatToPos(value, dMin, dMax);
  if (!(value > 0.0f)) return 0;
  const double t = std::log(static_cast<double>(value) / dMin) / std::log(dMax / dMin) * 256.0;
  return TruncToInt(std::floor(t + 0.5));
}

float LogPosToFloat(int pos, double dMin, double dMax) {
  if (!LogScaleUsable(dMin, dMax)) return PosToFloat(pos, dMin, dMax);
  // The ends are the bounds themselves, not a rounding of them.
  if (pos <= 0) return static_cast<float>(dMin);
  if (pos >= FLOAT_SCALE_MAX) return static_cast<float>(dMax);
  return static_cast<float>(dMin * std::exp(std::log(dMax / dMin) * pos * 0.00390625));
}

int LogFloatDecimals(double dMin, double dMax) {
  if (!LogScaleUsable(dMin, dMax)) return FloatDecimals(dMin, dMax);
  // The same rule as the linear float, on the smallest step; a step too
  // small for a float stops at the precision a float holds.
  return StepDecimals(static_cast<float>(static_cast<double>(LogPosToFloat(1, dMin, dMax)) - dMin), 9);
}

CStringW LogFloatText(float value, double dMin, double dMax) {
  return TextWithDecimals(value, LogFloatDecimals(dMin, dMax));
}

CStringW ValueText(eParamTypeV2 eType, float value, double dMin, double dMax) {
  return eType == ePT_LogFloat ? LogFloatText(value, dMin, dMax) : FloatText(value, dMin, dMax);
}

CStringW IntText(int value) {
  CStringW text;
  text.Format(L"%d", value);
  return text;
}

const wchar_t* TypeFormat(eParamTypeV2 eType) {
  switch (eType) {
    case ePT_Float:
    case ePT_LogFloat: return L"%f";
    case ePT_Bool:
    case ePT_Int:
    case ePT_List: return L"%d";
    default: return L"";
  }
}

void SavePool(std::vector<tagParamInfoV2>* params, std::vector<tagParamChoice*>* blocks, CStringArray** pool) {
  // The old texts are read while the new pool is filled, so the old pool
  // lives until the end.
  auto* fresh = new CStringArray;
  for (auto& p : *params) {
    const int at = fresh->Add(CStringW(p.pszName ? p.pszName : L""));
    p.pszName = fresh->GetAt(at).GetString();
    if (p.nChoices > 0 && p.pChoices) {
      auto* block = new tagParamChoice[static_cast<std::size_t>(p.nChoices)];
      blocks->push_back(block);
      for (int c = 0; c < p.nChoices; ++c) {
        block[c].dValue = p.pChoices[c].dValue;
        const int t = fresh->Add(CStringW(p.pChoices[c].pszText ? p.pChoices[c].pszText : L""));
        block[c].pszText = fresh->GetAt(t).GetString();
      }
      p.pChoices = block;
    } else {
      p.pChoices = nullptr;
      p.nChoices = 0;
    }
  }
  delete *pool;
  *pool = fresh;
}

void CountGroups(const std::vector<tagParamInfoV2>& params, int* pnGroups, int* pnItems) {
  int groups = 0, widest = 0, running = 0;
  for (const auto& p : params) {
    if (p.eType == ePT_Group) {
      ++groups;
      if (running > widest) widest = running;
      running = 0;
    } else {
      ++running;
    }
  }
  if (running > widest) widest = running;
  if (!params.empty() && params.front().eType != ePT_Group) ++groups;
  *pnGroups = groups;
  *pnItems = widest;
}

void ColumnsRows(int nItems, int nGroups, const TabGrowth& tabs, int* pnColumns, int* pnRows) {
  int columns = 0, rows = 0;
  // A list never holds more; the cap also keeps the search short and every
  // size below within an int.
  if (nItems > PARAM_LIMIT - 1) nItems = PARAM_LIMIT - 1;
  float best = 0.0f;
  for (int r = 1; r <= nItems; ++r) {
    const int c = (nItems + r - 1) / r;
    long long w = static_cast<long long>(c) * ITEM_WIDTH + (c - 1) * COLUMN_GAP;
    long long h = static_cast<long long>(r) * ITEM_HEIGHT + (r - 1) * ROW_GAP;
    if (nGroups > 1) {
      w = 2 * TAB_MARGIN_X + w + tabs.left + tabs.right;
      h = 2 * TAB_MARGIN_Y + h + tabs.top + tabs.bottom;
    }
    const float shorter = static_cast<float>(SaturateToInt(w < h ? w : h));
    const float score = shorter / static_cast<float>(SaturateToInt(w < h ? h : w));
    // On a tie the later trial, with more rows, wins.
    if (score >= best) {
      best = score;
      columns = c;
      rows = r;
    }
  }
  if (pnColumns) *pnColumns = columns;
  if (pnRows) *pnRows = rows;
}

int SaturateToInt(long long value) {
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

SIZE BlockSize(int nColumns, int nRows) {
  const long long c = nColumns > 0 ? nColumns : 0, r = nRows > 0 ? nRows : 0;
  return SIZE{SaturateToInt(c * ITEM_WIDTH + (c - 1) * COLUMN_GAP + 2 * MARGIN_X),
              SaturateToInt(r * ITEM_HEIGHT + (r - 1) * ROW_GAP + 2 * MARGIN_Y)};
}

POINT CellCorner(int p, int nRows, int offsetX, int offsetY) {
  const long long x = static_cast<long long>(MARGIN_X) + offsetX, y = static_cast<long long>(MARGIN_Y) + offsetY;
  if (nRows < 1) return POINT{SaturateToInt(x), SaturateToInt(y)};
  return POINT{SaturateToInt(static_cast<long long>(COLUMN_GAP + ITEM_WIDTH) * (p / nRows) + x),
               SaturateToInt(static_cast<long long>(ROW_GAP + ITEM_HEIGHT) * (p % nRows) + y)};
}

}  // namespace ParamRules
