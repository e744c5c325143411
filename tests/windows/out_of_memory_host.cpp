// A host of its own that catches what the library throws when memory runs out.
#include <rastelo.h>

#include <cstdint>
#include <new>

int main() {
  const unsigned char none = 0;
  CRastelo image;
  image.SetExternalImageBits(&none, 0, INT32_MAX, 8);
  try {
    image.RotateImage_Dir(1);  // to rows that no buffer can hold
  } catch (const std::bad_alloc&) {
    return image.GetHeight() == INT32_MAX ? 0 : 1;
  }
  return 2;
}
