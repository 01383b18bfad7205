// ovsolve: solves a model file and prints how it went.
#include "cli/options.hpp"
#include "cli/run.hpp"

int main(int argc, char** argv) {
    ov::cli::Options options;
    if (const auto ending = ov::cli::parseOptions(argc, argv, options)) return *ending;
    return ov::cli::run(options);
}
