#include "json_writer.hpp"

#include <ostream>

namespace velmora::tool {

void JsonWriter::BeforeValue() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!hasItems_.empty()) {
    if (hasItems_.back()) out_ << ',';
    hasItems_.back() = true;
  }
}

void JsonWriter::Open(char bracket) {
  BeforeValue();
  out_ << bracket;
  hasItems_.push_back(false);
}

void JsonWriter::Close(char bracket) {
  hasItems_.pop_back();
  out_ << bracket;
}

void JsonWriter::Key(std::string_view name) {
  BeforeValue();
  Escaped(name);
  out_ << ':';
  afterKey_ = true;
}

void JsonWriter::String(std::string_view text) {
  BeforeValue();
  Escaped(text);
}

void JsonWriter::Number(int64_t value) {
  BeforeValue();
  out_ << value;
}

void JsonWriter::Bool(bool value) {
  BeforeValue();
  out_ << (value ? "true" : "false");
}

// Quotes, backslashes and control characters are escaped; every other byte
// (UTF-8 text included) is written as it is.
void JsonWriter::Escaped(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out_ << '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '"': out_ << "\\\""; break;
      case '\\': out_ << "\\\\"; break;
      case '\n': out_ << "\\n"; break;
      case '\r': out_ << "\\r"; break;
      case '\t': out_ << "\\t"; break;
      default:
        if (byte < 0x20 || byte == 0x7f) {
          out_ << "\\u00" << kHex[byte >> 4] << kHex[byte & 0xf];
        } else {
          out_ << c;
        }
    }
  }
  out_ << '"';
}

}  // namespace velmora::tool
