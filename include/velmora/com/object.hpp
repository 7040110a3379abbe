#pragma once
// Base of every public class. Public classes are reference types: created
// with std::make_shared<T>() and passed as std::shared_ptr<T>; an empty
// pointer is Nothing.
#include <memory>

namespace velmora::com {

class Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;
};

using ObjectPtr = std::shared_ptr<Object>;

}  // namespace velmora::com
