// Runs a fuzz target once over every file of its corpus folder: replay FOLDER. A finding ends the process as it would
// end the fuzzer; no file at all is a failure, since then nothing was replayed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
    std::fprintf(stderr, "usage: replay FOLDER   (a folder of inputs)\n");
    return 2;
  }
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);  // so that the last line names the input of a crash
    std::ifstream in(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", files.size());
  return files.empty() ? 1 : 0;
}
