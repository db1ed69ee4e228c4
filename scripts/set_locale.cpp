// Loaded before a program by scripts/portability: the locale of the environment is the program's before main begins, in
// C and in C++. Only programs below the folder SET_LOCALE_UNDER, for those of the system have nothing to prove.
#include <climits>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <unistd.h>

[[gnu::constructor]] static void SetLocale() {
  const char* const folder = std::getenv("SET_LOCALE_UNDER");
  char program[PATH_MAX] = {};
  if (folder == nullptr || ::readlink("/proc/self/exe", program, sizeof program - 1) < 0) return;
  if (std::strncmp(program, folder, std::strlen(folder)) != 0) return;
  std::locale::global(std::locale(""));  // which calls setlocale(LC_ALL, "...")
  char text[16];
  std::snprintf(text, sizeof text, "%.1f", 1.5);
  if (std::strcmp(text, "1,5") != 0) {
    std::fprintf(stderr, "set_locale: %s has no decimal comma\n", std::setlocale(LC_ALL, nullptr));
    std::abort();
  }
}
