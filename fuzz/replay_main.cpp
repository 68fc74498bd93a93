// Runs a fuzz target's entry point once on each file named, or on each file of each folder named,
// without libFuzzer: the seed corpora and the inputs of past findings run as ordinary tests, under
// every build of the test suite, sanitizers included. A missing folder is skipped (a target may
// have no past findings).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> InputsOf(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> inputs;
  if (std::filesystem::is_directory(path)) {
    for (const auto& item : std::filesystem::directory_iterator(path)) {
      if (item.is_regular_file()) inputs.push_back(item.path());
    }
  } else if (std::filesystem::exists(path)) {
    inputs.push_back(path);
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    for (const auto& input : InputsOf(argv[i])) inputs.push_back(input);
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "no inputs to replay\n");
    return 1;
  }
  for (const auto& input : inputs) {
    std::ifstream in(input, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
      std::fprintf(stderr, "cannot read %s\n", input.c_str());
      return 1;
    }
    std::printf("%s\n", input.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("replayed %zu inputs\n", inputs.size());
  return 0;
}
