// An outside program that knows kestrel only as the installed CMake package.

#include <cstdio>
#include <kestrel/kestrel.h>

int main() {
  kestrel::CoordinateGrid grid;
  grid.RegularCoordinateGrid(-0.02, 0.02, 0, 0, 0.0005, 0.06, 0.0002, 0.0002, 0.0002);
  std::printf("%d points\n", grid.npoints());
  try {
    grid.RegularCoordinateGrid(0.02, -0.02, 0, 0, 0, 0.06, 0.0002, 0.0002, 0.0002);
  } catch (const kestrel::Error& error) {
    std::printf("refused: %s\n", error.what());
    return grid.npoints() > 1 ? 0 : 1;
  }
  return 1;
}
