// The key set against the plain model of key_set_model.hpp: the same
// randomized sequences of operations must give the same results, errors,
// positions, bookmarks and BOF/EOF states.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>
#include <string>

#include "collections/key_set_model.hpp"
#include "velmora/collections/key_set.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

// What an operation gave: its result as text, or its error.
std::string Outcome(const std::function<std::string()>& operation) {
  try {
    return "= " + operation();
  } catch (const com::Error& e) {
    std::ostringstream text;
    text << "! " << e.Number() << " " << e.Description() << " @" << e.Source();
    return text.str();
  }
}

std::string Text(bool value) { return value ? "true" : "false"; }
std::string Text(int32_t value) { return std::to_string(value); }

struct Profile {
  const char* name;
  int appendPercent;      // share of inserts made with Append
  bool orderedAppends;    // Append only keys that keep the order
  int32_t idRange;        // ids are drawn from 1..idRange (small: shared ids)
  int32_t targetSize;     // above it, deletions are favoured
};

class Differential {
 public:
  Differential(const Profile& profile, uint32_t seed) : profile_(profile), random_(seed) {}

  void Run(int operations) {
    for (step_ = 0; step_ < operations; ++step_) {
      Step();
      Same("state", [](auto& set) { return Text(set.RecordCount()) + Text(set.IsBOF()) + Text(set.IsEOF()); });
      if (::testing::Test::HasFailure()) return;
      if (step_ % 5000 == 4999) CompareContents();
    }
  }

 private:
  template <class Operation>
  void Same(const std::string& what, Operation operation) {
    const std::string expected = Outcome([&] { return operation(model_); });
    const std::string actual = Outcome([&] { return operation(real_); });
    ASSERT_EQ(actual, expected) << profile_.name << " step " << step_ << ": " << what;
  }

  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

  std::string RandomKey() {
    static const char* const kKeys[] = {"", "a", "A", "ab", "b", "ba", "bb", "c", "Z", "zz", "\xC3\xA9", "m"};
    std::string key = kKeys[Pick(12)];
    if (Pick(3) == 0) key += static_cast<char>('a' + Pick(26));
    return key;
  }

  int32_t RandomId() {
    switch (Pick(50)) {
      case 0: return INT32_MIN;
      case 1: return INT32_MAX;
      case 2: return 0;
      case 3: return -Pick(1000);
      default: return 1 + Pick(profile_.idRange);
    }
  }

  // A bookmark of a record of the model, of an id that may be absent, or
  // some text that is no bookmark at all.
  std::string RandomBookmark() {
    const int32_t count = model_.RecordCount();
    switch (Pick(count > profile_.targetSize ? 40 : 10)) {
      case 0: return "";
      case 1: return "abcd";
      case 2: return Support().EncodeKeyId(RandomId()).substr(0, 6);
      case 3: return Support().EncodeKeyId(RandomId()) + "x";
      case 4: return Support().EncodeKeyId(RandomId());
      default:
        if (count == 0) return Support().EncodeKeyId(RandomId());
        return model_.BookmarkAtPosition(1 + Pick(count));
    }
  }

  std::string InsertKey() {
    std::string key = RandomKey();
    if (profile_.orderedAppends && model_.RecordCount() > 0) {
      const std::string& last = model_.KeyAtPosition(model_.RecordCount());
      if (key < last) key = last;
    }
    return key;
  }

  void Step() {
    const bool shrink = model_.RecordCount() > profile_.targetSize;
    const int choice = Pick(100);
    if (choice < (shrink ? 10 : 30)) {
      const std::string key = RandomKey();
      const int32_t id = RandomId();
      Same("AddNew", [&](auto& set) { return Text(set.AddNew(key, id)); });
    } else if (choice < (shrink ? 12 : 30 + profile_.appendPercent / 5)) {
      const std::string key = InsertKey();
      const int32_t id = RandomId();
      Same("Append", [&](auto& set) { return Text(set.Append(key, id)); });
    } else if (choice < 45) {
      const std::string bookmark = Pick(2) == 0 && !shrink ? std::string() : RandomBookmark();
      Same("Delete", [&](auto& set) { return Text(set.Delete(bookmark)); });
    } else if (choice < 60) {
      const std::string key = RandomKey();
      const auto method = static_cast<FindMethodEnum>(Pick(7) - 1);
      Same("Find", [&](auto& set) { return Text(set.Find(key, method)); });
    } else if (choice < 75) {
      OneMove();
    } else if (choice < 82) {
      const std::string bookmark = RandomBookmark();
      const bool errorFree = Pick(2) == 0;
      Same("BookmarkToIndex", [&](auto& set) { return Text(set.BookmarkToIndex(bookmark, errorFree)); });
      Same("IsValidBookmark", [&](auto& set) { return Text(set.IsValidBookmark(bookmark)); });
    } else if (choice < 88) {
      const std::string bookmark = RandomBookmark();
      Same("Bookmark put", [&](auto& set) {
        set.Bookmark(bookmark);
        return std::string();
      });
    } else if (choice < 94) {
      Same("Bookmark get", [](auto& set) { return set.Bookmark(); });
    } else if (choice < 99) {
      const std::string bookmark = Pick(2) == 0 ? std::string() : RandomBookmark();
      Same("Key", [&](auto& set) { return set.Key(bookmark); });
    } else if (Pick(10) == 0) {
      Same("Clear", [](auto& set) {
        set.Clear();
        return std::string();
      });
    }
  }

  void OneMove() {
    switch (Pick(4)) {
      case 0: Same("MoveFirst", [](auto& set) { return Text(set.MoveFirst()); }); break;
      case 1: Same("MoveLast", [](auto& set) { return Text(set.MoveLast()); }); break;
      case 2: Same("MoveNext", [](auto& set) { return Text(set.MoveNext()); }); break;
      default: Same("MovePrevious", [](auto& set) { return Text(set.MovePrevious()); }); break;
    }
  }

  void CompareContents() {
    if (model_.RecordCount() == 0) return;
    Same("walk", [](auto& set) {
      // Bounded: with shared ids a walk can cycle back to the lower position.
      std::string all;
      int32_t steps = set.RecordCount();
      for (set.MoveFirst(); !set.IsEOF() && steps-- > 0; set.MoveNext()) all += set.Key() + "|" + set.Bookmark() + ";";
      return all;
    });
  }

  Profile profile_;
  std::mt19937 random_;
  testing::KeySetModel model_;
  AdoKeySet real_;
  int step_ = 0;
};

constexpr int kOperations = 100000;

TEST(KeySetDifferential, OrderedInsertsWithUniqueIds) {
  Differential({"ordered", 0, true, 1 << 30, 600}, 1).Run(kOperations);
}

TEST(KeySetDifferential, OrderedAppendsAndSharedIds) {
  Differential({"ordered appends", 50, true, 400, 300}, 2).Run(kOperations);
}

TEST(KeySetDifferential, AppendsOutOfOrder) {
  Differential({"out of order", 40, false, 5000, 400}, 3).Run(kOperations);
}

TEST(KeySetDifferential, SmallSetsWithManySharedIds) {
  Differential({"small", 30, false, 12, 15}, 4).Run(kOperations);
}

}  // namespace
}  // namespace velmora
