#pragma once

#include "platform/message_box.h"

namespace rastelo {

/// Tells the user that a file does not exist: "文件不存在!" with the caption "错误!".
inline void ShowMissingFileMessage() {
  platform::ShowMessageBox("\xCE\xC4\xBC\xFE\xB2\xBB\xB4\xE6\xD4\xDA\x21", "\xB4\xED\xCE\xF3\x21");
}

}  // namespace rastelo
