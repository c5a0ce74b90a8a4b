#pragma once

#include <cstdint>

#include "record/run_reader.h"

namespace report {

// The POs that a record saved for an undo.
struct Saved {
  std::uint64_t pos = 0;
  std::uint64_t bytes = 0;  // that the POs stand for
};

// Passes over all saved rows.
// Errors: those of the reader.
Saved saved_of(record::RunReader& reader);

// The size of the saved row `s`, as an SQL expression. An impossible size counts as 0, so that a sum cannot
// overflow.
extern const char* const k_saved_size;

}  // namespace report
