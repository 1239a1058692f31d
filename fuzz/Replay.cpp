// Gives a fuzz target the inputs of the files and folders that are named, as an ordinary program:
// what fuzzing has found stays a test of every build.

#include "fuzz/Fuzz.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

std::vector<std::filesystem::path> filesBelow(std::filesystem::path const& place) {
   if (!std::filesystem::is_directory(place)) return {place};
   std::vector<std::filesystem::path> files;
   for (auto const& entry : std::filesystem::recursive_directory_iterator(place)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
   }
   std::ranges::sort(files);
   return files;
}

}  // namespace

int main(int argc, char** argv) {
   std::size_t inputs = 0;
   for (int i = 1; i < argc; ++i) {
      for (auto const& path : filesBelow(argv[i])) {
         std::ifstream file(path, std::ios::binary);
         std::string const input{std::istreambuf_iterator<char>(file), {}};
         if (!file) {
            std::cerr << "cannot read " << path << '\n';
            return 2;
         }
         // An input that stops the process is the last one named.
         std::cout << path.string() << std::endl;
         LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(input.data()), input.size());
         ++inputs;
      }
   }
   std::cout << inputs << " inputs\n";
   return inputs == 0 ? 2 : 0;
}
