// A host that knows the library only through its installed headers; it has
// no Qt include path.
#include <orvek/Orvek.h>

#include <cstdio>

int main() {
  std::vector<std::vector<int>> orders;
  COrvekGlobals::GetPlaceVariants(3, &orders);
  CStringW text(L"\u00e9t\u00e9");
  CStringA narrow(text);
  if (orders.size() != 6 || narrow != "\xc3\xa9t\xc3\xa9" || COrvekGlobals::GetTicksElapsed(1, 0xFFFFFFFFu) != 1) {
    std::puts("orvek host failed");
    return 1;
  }
  std::puts("orvek host ok");
  return 0;
}
