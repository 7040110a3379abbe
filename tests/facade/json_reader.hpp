#pragma once
// A strict little JSON reader for checking the tool's --json output: it
// accepts one document of objects, arrays, strings (with every escape,
// \u sequences as UTF-8), integers, true, false and null, and throws
// std::runtime_error at the first thing JSON does not allow.
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

struct Json {
  enum class Kind { Null, Bool, Number, String, Array, Object } kind = Kind::Null;
  bool boolean = false;
  int64_t number = 0;
  std::string text;
  std::vector<Json> items;
  std::map<std::string, Json> members;
  std::vector<std::string> keyOrder;

  // The member `key` of an object; throws when there is none.
  const Json& operator[](const std::string& key) const {
    const auto found = members.find(key);
    if (kind != Kind::Object || found == members.end()) throw std::runtime_error("no member '" + key + "'");
    return found->second;
  }
  const Json& operator[](size_t index) const {
    if (kind != Kind::Array || index >= items.size()) throw std::runtime_error("no item " + std::to_string(index));
    return items[index];
  }
};

class JsonReader {
 public:
  static Json Parse(std::string_view text) {
    JsonReader reader(text);
    Json value = reader.Value();
    reader.SkipSpace();
    if (reader.pos_ != text.size()) reader.Fail("text after the document");
    return value;
  }

 private:
  explicit JsonReader(std::string_view text) : text_(text) {}

  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("JSON: " + what + " at offset " + std::to_string(pos_));
  }
  void SkipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\n' || text_[pos_] == '\t' ||
                                   text_[pos_] == '\r')) {
      ++pos_;
    }
  }
  char Next() {
    if (pos_ >= text_.size()) Fail("unexpected end");
    return text_[pos_++];
  }
  void Expect(std::string_view word) {
    if (text_.substr(pos_, word.size()) != word) Fail("expected '" + std::string(word) + "'");
    pos_ += word.size();
  }

  Json Value() {
    SkipSpace();
    if (pos_ >= text_.size()) Fail("unexpected end");
    Json value;
    const char c = text_[pos_];
    if (c == '{') {
      value.kind = Json::Kind::Object;
      Members(value);
    } else if (c == '[') {
      value.kind = Json::Kind::Array;
      Items(value);
    } else if (c == '"') {
      value.kind = Json::Kind::String;
      value.text = String();
    } else if (c == 't' || c == 'f') {
      value.kind = Json::Kind::Bool;
      value.boolean = c == 't';
      Expect(c == 't' ? "true" : "false");
    } else if (c == 'n') {
      Expect("null");
    } else {
      value.kind = Json::Kind::Number;
      value.number = Integer();
    }
    return value;
  }

  void Members(Json& object) {
    ++pos_;
    SkipSpace();
    if (pos_ < text_.size() && text_[pos_] == '}') return void(++pos_);
    for (;;) {
      SkipSpace();
      if (pos_ >= text_.size() || text_[pos_] != '"') Fail("expected a key");
      std::string key = String();
      SkipSpace();
      if (Next() != ':') Fail("expected ':'");
      if (object.members.contains(key)) Fail("duplicate key '" + key + "'");
      object.keyOrder.push_back(key);
      object.members[key] = Value();
      SkipSpace();
      const char c = Next();
      if (c == '}') return;
      if (c != ',') Fail("expected ',' or '}'");
    }
  }

  void Items(Json& array) {
    ++pos_;
    SkipSpace();
    if (pos_ < text_.size() && text_[pos_] == ']') return void(++pos_);
    for (;;) {
      array.items.push_back(Value());
      SkipSpace();
      const char c = Next();
      if (c == ']') return;
      if (c != ',') Fail("expected ',' or ']'");
    }
  }

  int64_t Integer() {
    const size_t start = pos_;
    if (pos_ < text_.size() && text_[pos_] == '-') ++pos_;
    const size_t digits = pos_;
    while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9') ++pos_;
    if (pos_ == digits || (text_[digits] == '0' && pos_ - digits > 1)) Fail("bad number");
    return std::stoll(std::string(text_.substr(start, pos_ - start)));
  }

  uint32_t Hex4() {
    uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
      const char c = Next();
      code <<= 4;
      if (c >= '0' && c <= '9') code |= static_cast<uint32_t>(c - '0');
      else if (c >= 'a' && c <= 'f') code |= static_cast<uint32_t>(c - 'a' + 10);
      else if (c >= 'A' && c <= 'F') code |= static_cast<uint32_t>(c - 'A' + 10);
      else Fail("bad \\u escape");
    }
    return code;
  }

  static void AppendUtf8(std::string& out, uint32_t code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xc0 | (code >> 6));
      out += static_cast<char>(0x80 | (code & 0x3f));
    } else {
      out += static_cast<char>(0xe0 | (code >> 12));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
      out += static_cast<char>(0x80 | (code & 0x3f));
    }
  }

  std::string String() {
    ++pos_;
    std::string out;
    for (;;) {
      const char c = Next();
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) Fail("control character in a string");
      if (c != '\\') {
        out += c;
        continue;
      }
      switch (const char e = Next()) {
        case '"': case '\\': case '/': out += e; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': AppendUtf8(out, Hex4()); break;
        default: Fail("bad escape");
      }
    }
  }

  std::string_view text_;
  size_t pos_ = 0;
};

}  // namespace velmora::test
