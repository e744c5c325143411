#pragma once

#include <string>
#include <vector>

namespace rastelo::steps::platform {

/// The words of the command line in UTF-8 (on POSIX: the bytes as they came), the program's name
/// first. Shells of Windows leave wildcards to programs: there a word outside quotes whose "*" and
/// "?" match files gives way to their names, sorted; one that matches none stays. "*" and "?" match
/// whatever the case, within an element of the path, and no dot at its start.
std::vector<std::string> Arguments(int argc, char** argv);

}  // namespace rastelo::steps::platform
