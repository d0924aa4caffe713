// A small host that tours the module frame: the graphics session, files
// beside the application, numbered file names and the enumeration helpers.
#include <orvek/Orvek.h>

#include <cstdio>

int main() {
  if (COrvekGlobals::StartUp() != S_OK) {
    std::puts("no graphics session");
    return 1;
  }
  std::printf("application folder: %s\n", CStringA(COrvekGlobals::GetApplicationPath()).GetString());

  const char text[] = "orvek frame tour\n";
  int size = 0;
  if (COrvekGlobals::WriteToFile("frame_tour.txt", text, sizeof text - 1, /*bAppend=*/0) != S_OK ||
      COrvekGlobals::WriteToFile("frame_tour.txt", text, sizeof text - 1, /*bAppend=*/1) != S_OK ||
      !COrvekGlobals::ReadFromFile("frame_tour.txt", /*buffer=*/nullptr, &size)) {
    std::fprintf(stderr, "frame_tour.txt cannot be written beside the application\n");
    return 1;
  }
  std::printf("frame_tour.txt holds %d bytes\n", size);

  CStringW format(L"capture_%03d.png"), name;
  if (COrvekGlobals::GetNewIndexFileName(&format, &name, 999) == S_OK)
    std::printf("next free capture name: %s\n", CStringA(name).GetString());

  std::vector<CStringW> words;
  (void)COrvekGlobals::GetStringVariants(L"abc", /*length=*/2, &words);  // six short strings always fit
  std::printf("arrangements of 2 of abc:");
  for (const auto& w : words) std::printf(" %s", CStringA(w).GetString());
  std::printf("\n");

  tagVS_FIXEDFILEINFO info{};
  if (COrvekGlobals::GetFileInfo(OrvekGetModuleHandle(), &info) == S_OK)
    std::printf("library version %u.%u.%u.%u\n", info.dwFileVersionMS >> 16, info.dwFileVersionMS & 0xFFFF,
                info.dwFileVersionLS >> 16, info.dwFileVersionLS & 0xFFFF);
  COrvekGlobals::ShutDown();
  return 0;
}
