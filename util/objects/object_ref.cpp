#include "util/objects/object_ref.h"

#include "util/objects/table_obj.h"

namespace zorutil {

void ref_counted_obj_ptr::AddRef() const noexcept {
  if (object_ != nullptr) object_->AddRef();
}

void ref_counted_obj_ptr::RemoveRef() const noexcept { object_->RemoveRef(); }

void obj_deleter_t::operator()(CTableObj* object) const noexcept { CTableObj::Delete(object); }

ITableObjVisitor::~ITableObjVisitor() = default;

}  // namespace zorutil
