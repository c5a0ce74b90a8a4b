#pragma once

constexpr int k_exit_success = 0;
constexpr int k_exit_failure = 1;
constexpr int k_exit_scan_failed = -1;  // 255 to the caller
