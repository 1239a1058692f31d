#include "agent/CommandLine.h"

#include <cstdio>
#include <exception>
#include <iostream>

int main(int argc, char** argv) {
   try {
      std::ios::sync_with_stdio(false);
      int const code = Agent::commandLine(argc, argv, std::cout, std::cerr);
      std::cout.flush();
      if (!std::cout) {
         std::cerr << "decap-agent: cannot write the output\n";
         return 3;
      }
      return code;
   } catch (std::exception const& exception) {
      std::cerr << "decap-agent: " << exception.what() << '\n';
      return 3;
   }
}
