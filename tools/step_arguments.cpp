#include "tools/step_arguments.h"

#include "tools/error.h"
#include "tools/picture_file.h"

namespace rastelo::tools {

bool ReadSize(NumberReader& reader, int maxSide, Size& size) {
  return reader.Read(size.width) && reader.Skip("x") && reader.Read(size.height) &&
         size.width > 0 && size.height > 0 && size.width <= maxSide && size.height <= maxSide;
}

int BitCount(const CRastelo& image) { return image.IsCanTrans2Gray() ? 24 : 8; }

void RequireGray(const CRastelo& image) {
  if (image.IsCanTrans2Gray()) throw OperationError("it needs a gray picture; put gray before it");
}

void RequirePictureName(const std::string& path) {
  if (!HasPictureExtension(path))
    throw UsageError("expected a file name that ends in .bmp, .BMP, .jpg or .JPG");
}

}  // namespace rastelo::tools
