#pragma once
// Error and Errors: the diagnostics of the last failing operation of a
// Connection, one Error per diagnostic record the driver reported.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado {

class Error : public com::Object {
 public:
  Error() = default;
  Error(int32_t number, std::string description, std::string source, std::string sqlState,
        int32_t nativeError);

  int32_t Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }
  const std::string& Source() const noexcept { return source_; }
  const std::string& SQLState() const noexcept { return sqlState_; }
  int32_t NativeError() const noexcept { return nativeError_; }
  const std::string& HelpFile() const noexcept { return helpFile_; }
  int32_t HelpContext() const noexcept { return helpContext_; }

 private:
  int32_t number_ = 0;
  std::string description_;
  std::string source_;
  std::string sqlState_;
  int32_t nativeError_ = 0;
  std::string helpFile_;
  int32_t helpContext_ = 0;
};
using ErrorPtr = std::shared_ptr<Error>;

class Errors : public com::Object {
 public:
  int32_t Count() const noexcept { return static_cast<int32_t>(items_.size()); }
  // The error at a 0-based position; raises adErrItemNotFound (3265) otherwise.
  ErrorPtr Item(const com::Variant& index) const;
  void Clear() noexcept { items_.clear(); }
  // Refresh re-reads nothing here: the collection is filled when an error occurs.
  void Refresh() noexcept {}

  void Append(ErrorPtr error) { items_.push_back(std::move(error)); }
  std::vector<ErrorPtr>::const_iterator begin() const { return items_.begin(); }
  std::vector<ErrorPtr>::const_iterator end() const { return items_.end(); }

 private:
  std::vector<ErrorPtr> items_;
};
using ErrorsPtr = std::shared_ptr<Errors>;

}  // namespace velmora::ado
