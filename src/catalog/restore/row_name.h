#pragma once

#include <string>
#include <variant>

#include "podb/po_row.h"

namespace catalog::podb {

// The basename of a PO as reports show it.
inline std::string name_of(const database::PORow& row) {
  if (const auto* text = std::get_if<std::string>(&row.front())) return *text;
  if (const auto* blob = std::get_if<database::Blob>(&row.front())) return blob->bytes;
  return "(a number)";
}

}  // namespace catalog::podb
