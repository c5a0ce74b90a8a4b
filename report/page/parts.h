#pragma once

// What every page carries, compiled in. A page may load nothing and runs no other script: its policy
// names the two by their SHA-256.
namespace report::page {

extern const char* const k_style;
extern const char* const k_script;
extern const char* const k_content_security_policy;

}  // namespace report::page
