#pragma once

#include <string>
#include <string_view>

// The version of the project, such as "1.2.3".
std::string project_version();

// What --version prints for a program, with its line end.
std::string version_text(std::string_view program);
