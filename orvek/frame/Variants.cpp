// Brute-force enumeration of orders and arrangements.
#include <orvek/frame/OrvekGlobals.h>

#include <unistd.h>

#include <algorithm>
#include <cwchar>
#include <numeric>

namespace {
// Whether firstFactor * ... * lastFactor variants of bytesEach bytes fit in
// physical memory; the product stops growing once it passes the limit.
bool FitsInMemory(int firstFactor, int lastFactor, std::size_t bytesEach) {
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
  const double limit = pages > 0 && pageSize > 0 ? static_cast<double>(pages) * static_cast<double>(pageSize) : 1e12;
  double bytes = static_cast<double>(bytesEach);
  for (int f = firstFactor; f <= lastFactor && bytes <= limit; ++f) bytes *= f;
  return bytes <= limit;
}
}  // namespace

LONG COrvekGlobals::GetPlaceVariants(int count, std::vector<std::vector<int>>* variants) {
  if (!variants || count < 0) return S_OK;
  if (!FitsInMemory(1, count, sizeof(std::vector<int>) + sizeof(int) * static_cast<std::size_t>(count)))
    return E_OUTOFMEMORY;
  std::vector<int> order(static_cast<std::size_t>(count));
  std::iota(order.begin(), order.end(), 0);
  do {
    variants->push_back(order);
  } while (std::next_permutation(order.begin(), order.end()));
  return S_OK;
}

namespace {
// Appends every arrangement that extends `chosen`, in lexicographic order of
// the alphabet positions; a position is used at most once.
void extend(const wchar_t* alphabet, std::size_t L, std::size_t length, std::vector<std::size_t>& chosen,
            std::vector<bool>& used, std::vector<CStringW>* out) {
  if (chosen.size() == length) {
    CStringW s;
    for (std::size_t p : chosen) s += alphabet[p];
    out->push_back(s);
    return;
  }
  for (std::size_t p = 0; p < L; ++p) {
    if (used[p]) continue;
    used[p] = true;
    chosen.push_back(p);
    extend(alphabet, L, length, chosen, used, out);
    chosen.pop_back();
    used[p] = false;
  }
}
}  // namespace

LONG COrvekGlobals::GetStringVariants(const wchar_t* alphabet, int length, std::vector<CStringW>* variants) {
  const std::size_t L = alphabet ? std::wcslen(alphabet) : 0;
  if (!variants || length <= 0 || static_cast<std::size_t>(length) > L) return S_OK;
  // L! / (L - length)! strings of `length` characters.
  if (!FitsInMemory(static_cast<int>(L) - length + 1, static_cast<int>(L),
                    sizeof(CStringW) + sizeof(wchar_t) * (static_cast<std::size_t>(length) + 1)))
    return E_OUTOFMEMORY;
  std::vector<std::size_t> chosen;
  std::vector<bool> used(L, false);
  extend(alphabet, L, static_cast<std::size_t>(length), chosen, used, variants);
  return S_OK;
}
