#include "velmora/schema/descriptors.hpp"

#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"

namespace velmora {

namespace {
}  // namespace

void AdoField::CopyTo(const std::shared_ptr<AdoField>& target) const {
  if (!target) com::Raise(com::errObjectNotSet, {}, ErrorSource("AdoField", "CopyTo"));
  target->AType(aType_);
  target->ATypeName(aTypeName_);
  target->Collation(collation_);
  target->Id(id_);
  target->IsNullable(isNullable_);
  target->Name(name_);
  target->NType(nType_);
  target->NTypeName(nTypeName_);
  target->NumScale(numScale_);
  target->Precision(precision_);
  target->Size(size_);
  target->Fixed(fixed_);
}

}  // namespace velmora
