// Stands in for the fuzzer where there is none: gives a target every file of a folder, whole and
// cut off at each of its bytes, and the same few changes of it each time where the target knows how
// to change an input.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                                                     std::size_t size,
                                                                     std::size_t max_size,
                                                                     unsigned seed);

namespace {

constexpr unsigned kChanges = 50;
constexpr std::size_t kMaxSize = 4096;

void Run(const std::vector<char>& bytes, std::size_t size) {
  // Of this very size, so that the address sanitizer sees a read beyond it.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.begin() + std::ptrdiff_t(size));
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

void RunChanged(std::vector<char> bytes, unsigned change) {
  const std::size_t size = bytes.size();
  bytes.resize(std::max(size, kMaxSize));
  const auto data = reinterpret_cast<std::uint8_t*>(bytes.data());
  Run(bytes, LLVMFuzzerCustomMutator(data, size, bytes.size(), change));
}

}  // namespace

int main(int, char** argv) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::cerr << entry.path().native() << std::endl;  // The last one named is the one that failed.
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> seed{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t size = 0; size <= seed.size(); ++size, ++inputs) Run(seed, size);
    if (!LLVMFuzzerCustomMutator) continue;
    for (unsigned change = 0; change < kChanges; ++change, ++inputs) RunChanged(seed, change);
  }
  std::cout << inputs << " inputs\n";
  return inputs > 0 ? 0 : 1;
}
