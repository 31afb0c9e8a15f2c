// Stands in for the fuzzer where there is none: gives a target every file of a folder, whole and
// cut off at each of its bytes.
#include <filesystem>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

int main(int, char** argv) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::cerr << entry.path().native() << std::endl;  // The last one named is the one that failed.
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> seed{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t size = 0; size <= seed.size(); ++size, ++inputs) {
      // Of this very size, so that the address sanitizer sees a read beyond it.
      const std::vector<std::uint8_t> input(seed.begin(), seed.begin() + std::ptrdiff_t(size));
      LLVMFuzzerTestOneInput(input.data(), input.size());
    }
  }
  std::cout << inputs << " inputs\n";
  return inputs > 0 ? 0 : 1;
}
