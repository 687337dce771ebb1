// Files by their names in UTF-8, as Platform has them.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "platform/platform.h"

namespace tavro {

// Of a path that ends in a separator: what a link names.
PathKind KindOfPath(const std::string& path);

// Platform::OpenFile and WriteToFile. A symbolic link is no regular file.
std::FILE* OpenRegularFile(const std::string& path);
bool WriteRegularFile(const std::string& path, std::string_view content, bool append);

}  // namespace tavro
