#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "report/model.h"

namespace report::fleet {

constexpr std::size_t k_kept_rows = 20;  // of each array

// Reads the JSON object in a file, one that another host wrote, as a stream. Keeps the first elements of each
// array, so that memory does not grow with the file.
// Errors: std::runtime_error if it cannot be read, is no such object, or has too much besides arrays.
// Threads: any.
Value extract(const std::string& file);

// Parts of an object; empty or none if there is no such part or it has another type.
const Value& part(const Value& object, const char* key);
std::string text(const Value& object, const char* key);
std::optional<std::int64_t> number(const Value& object, const char* key);
std::optional<std::uint64_t> count(const Value& object, const char* key);
std::optional<bool> truth(const Value& object, const char* key);

// The number of elements that an array had in the file.
std::uint64_t length_of(const Value& object, const char* key);

}  // namespace report::fleet
