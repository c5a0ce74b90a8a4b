#pragma once

#include "podb/po.h"

namespace catalog::podb {

// A path object to be filled from a database.
// Errors: the constructor throws Cr_ErrnoException when there is no memory for it.
class FilePO : public PO {
 public:
  FilePO();
};

}  // namespace catalog::podb
