#include <iostream>

#include <lmkutils/lmkutils.h>

int main() {
  std::cout << "ELF hash of \"first\": " << du::hash<const char*>()("first") << '\n';
  return 0;
}
