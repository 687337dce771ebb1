// Files that must not have been there.
#pragma once

#include <filesystem>
#include <system_error>

// Makes an empty file. Returns why it cannot: std::errc::file_exists when anything has the name.
std::error_code MakeNewFile(const std::filesystem::path& path);
