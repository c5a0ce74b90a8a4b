#pragma once

// What every page carries, compiled in: the style in its head and the script at its end. A page may load
// nothing and runs no other script: its policy names the two by their SHA-256.
namespace report::page {

extern const char* const k_before_title;
extern const char* const k_after_title;
extern const char* const k_end;

}  // namespace report::page
