#include <velmora/velmora.hpp>

#include <iostream>

int main() {
  std::cout << velmora::Macros().VbTypeToStr(3) << "\n";
  return 0;
}
