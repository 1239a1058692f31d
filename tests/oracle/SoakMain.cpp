// decap-soak: plays generated sequences on machine and oracle for as long as one likes.

#include "oracle/Soak.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

#include <unistd.h>

int main(int argc, char** argv) try {
   Oracle::SoakOptions options;
   CLI::App app("Holds the state machine against its oracle, in generated lives.");
   app.add_option("--events", options.events, "How many events at least")->capture_default_str();
   app.add_option("--seed", options.seed, "The seed of the first sequence; each takes the next")
       ->capture_default_str();
   app.add_option("--length", options.length, "Events of a sequence")
       ->check(CLI::PositiveNumber)
       ->capture_default_str();
   app.add_option("--folder", options.folder, "Where the scenario of a failure goes")
       ->check(CLI::ExistingDirectory)
       ->capture_default_str();
   CLI11_PARSE(app, argc, argv);
   return Oracle::soak(options, std::cout, ::isatty(STDERR_FILENO) != 0 ? &std::cerr : nullptr);
} catch (std::exception const& error) {
   std::cerr << "decap-soak: " << error.what() << "\n";
   return 2;
}
