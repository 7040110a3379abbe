#pragma once
// A plain model of the key set for differential tests: an array of keys and
// the bookmarks of all records laid end to end in one string, every
// operation written the straightforward way (shifting arrays, scanning the
// bookmark string). Slow, but obviously right.
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "velmora/collections/key_set.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora::testing {

class KeySetModel {
 public:
  bool Delete(std::string keyId = "") {
    return Handled("Delete", [&] {
      if (keyId.empty()) keyId = Bookmark();
      int32_t pos = BookmarkToIndex(keyId);
      if (Count() == 1) {
        Clear();
        return false;
      }
      keys_.erase(keys_.begin() + (pos - 1));
      ids_ = Mid(ids_, 1, (pos - 1) * 4) + Mid(ids_, pos * 4 + 1, -1);
      if (keyId == bookmark_) {
        if (pos > Count()) pos = Count();
        bookmark_ = BookmarkAt(pos);
      }
      return false;
    });
  }

  int32_t BookmarkToIndex(const std::string& keyId, bool errorFree = false) const {
    const int32_t pos = Support().FindKeyIdSlot(ids_, keyId, 1);
    if (pos < 1 && !errorFree) Raise(com::errLibrary, "No such record.");
    return pos;
  }

  bool MovePrevious() { return Move("MovePrevious", -1); }
  bool MoveNext() { return Move("MoveNext", +1); }
  bool MoveFirst() { return MoveEnd("MoveFirst", 1); }
  bool MoveLast() { return MoveEnd("MoveLast", Count()); }

  bool IsEOF() const { return Count() == 0 || eof_; }
  bool IsBOF() const { return Count() == 0 || bof_; }
  bool IsValidBookmark(const std::string& bookmark) const {
    return Support().FindKeyIdSlot(ids_, bookmark, 1) >= 1;
  }

  std::string Bookmark() {
    if (!bookmark_.empty() && BookmarkToIndex(bookmark_, true) > 0) return bookmark_;
    bookmark_.clear();
    Raise(3021, "No current record.");
  }
  void Bookmark(const std::string& value) {
    if (Support().FindKeyIdSlot(ids_, value, 1) < 1) Raise(3159, "Not a valid bookmark.");
    bookmark_ = value;
  }

  bool Append(const std::string& keyValue, int32_t keyId) {
    return Handled("Append", [&] {
      keys_.push_back(keyValue);
      ids_ += Support().EncodeKeyId(keyId);
      bookmark_ = BookmarkAt(Count());
      bof_ = eof_ = false;
      return false;
    });
  }

  bool AddNew(const std::string& keyValue, int32_t keyId) {
    return Handled("AddNew", [&] {
      int32_t pos = Find(keyValue, FIND_GE);
      if (pos == 0) {
        keys_.push_back(keyValue);
        ids_ += Support().EncodeKeyId(keyId);
        pos = Count();
      } else {
        keys_.insert(keys_.begin() + (pos - 1), keyValue);
        ids_ = Mid(ids_, 1, (pos - 1) * 4) + Support().EncodeKeyId(keyId) + Mid(ids_, (pos - 1) * 4 + 1, -1);
      }
      bookmark_ = BookmarkAt(pos);
      bof_ = eof_ = false;
      return false;
    });
  }

  int32_t Find(const std::string& key, FindMethodEnum method) {
    return Handled("Find", [&] {
      const int32_t count = Count();
      int32_t result = 0;
      if (count != 0) {
        int32_t lo = 1, hi = count, pos = 1;
        bool found = false;
        while (lo <= hi) {
          pos = (lo + hi) / 2;
          if (Cmp(pos, key) < 0) {
            lo = pos + 1;
          } else if (Cmp(pos, key) > 0) {
            hi = pos - 1;
          } else {
            found = true;
            break;
          }
        }
        result = Walk(key, method, pos, found);
      }
      if (result < 0 || result > count) result = 0;
      if (result != 0) {
        bookmark_ = BookmarkAt(result);
        bof_ = eof_ = false;
      } else {
        bookmark_.clear();
        bof_ = eof_ = true;
      }
      return result;
    });
  }

  int32_t RecordCount() const { return Count(); }
  // For the test driver: the bookmark and the key at a position, without
  // moving the cursor.
  std::string BookmarkAtPosition(int32_t position) const { return BookmarkAt(position); }
  const std::string& KeyAtPosition(int32_t position) const { return keys_.at(position - 1); }
  void Clear() {
    keys_.clear();
    ids_.clear();
    bookmark_.clear();
    bof_ = eof_ = true;
  }
  std::string Key(std::string keyId = "") {
    if (!keyId.empty()) {
      Bookmark(keyId);
    } else {
      keyId = Bookmark();
    }
    return keys_.at(BookmarkToIndex(keyId) - 1);
  }

 private:
  [[noreturn]] static void Raise(int32_t number, const char* description) {
    com::Raise(number, description, "Velmora.AdoKeySet");
  }

  template <class Body>
  static std::invoke_result_t<Body> Handled(const char* procedure, Body body) {
    try {
      return body();
    } catch (...) {
      Reraise(ErrorSource("AdoKeySet", procedure));
    }
  }

  int32_t Count() const { return static_cast<int32_t>(keys_.size()); }
  int Cmp(int32_t pos, const std::string& key) const { return keys_[pos - 1].compare(key); }

  int32_t Walk(const std::string& key, FindMethodEnum method, int32_t pos, bool found) const {
    const int32_t count = Count();
    if (method == FIND_GE && !found) method = FIND_GT;
    if (method == FIND_LE && !found) method = FIND_LT;
    switch (method) {
      case FIND_GT:
        if (pos > 1) pos = pos - 1;
        while (Cmp(pos, key) <= 0) {
          pos = pos + 1;
          if (pos > count) return 0;
        }
        return pos;
      case FIND_LT:
        if (pos < count) pos = pos + 1;
        while (pos >= 1 && Cmp(pos, key) >= 0) pos = pos - 1;
        return pos;
      case FIND_LE:
        while (pos + 1 <= count && Cmp(pos + 1, key) == 0) pos = pos + 1;
        return pos;
      default:
        if (!found) return 0;
        while (pos - 1 >= 1 && Cmp(pos - 1, key) == 0) pos = pos - 1;
        return pos;
    }
  }

  bool Move(const char* procedure, int step) {
    return Handled(procedure, [&] {
      const int32_t pos = BookmarkToIndex(Bookmark());
      if (pos + step >= 1 && pos + step <= Count()) {
        bookmark_ = BookmarkAt(pos + step);
        bof_ = eof_ = false;
      } else {
        bookmark_.clear();
        (step > 0 ? eof_ : bof_) = true;
      }
      return false;
    });
  }

  bool MoveEnd(const char* procedure, int32_t pos) {
    return Handled(procedure, [&] {
      if (Count() == 0) {
        Bookmark();
      } else {
        bookmark_ = BookmarkAt(pos);
        bof_ = eof_ = false;
      }
      return false;
    });
  }

  std::string BookmarkAt(int32_t position) const { return Mid(ids_, (position - 1) * 4 + 1, 4); }

  // VB's Mid on characters (code points): `length` characters from the
  // 1-based character `start` (-1: to the end).
  static std::string Mid(const std::string& text, int32_t start, int32_t length) {
    size_t from = ByteOffset(text, 0, start - 1);
    size_t to = length < 0 ? text.size() : ByteOffset(text, from, length);
    return text.substr(from, to - from);
  }
  static size_t ByteOffset(const std::string& text, size_t from, int32_t chars) {
    size_t i = from;
    for (int32_t c = 0; c < chars && i < text.size(); ++c) {
      ++i;
      while (i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) ++i;
    }
    return i;
  }

  std::vector<std::string> keys_;
  std::string ids_;
  std::string bookmark_;
  bool bof_ = false;
  bool eof_ = false;
};

}  // namespace velmora::testing
