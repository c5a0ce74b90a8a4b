#include "catalog/client_name_case/file_po.h"

#include <cerrno>

#include "console/run_log.h"
#include "status/status.h"

namespace catalog::podb {

namespace {

POData* create() {
  POData* data = POCreate();
  if (data == nullptr) {
    ErrorA("Allocate po struct failed.");
    throw Cr_ErrnoException(ENOMEM, "Allocation of a PO struct failed or PO pointer was NULL.");
  }
  return data;
}

}  // namespace

FilePO::FilePO() : PO(create()) {}

}  // namespace catalog::podb
