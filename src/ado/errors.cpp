#include "velmora/ado/errors.hpp"

#include <cmath>

#include "ado/error_map.hpp"
#include "velmora/ado/types.hpp"

namespace velmora::ado {

Error::Error(int32_t number, std::string description, std::string source, std::string sqlState,
             int32_t nativeError)
    : number_(number),
      description_(std::move(description)),
      source_(std::move(source)),
      sqlState_(std::move(sqlState)),
      nativeError_(nativeError) {}

ErrorPtr Errors::Item(const com::Variant& index) const {
  int64_t i = -1;
  if (auto p = index.TryGet<int32_t>()) i = *p;
  else if (auto q = index.TryGet<int16_t>()) i = *q;
  else if (auto d = index.TryGet<double>()) i = static_cast<int64_t>(std::floor(*d));
  if (i < 0 || i >= Count()) detail::RaiseAdo(adErrItemNotFound, "Velmora.ado.Errors");
  return items_[static_cast<size_t>(i)];
}

}  // namespace velmora::ado
