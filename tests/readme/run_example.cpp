// The main() of a README example that has none: runs the example's body in
// a new temporary folder (so that the files it makes are its own), removes
// the folder afterwards, and turns an escaping error into exit code 1.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>

#include "velmora/com/error.hpp"

void ReadmeExample();

namespace {

std::filesystem::path MakeTemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "velmora-readme-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), "mkdtemp");
  return pattern;
}

}  // namespace

int main() {
  int exitCode = 1;
  try {
    const std::filesystem::path folder = MakeTemporaryFolder();
    std::filesystem::current_path(folder);
    try {
      ReadmeExample();
      exitCode = 0;
    } catch (const velmora::com::Error& e) {
      std::cerr << "error " << e.Number() << " (" << e.Source() << "): " << e.what() << "\n";
    } catch (const std::exception& e) {
      std::cerr << "error: " << e.what() << "\n";
    }
    std::filesystem::current_path(folder.parent_path());
    std::filesystem::remove_all(folder);
  } catch (const std::exception& e) {
    std::cerr << "temporary folder: " << e.what() << "\n";
  }
  return exitCode;
}
