#pragma once

#include <functional>
#include <string>

#include "rastelo.h"

namespace rastelo::tools {

/// Whether the library opens and saves files of this name: .bmp, .BMP, .jpg, .JPG.
bool HasPictureExtension(const std::string& path);

/// Opens a picture, or throws an OperationError that says why not.
/// @param asIs  brings a BMP file's pixels in as they are, without the reduction to two colours.
void OpenPicture(CRastelo& image, const std::string& path, bool asIs);

/// Has `save` write a picture so that `path` holds either all of it or what it held before: the
/// picture goes beside it first and is then renamed. What is no plain file, such as a device, is
/// written in place. Throws an OperationError that says why it failed.
/// @param save  writes the file of the name that it gets, as the library's saves do, and gives 1,
/// or 0 if it failed.
void SavePicture(const std::string& path, const std::function<int(const char*)>& save);

}  // namespace rastelo::tools
