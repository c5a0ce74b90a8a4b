#include "platform/po.h"

#include <new>

void PO::to_string(std::string& text) const {
  text = "basename=" + basename + " poid=" + poid + " size=" + std::to_string(size) +
         " mtime=" + std::to_string(mtime) + " record=" + std::to_string(record.size());
}

PO* POCreate() {
  return new (std::nothrow) PO;
}

const std::string& POGetHashRef(const PO& po) {
  return po.poid;
}
