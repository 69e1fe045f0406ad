// An outside program that knows kestrel only as the installed CMake package.

#include <kestrel/kestrel.h>

#include <cstdio>

int main() {
  try {
    throw kestrel::Error("caught");
  } catch (const kestrel::Error& error) {
    std::printf("%s\n", error.what());
    return 0;
  }
}
