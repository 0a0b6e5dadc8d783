// replay SEEDS COUNT: runs a fuzz target over each file in the folder SEEDS, then over COUNT random
// inputs, the same ones on every run. So the tests cover the fuzzer's findings with every compiler.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <set>

#include "contract.h"

namespace {

bool run(const std::string& bytes, const std::string& name) {
  try {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
  } catch (const std::exception& error) {
    std::cerr << name << ": " << error.what() << '\n';
    return false;
  }
}

std::string random_bytes(std::mt19937_64& random) {
  std::string bytes(random() % 3000, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::string content_of(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  bool held = true;
  const std::filesystem::directory_iterator seeds(argv[1]);
  for (const auto& path : std::set<std::filesystem::path>(begin(seeds), end(seeds))) {
    held &= run(content_of(path), path.string());
  }
  std::mt19937_64 random;
  for (int i = 0; i < std::atoi(argv[2]) && held; ++i) {
    held = run(random_bytes(random), "random input " + std::to_string(i));
  }
  return held ? EXIT_SUCCESS : EXIT_FAILURE;
}
