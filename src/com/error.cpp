#include "velmora/com/error.hpp"

namespace velmora::com {

Error::Error(int32_t number, std::string description, std::string source, std::string helpFile,
             int32_t helpContext)
    : std::runtime_error(description.empty() ? StandardDescription(number) : description),
      number_(number),
      description_(std::move(description)),
      source_(std::move(source)),
      helpFile_(std::move(helpFile)),
      helpContext_(helpContext) {}

std::string StandardDescription(int32_t number) {
  switch (number) {
    case 5: return "Invalid procedure call or argument";
    case 6: return "Overflow";
    case 7: return "Out of memory";
    case 9: return "Subscript out of range";
    case 11: return "Division by zero";
    case 13: return "Type mismatch";
    case 91: return "Object variable or With block variable not set";
    case 94: return "Invalid use of Null";
    case 429: return "ActiveX component can't create object";
    case 438: return "Object doesn't support this property or method";
    case 450: return "Wrong number of arguments or invalid property assignment";
    case 457: return "This key is already associated with an element of this collection";
    default: return "Application-defined or object-defined error";
  }
}

void Raise(int32_t number, const std::string& description, const std::string& source) {
  throw Error(number, description.empty() ? StandardDescription(number) : description, source);
}

}  // namespace velmora::com
