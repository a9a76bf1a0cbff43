// Runs a fuzzer once on every file of a folder.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int count, char **arguments) {
  size_t replayed = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto &entry : std::filesystem::directory_iterator(arguments[i])) {
      std::string input(static_cast<size_t>(entry.file_size()), '\0');
      std::ifstream(entry.path(), std::ios::binary).read(input.data(), static_cast<std::streamsize>(input.size()));
      // Named before it is tried: it is the last one named when the program ends here.
      puts(entry.path().c_str());
      fflush(stdout);
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
      ++replayed;
    }
  }
  printf("%zu inputs\n", replayed);
  return replayed == 0 ? 1 : 0;
}
