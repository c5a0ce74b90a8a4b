#include "podb/po.h"

#include <new>

POData* POCreate() {
  return new (std::nothrow) POData;
}

PO::PO(POData* data) : m_data(data) {}
PO::~PO() = default;

void PO::to_string(std::string& text) const {
  text = "basename=" + m_data->basename + " poid=" + m_data->poid +
         " size=" + std::to_string(m_data->size) + " mtime=" + std::to_string(m_data->mtime) +
         " record=" + std::to_string(m_data->record.size());
}

const std::string& POGetHashRef(const PO& po) {
  return po.data().poid;
}
