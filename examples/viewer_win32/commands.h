#ifndef VIEWER_COMMANDS_H
#define VIEWER_COMMANDS_H

#include <rastelo.h>

#include <string>
#include <vector>

/// The viewer as its commands see it.
struct Document {
  CRastelo image;
  std::string path;
  std::string note;  // shown in the title until the next command
};

/// One entry of the menu that changes the picture, and the key that does the same.
struct Command {
  const char* menu;
  const char* text;
  WORD key;  // a virtual key, pressed together with `modifiers`; 0 for none
  BYTE modifiers;
  void (*run)(Document&);
};

/// All operations of the library, in the order of the menu.
const std::vector<Command>& Commands();

#endif  // VIEWER_COMMANDS_H
