#pragma once
// A small JSON writer for the tool's machine-readable output: objects,
// arrays, strings, integers and booleans, written compactly as they come.
// Commas are placed by the writer; strings are escaped so that any text,
// control characters included, gives a valid JSON string.
#include <cstdint>
#include <iosfwd>
#include <string_view>
#include <vector>

namespace velmora::tool {

class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) {}

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }
  // The name of the next member of the current object.
  void Key(std::string_view name);
  void String(std::string_view text);
  void Number(int64_t value);
  void Bool(bool value);

  // Key and value at once.
  void Member(std::string_view name, std::string_view text) { Key(name); String(text); }
  void Member(std::string_view name, const char* text) { Key(name); String(text); }
  void Member(std::string_view name, int32_t value) { Key(name); Number(value); }
  void Member(std::string_view name, bool value) { Key(name); Bool(value); }

 private:
  // Writes the comma that separates this value from the one before it.
  void BeforeValue();
  void Open(char bracket);
  void Close(char bracket);
  void Escaped(std::string_view text);

  std::ostream& out_;
  std::vector<bool> hasItems_;  // per open object or array
  bool afterKey_ = false;
};

}  // namespace velmora::tool
