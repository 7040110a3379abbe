#pragma once
// The peak of the bytes this test program holds through operator new, so that
// a test can check that an operation's memory stays within a bound of its
// input (a reservation counts in full even before its pages are touched).
#include <cstddef>

namespace velmora::test {

class AllocationMeter {
 public:
  AllocationMeter();  // starts measuring from the bytes held now
  // The most bytes held above the starting level since construction.
  std::size_t PeakBytes() const;

 private:
  std::size_t start_;
};

}  // namespace velmora::test
