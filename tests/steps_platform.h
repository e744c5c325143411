#pragma once

#include <functional>
#include <string>
#include <vector>

#include "steps/platform/files.h"

using namespace rastelo::steps::platform;

/// A folder of the test's own, empty at its start. Ends in "/".
std::string EmptyFolder();
std::vector<std::string> NamesIn(const std::string& folder);
std::string TextOf(const std::string& path);
void Write(const std::string& path, const std::string& text, const WriteMode& mode = {});
/// The reason that a call fails for, which must be one line as it is told to people; empty if it
/// does not.
std::string ErrorOf(const std::function<void()>& call);
