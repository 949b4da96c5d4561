// Hands every file of the folders and files that it is given to the fuzz target, once.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

size_t replayed = 0;

void replay(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) replay(entry.path());
    return;
  }
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  ++replayed;
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) replay(argv[i]);
  std::printf("%zu inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
