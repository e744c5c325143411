#include <rastelo.h>

#include <cstdio>

int main(int argc, char** argv) {
  CRastelo image;
  if (argc != 3 || !image.OpenImage(argv[1])) return 1;
  std::printf("%d x %d pixels\n", int(image.GetWidth()), int(image.GetHeight()));
  image.RGBImg2Gray();
  image.RotateImage_Dir(1);  // a quarter turn counter-clockwise
  return image.SaveAs(argv[2]) ? 0 : 1;
}
