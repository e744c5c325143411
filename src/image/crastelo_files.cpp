// Which files an image opens and saves as, by the extension of their names.
#include <string>

#include "platform/path.h"
#include "rastelo.h"

int CRastelo::OpenImage(const char* path) {
  if (!path) return 0;
  const std::string extension = rastelo::platform::PathExtension(path);
  if (extension == ".jpg" || extension == ".JPG") return OpenJpgImg(path);
  if (extension == ".bmp" || extension == ".BMP") return OpenBmpImg(path);
  return 0;
}

int CRastelo::SaveAs(const char* path) {
  if (!path) return 0;
  const std::string extension = rastelo::platform::PathExtension(path);
  if (extension == ".jpg" || extension == ".JPG") return SaveAs_JPG(path);
  if (extension == ".bmp" || extension == ".BMP") return SaveAs_BMP(path);
  return 0;
}
