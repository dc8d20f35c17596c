// The main of a target without libFuzzer: replay FOLDER runs each of its files once. The status is 1 when there is
// none: a corpus that has gone would otherwise pass.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Fuzz.h"

extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

int main(int count, char** arguments) {
  namespace fs = std::filesystem;
  if (count != 2) {
    std::cerr << "usage: " << arguments[0] << " FOLDER" << std::endl;
    return 2;
  }
  std::error_code error;
  std::vector<fs::path> files;
  for (const fs::directory_entry& each : fs::directory_iterator(arguments[1], error)) files.push_back(each.path());
  if (files.empty()) {
    std::cerr << arguments[1] << ": there is no input" << std::endl;
    return 1;
  }
  // The working directory may be another one once the target is ready.
  std::transform(files.begin(), files.end(), files.begin(), [](const fs::path& file) { return fs::absolute(file); });
  std::sort(files.begin(), files.end());
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&count, &arguments);
  for (const fs::path& file : files) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    std::cerr << file.filename().string() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::cout << files.size() << " inputs" << std::endl;
}
