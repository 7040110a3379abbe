#include "velmora/ado/recordset.hpp"
#include "velmora/support/field_services.hpp"

namespace velmora::support {

bool FieldServices::CollectionItemExists(const std::shared_ptr<ado::Fields>& fields,
                                         const std::string& key) const {
  return fields && fields->IndexOf(key) >= 0;
}

}  // namespace velmora::support
